#include "Support/AppKitHost.h"

#include "Support/VirtualScreen.h"

std::shared_ptr<void> screenForWindows() {
    return std::make_shared<VirtualScreen>();
}

bool hasWindowServer() {
    return true;
}

CGFloat pixelRounding() {
    return 0;
}

NSRect alignmentRect(NSView* view) {
    return [view frame];
}

NSBitmapImageRep* drawUnseen(NSSize size, const std::function<void()>& drawing) {
    NSImage* const canvas = [[[NSImage alloc] initWithSize:size] autorelease];
    [canvas lockFocus];
    drawing();
    NSBitmapImageRep* const picture = [[[NSBitmapImageRep alloc]
        initWithFocusedViewRect:NSMakeRect(0, 0, size.width, size.height)] autorelease];
    [canvas unlockFocus];
    return picture;
}

std::string withoutFrameworkMessages(const std::string& standardError) {
    return standardError;
}
