#pragma once

#import <Foundation/Foundation.h>

/// A text for a menu row, cut to 61 characters and an ellipsis when it has more than 64. Characters
/// are those that a person perceives. Autoreleased.
NSString* shortenedForMenu(NSString* text);

/// The shortest decimal form that reads back as the same number, with 1 to 17 fractional digits and
/// no exponent: for lengths in points. Autoreleased.
NSString* shortestDecimal(double number);
