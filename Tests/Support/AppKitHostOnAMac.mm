#include "Support/AppKitHost.h"

#import <Security/AuthSession.h>

#include <cstdlib>
#include <regex>
#include <sstream>

std::shared_ptr<void> screenForWindows() {
    return nullptr;
}

bool hasWindowServer() {
    SessionAttributeBits attributes = 0;
    return SessionGetInfo(callerSecuritySession, nullptr, &attributes) == 0 &&
           (attributes & sessionHasGraphicAccess) != 0;
}

CGFloat pixelRounding() {
    return 1;
}

NSRect alignmentRect(NSView* view) {
    return [view alignmentRectForFrame:[view frame]];
}

NSBitmapImageRep* drawUnseen(NSSize size, const std::function<void()>& drawing) {
    NSBitmapImageRep* const picture =
        [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                 pixelsWide:static_cast<NSInteger>(size.width)
                                                 pixelsHigh:static_cast<NSInteger>(size.height)
                                              bitsPerSample:8
                                            samplesPerPixel:4
                                                   hasAlpha:YES
                                                   isPlanar:NO
                                             colorSpaceName:NSCalibratedRGBColorSpace
                                                bytesPerRow:0
                                               bitsPerPixel:0] autorelease];
    [NSGraphicsContext saveGraphicsState];
    if (picture != nil) {
        [NSGraphicsContext
            setCurrentContext:[NSGraphicsContext graphicsContextWithBitmapImageRep:picture]];
    }
    drawing();
    [NSGraphicsContext restoreGraphicsState];
    return picture;
}

std::string withoutFrameworkMessages(const std::string& standardError) {
    static const std::regex logsOwn(R"(\[\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\] .*)");
    std::istringstream lines(standardError);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, logsOwn)) {
            kept += line + "\n";
        }
    }
    return kept;
}

/// Takes the place of Foundation's for the test's own program: tests send the log elsewhere by
/// TMPDIR, which Foundation need not heed, and the log of who runs them is left alone.
NSString* NSTemporaryDirectory() {
    const char* const folder = std::getenv("TMPDIR");
    return [NSString stringWithFormat:@"%s/", folder == nullptr ? "/tmp" : folder];
}
