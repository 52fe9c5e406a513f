#include "Safety/ShippedDelegate.h"

#import <Foundation/Foundation.h>

/// What is called here of the shipped program's class.
@protocol TerminationObserver
- (void)applicationWillTerminate:(NSNotification*)notification;
@end

namespace safety {

void tellDelegateOfTermination() {
    @autoreleasepool {
        id<TerminationObserver> const delegate =
            [[[NSClassFromString(@"AppDelegate") alloc] init] autorelease];
        [delegate applicationWillTerminate:nil];
    }
}

} // namespace safety
