#pragma once

#import <Foundation/Foundation.h>

/// What the application does, for whoever looks for the cause of a trouble.
namespace EventLog {

/// Writes one line with the time (UTC) and the message to standard error and appends it to
/// "Veilpane.log" in the user's temporary directory. Every failure is ignored.
void log(NSString* message);

} // namespace EventLog
