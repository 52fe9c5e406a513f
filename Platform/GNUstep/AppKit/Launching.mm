#include "AppKit/Launching.h"

#include "ObjectiveC/MethodReplacement.h"

#import <AppKit/AppKit.h>

#include <cstdio>

@interface NSApplication (GNUstepsOwn)
/// The words of the command line that belong to no option.
- (NSArray*)_openFiles;
@end

namespace {

using FinishLaunching = void(NSApplication*, SEL);
using FilesToOpen = NSArray*(NSApplication*, SEL);

FinishLaunching* finishLaunchingOfGNUstep = nullptr;
FilesToOpen* wordsOfCommandLine = nullptr;

bool areWordsDocuments() {
    NSString* const setting =
        [[NSUserDefaults standardUserDefaults] stringForKey:@"NSTreatUnknownArgumentsAsOpen"];
    return ![setting isEqualToString:@"NO"];
}

// GNUstep opens what this answers with, and reports in an alert what it cannot open, as AppKit
// does.
NSArray* filesToOpen(NSApplication* application, SEL selector) {
    return areWordsDocuments() ? wordsOfCommandLine(application, selector) : [NSArray array];
}

void warnOfRestorableState(id<NSApplicationDelegate> delegate) {
    const bool isSecure =
        [delegate respondsToSelector:@selector(applicationSupportsSecureRestorableState:)] &&
        [static_cast<id>(delegate) applicationSupportsSecureRestorableState:NSApp];
    if (!isSecure) {
        std::fputs("WARNING: restorable state is not securely coded: the delegate does not answer "
                   "YES to applicationSupportsSecureRestorableState:\n",
                   stderr);
    }
}

void finishLaunching(NSApplication* application, SEL selector) {
    warnOfRestorableState([application delegate]);
    finishLaunchingOfGNUstep(application, selector);
}

} // namespace

void finishLaunchingAsOnAMac() {
    finishLaunchingOfGNUstep = functionOf<FinishLaunching>(replaceInstanceMethod(
        [NSApplication class], @selector(finishLaunching), implementationOf(finishLaunching)));
    wordsOfCommandLine = functionOf<FilesToOpen>(replaceInstanceMethod(
        [NSApplication class], @selector(_openFiles), implementationOf(filesToOpen)));
}
