#import "Veilpane/AppDelegate.h"
#include "Veilpane/AppMain.h"
#include "Veilpane/CLI.h"
#include "Veilpane/ExitStatus.h"
#include "Veilpane/StandardDescriptors.h"
#include "Veilpane/StandardError.h"

#import <AppKit/AppKit.h>

#include <csignal>

namespace {

void runApplication() {
    // Whoever reads standard error may go away; that must not end the application.
    std::signal(SIGPIPE, SIG_IGN);
    NSApplication* const application = [NSApplication sharedApplication];
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
    AppMain::shared.delegate = NSRef<AppDelegate>::adopt([[AppDelegate alloc] init]);
    [application setDelegate:AppMain::shared.delegate.get()];
    writeToStandardError(@"Veilpane GUI starting…\n");
    [application run];
}

} // namespace

int main() {
    openMissingStandardDescriptors();
    @autoreleasepool {
        if (!CLI::runIfNeeded()) {
            runApplication();
        }
    }
    return ExitStatusSuccess;
}
