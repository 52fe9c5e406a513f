#import "Veilpane/Menu/StatusMenu.h"

namespace veilpane {

namespace {

bool isQ(NSString* text) {
    return [[text lowercaseString] isEqualToString:@"q"];
}

} // namespace

// On a keyboard whose own letters are not Latin only `characters` is a Latin letter together with
// Command; on some others it is the other way round.
bool isCommandQ(NSEvent* event) {
    constexpr NSUInteger compared = NSEventModifierFlagCommand | NSEventModifierFlagOption |
                                    NSEventModifierFlagControl | NSEventModifierFlagShift;
    return ([event modifierFlags] & compared) == NSEventModifierFlagCommand &&
           (isQ([event characters]) || isQ([event charactersIgnoringModifiers]));
}

namespace {

NSMenuItem* quitItemOf(NSMenu* menu) {
    for (NSMenuItem* item in [menu itemArray]) {
        if ([item action] != nullptr && isQ([item keyEquivalent])) {
            return item;
        }
    }
    return nil;
}

} // namespace

} // namespace veilpane

@implementation StatusMenu

- (BOOL)performKeyEquivalent:(NSEvent*)event {
    NSMenuItem* const quitItem = veilpane::isCommandQ(event) ? veilpane::quitItemOf(self) : nil;
    if (quitItem == nil) {
        return NO;
    }
    [self cancelTracking];
    [NSApp sendAction:static_cast<SEL _Nonnull>([quitItem action])
                   to:[quitItem target]
                 from:quitItem];
    return YES;
}

@end
