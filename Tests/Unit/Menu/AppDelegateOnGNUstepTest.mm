#include "Support/MenuBarTest.h"

// What the stand-in for AppKit adds to the delegate's behaviour: its own measures, and counts of
// references that no thread of AppKit's changes.

namespace veilpane::test {

namespace {

class AppDelegateOnGNUstep : public MenuBarTest {
protected:
    // What the delegate writes to standard error when it is launched.
    std::string launch() {
        testing::internal::CaptureStderr();
        [delegate.get() applicationDidFinishLaunching:anyNotification()];
        return testing::internal::GetCapturedStderr();
    }

    NSRef<AppDelegate> delegate = NSRef<AppDelegate>::adopt([[AppDelegate alloc] init]);
};

TEST_F(AppDelegateOnGNUstep, the_logged_width_is_that_of_the_stand_ins_button) {
    EXPECT_TRUE(launch().ends_with("status item created image=true buttonWidth=24.0\n"));
}

TEST_F(AppDelegateOnGNUstep, the_delegates_own_objects_go_with_it) {
    launch();
    NSStatusItem* const item = [delegate.get() statusItem];
    const NSUInteger before = [item retainCount];
    const auto kept = NSRef<NSStatusItem>::retain(item);
    {
        const NSRef<AppDelegate> last = std::move(delegate);
    }
    EXPECT_EQ([item retainCount], before);
}

} // namespace

} // namespace veilpane::test
