#pragma once

#import <Foundation/Foundation.h>

/// Puts `replacement` in the place of a method and returns what was there.
IMP replaceMethod(Class theClass, SEL selector, IMP replacement);
IMP replaceClassMethod(Class theClass, SEL selector, IMP replacement);

// A method is a function with its own types behind the one type IMP.

template <class Function>
IMP methodFrom(Function* function) {
    return reinterpret_cast<IMP>(reinterpret_cast<void*>(function));
}

template <class Function>
Function* functionFrom(IMP method) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(method));
}

/// Whether a return address lies in GNUstep's own libraries, which keep the methods that they were
/// built with.
bool isInGNUstep(const void* returnAddress);
