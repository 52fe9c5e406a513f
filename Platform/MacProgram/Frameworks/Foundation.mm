#include "MacProgram/Frameworks/Frameworks.h"

#import <Foundation/Foundation.h>

namespace mac_program {
namespace {

const double zeroRectangle[4] = {};

} // namespace

Library foundation() {
    return {"/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation",
            {
                function("_NSTemporaryDirectory", NSTemporaryDirectory),
                data("_NSZeroRect", zeroRectangle),
            },
            {"NSFileHandle", "NSISO8601DateFormatter", "NSJSONSerialization", "NSLayoutConstraint",
             "NSNumber", "NSString"}};
}

} // namespace mac_program
