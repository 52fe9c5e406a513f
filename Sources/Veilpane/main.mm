#include "Veilpane/AppMain.h"
#include "Veilpane/CommandLine/CLI.h"
#include "Veilpane/CommandLine/ExitStatus.h"
#import "Veilpane/Menu/AppDelegate.h"
#include "Veilpane/Support/StandardStreams.h"

#import <AppKit/AppKit.h>

#include <csignal>

namespace veilpane {

namespace {

// AppKit would open every word of the command line as a document, and complain that it cannot. A
// registered default is not stored.
void leaveCommandLineAlone() {
    [[NSUserDefaults standardUserDefaults]
        registerDefaults:[NSDictionary dictionaryWithObject:@"NO"
                                                     forKey:@"NSTreatUnknownArgumentsAsOpen"]];
}

void runApplication() {
    NSApplication* const application = [NSApplication sharedApplication];
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
    AppMain::shared.delegate = NSRef<AppDelegate>::adopt([[AppDelegate alloc] init]);
    [application setDelegate:AppMain::shared.delegate.get()];
    writeToStandardError("Veilpane GUI starting…\n");
    leaveCommandLineAlone();
    [application run];
}

void runProgram() {
    openMissingStandardDescriptors();
    // Whoever reads the output may go away; that must not end the application, nor a command
    // between switching a display off and on again.
    std::signal(SIGPIPE, SIG_IGN);
    @autoreleasepool {
        if (!CLI::runIfNeeded()) {
            runApplication();
        }
    }
}

} // namespace

} // namespace veilpane

int main() {
    veilpane::runProgram();
    return veilpane::ExitStatusSuccess;
}
