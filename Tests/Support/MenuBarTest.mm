#include "Support/MenuBarTest.h"

#include "Support/AppKitHost.h"
#import "Veilpane/Menu/PowerSwitchRowView.h"

#import <objc/runtime.h>

#include <memory>
#include <sstream>

namespace {

std::string attributeName(NSLayoutAttribute attribute) {
    switch (attribute) {
    case NSLayoutAttributeLeading:
        return "leading";
    case NSLayoutAttributeTrailing:
        return "trailing";
    case NSLayoutAttributeWidth:
        return "width";
    case NSLayoutAttributeHeight:
        return "height";
    case NSLayoutAttributeCenterY:
        return "centerY";
    default:
        return "attribute " + std::to_string(attribute);
    }
}

std::string relationSign(NSLayoutRelation relation) {
    return relation == NSLayoutRelationEqual             ? " == "
           : relation == NSLayoutRelationLessThanOrEqual ? " <= "
                                                         : " >= ";
}

std::string side(id item, NSLayoutAttribute attribute) {
    return std::string(class_getName([item class])) + "." + attributeName(attribute);
}

std::string inWords(NSLayoutConstraint* constraint) {
    std::ostringstream words;
    words << side([constraint firstItem], [constraint firstAttribute])
          << relationSign([constraint relation]);
    const CGFloat constant = [constraint constant];
    if ([constraint secondItem] == nil) {
        words << constant;
        return words.str();
    }
    if ([constraint multiplier] != 1) {
        words << [constraint multiplier] << " * ";
    }
    words << side([constraint secondItem], [constraint secondAttribute]);
    if (constant != 0) {
        words << " " << std::showpos << constant;
    }
    return words.str();
}

// The former implementation.
IMP exchange(Class theClass, SEL selector, IMP implementation) {
    Method const method = class_getInstanceMethod(theClass, selector);
    return method_setImplementation(method, implementation);
}

std::vector<std::string>* activated = nullptr;
std::unique_ptr<ReplacedMethod> replacedActivation;

using Activate = void(Class, SEL, NSArray*);

void activateAndRemember(Class theClass, SEL selector, NSArray* constraints) {
    for (NSLayoutConstraint* constraint in constraints) {
        activated->push_back(inWords(constraint));
    }
    functionOf<Activate>(replacedActivation->former())(theClass, selector, constraints);
}

} // namespace

MenuBarTest::MenuBarTest(Needs needs)
    : needs_(needs), screen_(screenForWindows()), pool_([NSAutoreleasePool new]) {
    // AppKit's threads are not in a copy of the process, so a test of its end starts anew.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    if (hasWindowServer()) {
        // A program outside of a bundle may make no window otherwise.
        [[NSApplication sharedApplication]
            setActivationPolicy:NSApplicationActivationPolicyAccessory];
    }
}

MenuBarTest::~MenuBarTest() {
    [pool_ drain];
}

void MenuBarTest::SetUp() {
    if (needs_ == Needs::Application && !hasWindowServer()) {
        GTEST_SKIP() << "no window server: run this in a session at the Mac's desktop";
    }
}

std::string name(SEL selector) {
    return selector == nullptr ? "(nil)" : sel_getName(selector);
}

NSNotification* anyNotification() {
    return [NSNotification notificationWithName:@"any" object:nil];
}

void flip(PowerSwitchRowView* row) {
    NSSwitch* const powerSwitch = [row powerSwitch];
    [powerSwitch setState:[powerSwitch state] == NSControlStateValueOn ? NSControlStateValueOff
                                                                       : NSControlStateValueOn];
    [powerSwitch sendAction:[powerSwitch action] to:[powerSwitch target]];
}

ReplacedMethod::ReplacedMethod(Class theClass, SEL selector, IMP replacement)
    : class_(theClass), selector_(selector), former_(exchange(theClass, selector, replacement)) {}

ReplacedMethod::~ReplacedMethod() {
    exchange(class_, selector_, former_);
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
