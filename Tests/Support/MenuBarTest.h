#pragma once

// What tests of views and menus share: an application, clicks, texts, and a look at AppKit from
// behind. They are the same on GNUstep and on a Mac.

#include "ObjectiveC/MethodReplacement.h"
#include "Ownership/NSRef.h"
#include "Support/NSText.h"
#include "Support/SimulatedMacTest.h"
#import "Veilpane/Menu/AppDelegate.h"

#import <AppKit/AppKit.h>

#include <memory>
#include <string>
#include <vector>

@class PowerSwitchRowView;

/// A test of views, menus and the application delegate, seen by nobody. There is an application
/// wherever one can be made.
class MenuBarTest : public SimulatedMacTest {
protected:
    /// What a test needs beyond views, which can be made anywhere.
    enum class Needs { Views, Application };

    explicit MenuBarTest(Needs needs = Needs::Views);
    ~MenuBarTest() override;

    /// Skips a test whose needs are not met.
    void SetUp() override;

private:
    Needs needs_;
    std::shared_ptr<void> screen_;
    NSAutoreleasePool* pool_;
};

/// A selector's name; "(nil)" for none.
std::string name(SEL selector);

/// What the delegate is told with by AppKit, and does not look at.
NSNotification* anyNotification();

/// Flips a row's switch as a click does it: it changes first and then sends its action, by way of
/// the application.
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
