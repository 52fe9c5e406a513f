// Images that are drawn when they are needed, template images, tint.

#import "AppKit/Images.h"

#import "AppKit/Symbols.h"
#import "Runtime/AttachedObject.h"

#import <objc/associated_objects.h>

#include <memory>

namespace {

const char templateKey = 0;
const char tintKey = 0;
const char tintedImagesKey = 0;

struct BlockReleaser {
    using pointer = BOOL (^)(NSRect);
    void operator()(pointer block) const { Block_release(block); }
};

/// Owns a copy of a block that draws.
using DrawingBlock = std::unique_ptr<BOOL(NSRect), BlockReleaser>;

} // namespace

/// Draws an image with a block, in the image's own coordinates.
@interface BlockImageRep : NSImageRep {
@private
    DrawingBlock _drawingHandler;
    BOOL _isFlipped;
}
- (instancetype)initWithSize:(NSSize)size
                     flipped:(BOOL)isFlipped
              drawingHandler:(BOOL (^)(NSRect))drawingHandler;
@end

@implementation BlockImageRep

- (instancetype)initWithSize:(NSSize)size
                     flipped:(BOOL)isFlipped
              drawingHandler:(BOOL (^)(NSRect))drawingHandler {
    self = [super init];
    if (self != nil) {
        _drawingHandler.reset(Block_copy(drawingHandler));
        _isFlipped = isFlipped;
        [self setSize:size];
        [self setAlpha:YES];
        [self setOpaque:NO];
    }
    return self;
}

- (id)copyWithZone:(NSZone*)zone {
    return [[BlockImageRep allocWithZone:zone] initWithSize:[self size]
                                                    flipped:_isFlipped
                                             drawingHandler:_drawingHandler.get()];
}

- (BOOL)draw {
    const NSSize size = [self size];
    [NSGraphicsContext saveGraphicsState];
    if (_isFlipped) {
        NSAffineTransform* const upsideDown = [NSAffineTransform transform];
        [upsideDown translateXBy:0 yBy:size.height];
        [upsideDown scaleXBy:1 yBy:-1];
        [upsideDown concat];
    }
    const BOOL drawn = _drawingHandler.get()(NSMakeRect(0, 0, size.width, size.height));
    [NSGraphicsContext restoreGraphicsState];
    return drawn;
}

@end

@implementation NSImage (DrawingAndSymbols)

+ (NSImage*)imageWithSize:(NSSize)size
                  flipped:(BOOL)isFlipped
           drawingHandler:(BOOL (^)(NSRect))drawingHandler {
    NSImage* const image = [[[NSImage alloc] initWithSize:size] autorelease];
    BlockImageRep* const rep = [[[BlockImageRep alloc] initWithSize:size
                                                            flipped:isFlipped
                                                     drawingHandler:drawingHandler] autorelease];
    [image setCacheMode:NSImageCacheNever];
    [image addRepresentation:rep];
    return image;
}

+ (NSImage*)imageWithSystemSymbolName:(NSString*)name
             accessibilityDescription:(NSString*)__unused description {
    const Symbol* const symbol = findSymbol([name UTF8String]);
    if (symbol == nullptr) {
        return nil;
    }
    NSImage* const image = [NSImage imageWithSize:symbol->size
                                          flipped:NO
                                   drawingHandler:^BOOL(NSRect) {
                                       symbol->draw();
                                       return YES;
                                   }];
    [image setTemplate:YES];
    return image;
}

- (BOOL)isTemplate {
    return objc_getAssociatedObject(self, &templateKey) != nil;
}

- (void)setTemplate:(BOOL)isTemplate {
    objc_setAssociatedObject(self, &templateKey, isTemplate ? @(YES) : nil,
                             OBJC_ASSOCIATION_RETAIN);
}

@end

namespace {

NSImage* drawnInColor(NSImage* image, NSSize size, NSColor* tint) {
    NSImage* const canvas = [[[NSImage alloc] initWithSize:size] autorelease];
    const NSRect bounds = NSMakeRect(0, 0, size.width, size.height);
    [canvas lockFocus];
    [image drawInRect:bounds fromRect:NSZeroRect operation:NSCompositeSourceOver fraction:1];
    [tint set];
    NSRectFillUsingOperation(bounds, NSCompositeSourceIn);
    [canvas unlockFocus];
    return canvas;
}

} // namespace

NSImage* tintedImage(NSImage* image, NSSize size, NSColor* tint) {
    auto* const images = attachedObject<NSMutableDictionary>(image, &tintedImagesKey);
    NSString* const key = [NSString stringWithFormat:@"%@ %@", NSStringFromSize(size), tint];
    if ([images objectForKey:key] == nil) {
        [images setObject:drawnInColor(image, size, tint) forKey:key];
    }
    return [images objectForKey:key];
}

void drawTinted(NSImage* image, NSRect rect, NSColor* tint) {
    // Upright, also in a view whose coordinates go down.
    [tintedImage(image, rect.size, tint) drawInRect:rect
                                           fromRect:NSZeroRect
                                          operation:NSCompositeSourceOver
                                           fraction:1
                                     respectFlipped:YES
                                              hints:nil];
}

NSRect fittedRect(NSSize size, NSRect room, bool mayGrow) {
    CGFloat scale = std::min(NSWidth(room) / size.width, NSHeight(room) / size.height);
    scale = mayGrow ? scale : std::min<CGFloat>(scale, 1);
    const NSSize fitted = NSMakeSize(size.width * scale, size.height * scale);
    return NSMakeRect(NSMidX(room) - fitted.width / 2, NSMidY(room) - fitted.height / 2,
                      fitted.width, fitted.height);
}

@implementation NSImageView (Tint)

- (NSColor*)contentTintColor {
    return objc_getAssociatedObject(self, &tintKey);
}

- (void)setContentTintColor:(NSColor*)tint {
    objc_setAssociatedObject(self, &tintKey, tint, OBJC_ASSOCIATION_COPY);
    [self setNeedsDisplay:YES];
}

- (void)drawRect:(NSRect)dirtyRect {
    NSImage* const image = [self image];
    if (![image isTemplate]) {
        [[self cell] drawWithFrame:[self bounds] inView:self];
        return;
    }
    const bool mayGrow = [self imageScaling] == NSImageScaleProportionallyUpOrDown;
    NSColor* const tint = [self contentTintColor];
    drawTinted(image, fittedRect([image size], [self bounds], mayGrow),
               tint != nil ? tint : [NSColor labelColor]);
}

@end
