#pragma once

#import <Foundation/Foundation.h>

namespace veilpane {

/// A text for a menu row, cut to 61 characters and an ellipsis when it has more than 64. Characters
/// are those that a person perceives. Autoreleased.
[[nodiscard]] NSString* shortenedForMenu(NSString* text);

} // namespace veilpane
