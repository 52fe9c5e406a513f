#pragma once

// What tests of views and menus share: a screen, clicks, texts, and a look at AppKit from behind.

#include "ObjectiveC/MethodReplacement.h"
#include "Ownership/NSRef.h"
#include "Support/SimulatedMacTest.h"
#include "Support/VirtualScreen.h"
#import "Veilpane/Menu/AppDelegate.h"

#import <AppKit/AppKit.h>

#include <string>
#include <vector>

@class PowerSwitchRowView;

/// A test of views, menus and the application delegate on a screen of its own.
class MenuBarTest : public SimulatedMacTest {
protected:
    MenuBarTest();
    ~MenuBarTest() override;

private:
    VirtualScreen screen_;
    NSAutoreleasePool* pool_;
};

/// An NSString's text; "(nil)" for nil.
std::string text(NSString* string);

/// Flips a row's switch as a click does it: it changes first and then sends its action.
void flip(PowerSwitchRowView* row);

/// Every constraint that was activated while the object lived, in that order, in words such as
/// "NSTextField.leading == MenuLabelRowView.leading +16".
class ActivatedConstraints {
public:
    ActivatedConstraints();
    ActivatedConstraints(const ActivatedConstraints&) = delete;
    ActivatedConstraints& operator=(const ActivatedConstraints&) = delete;
    ~ActivatedConstraints();

    [[nodiscard]] const std::vector<std::string>& inOrder() const;
};

/// Replaces a method for as long as the object lives.
class ReplacedMethod {
public:
    ReplacedMethod(Class theClass, SEL selector, IMP replacement);
    ReplacedMethod(const ReplacedMethod&) = delete;
    ReplacedMethod& operator=(const ReplacedMethod&) = delete;
    ~ReplacedMethod();

    [[nodiscard]] IMP former() const { return former_; }

private:
    Class class_;
    SEL selector_;
    IMP former_;
};
