#include "Veilpane/CLI.h"
#include "Veilpane/ExitStatus.h"

#import <Foundation/Foundation.h>

#include <cstdio>

int main() {
    @autoreleasepool {
        if (CLI::runIfNeeded()) {
            return ExitStatusSuccess;
        }
        std::fputs("Veilpane: this build has no menu-bar application; use --power on|off "
                   "[displayID], --list or --selftest\n",
                   stderr);
        return ExitStatusFailure;
    }
}
