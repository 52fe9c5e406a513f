#pragma once

#import <Foundation/Foundation.h>

/// Writes the text to standard error in UTF-8. A closed or full standard error is ignored.
void writeToStandardError(NSString* text);
