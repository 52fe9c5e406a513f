#pragma once

#import <objc/runtime.h>

/// Makes instances of `theClass` answer `selector` with `replacement` and returns the former
/// implementation, which may have been inherited. The class must know the selector.
IMP replaceInstanceMethod(Class theClass, SEL selector, IMP replacement);

/// The same for a method of the class itself.
IMP replaceClassMethodOf(Class theClass, SEL selector, IMP replacement);

// A method is a function with its own types behind the one type IMP.

template <class Function>
IMP implementationOf(Function* function) {
    return reinterpret_cast<IMP>(reinterpret_cast<void*>(function));
}
template <class Function>
Function* functionOf(IMP implementation) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(implementation));
}
