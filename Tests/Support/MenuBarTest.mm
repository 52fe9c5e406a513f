#include "Support/MenuBarTest.h"

#import "Veilpane/Menu/PowerSwitchRowView.h"

#import <objc/runtime.h>

#include <memory>

namespace {

std::vector<std::string>* activated = nullptr;
std::unique_ptr<ReplacedMethod> replacedActivation;

using Activate = void(Class, SEL, NSArray*);

void activateAndRemember(Class theClass, SEL selector, NSArray* constraints) {
    for (NSLayoutConstraint* constraint in constraints) {
        activated->push_back(text([constraint description]));
    }
    functionOf<Activate>(replacedActivation->former())(theClass, selector, constraints);
}

} // namespace

MenuBarTest::MenuBarTest() : pool_([NSAutoreleasePool new]) {
    [NSApplication sharedApplication];
}

MenuBarTest::~MenuBarTest() {
    [pool_ drain];
}

std::string text(NSString* string) {
    return string == nil ? "(nil)" : [string UTF8String];
}

void flip(PowerSwitchRowView* row) {
    NSSwitch* const powerSwitch = [row powerSwitch];
    [powerSwitch setState:[powerSwitch state] == NSControlStateValueOn ? NSControlStateValueOff
                                                                       : NSControlStateValueOn];
    [powerSwitch sendAction:[powerSwitch action] to:[powerSwitch target]];
}

ReplacedMethod::ReplacedMethod(Class theClass, SEL selector, IMP replacement)
    : class_(theClass), selector_(selector),
      former_(method_setImplementation(class_getInstanceMethod(theClass, selector), replacement)) {}

ReplacedMethod::~ReplacedMethod() {
    method_setImplementation(class_getInstanceMethod(class_, selector_), former_);
}

ActivatedConstraints::ActivatedConstraints() {
    activated = new std::vector<std::string>;
    Class const metaclass = object_getClass(static_cast<id>([NSLayoutConstraint class]));
    replacedActivation = std::make_unique<ReplacedMethod>(
        metaclass, @selector(activateConstraints:), implementationOf(activateAndRemember));
}

ActivatedConstraints::~ActivatedConstraints() {
    replacedActivation.reset();
    delete activated;
    activated = nullptr;
}

const std::vector<std::string>& ActivatedConstraints::inOrder() const {
    return *activated;
}
