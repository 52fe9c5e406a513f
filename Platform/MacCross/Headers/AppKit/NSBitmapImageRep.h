#pragma once

#include <AppKit/NSGraphics.h>
#include <AppKit/NSImageRep.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSBitmapImageRep : NSImageRep
// Without planes it has memory of its own; 0 bytes and bits stand for what the other numbers imply.
- (nullable instancetype)initWithBitmapDataPlanes:(unsigned char* _Nullable* _Nullable)planes
                                       pixelsWide:(NSInteger)width
                                       pixelsHigh:(NSInteger)height
                                    bitsPerSample:(NSInteger)bitsPerSample
                                  samplesPerPixel:(NSInteger)samplesPerPixel
                                         hasAlpha:(BOOL)alpha
                                         isPlanar:(BOOL)isPlanar
                                   colorSpaceName:(NSColorSpaceName)colorSpaceName
                                      bytesPerRow:(NSInteger)rowBytes
                                     bitsPerPixel:(NSInteger)pixelBits;

@property (readonly) NSInteger samplesPerPixel;
// As many samples as a pixel has, from the picture's upper left corner on.
- (void)getPixel:(NSUInteger[_Nonnull])samples atX:(NSInteger)x y:(NSInteger)y;
@end

NS_ASSUME_NONNULL_END
