#pragma once

#import <AppKit/AppKit.h>

namespace veilpane {

/// Whether the event is the Q key together with Command and no other modifier, on any keyboard.
bool isCommandQ(NSEvent* event);

} // namespace veilpane

/// The status item's menu, which answers Command-Q itself: AppKit may deliver no key equivalent to
/// an item with a view.
@interface StatusMenu : NSMenu

/// For Command-Q closes the menu, sends the action of the item whose key equivalent is "q" to its
/// target, and answers YES. Answers NO for every other key, and as long as there is no such item.
///
/// Never asks super, which would let the delegate rebuild the menu under the pointer for every
/// command key.
- (BOOL)performKeyEquivalent:(NSEvent*)event;

@end
