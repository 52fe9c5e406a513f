#import "Veilpane/AppDelegate.h"
#include "Veilpane/AppMain.h"
#include "Veilpane/CLI.h"
#include "Veilpane/ExitStatus.h"
#include "Veilpane/StandardError.h"

#import <AppKit/AppKit.h>

namespace {

void runApplication() {
    NSApplication* const application = [NSApplication sharedApplication];
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
    AppMain::shared.delegate = NSRef<AppDelegate>::adopt([[AppDelegate alloc] init]);
    [application setDelegate:AppMain::shared.delegate.get()];
    writeToStandardError(@"Veilpane GUI starting…\n");
    [application run];
}

} // namespace

int main() {
    @autoreleasepool {
        if (!CLI::runIfNeeded()) {
            runApplication();
        }
    }
    return ExitStatusSuccess;
}
