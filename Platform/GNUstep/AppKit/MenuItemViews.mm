#import <AppKit/AppKit.h>
#import <objc/associated_objects.h>

namespace {

const char viewKey = 0;

} // namespace

@implementation NSMenuItem (View)

- (NSView*)view {
    return objc_getAssociatedObject(self, &viewKey);
}

- (void)setView:(NSView*)view {
    objc_setAssociatedObject(self, &viewKey, view, OBJC_ASSOCIATION_RETAIN);
}

@end
