#pragma once

#import <Foundation/Foundation.h>

/// Writes one line with the time (UTC) and the message to standard error and appends it to
/// "Veilpane.log" in the user's temporary directory. Every failure is ignored.
void logEvent(NSString* message);
