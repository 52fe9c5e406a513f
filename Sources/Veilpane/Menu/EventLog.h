#pragma once

#import <Foundation/Foundation.h>

namespace veilpane {

/// What the application does, for whoever looks for the cause of a trouble.
namespace EventLog {

/// Writes one line with the time (UTC) and the message to standard error and appends it to
/// "Veilpane.log" in the user's temporary directory. Every failure is ignored.
void log(NSString* message);

/// How the log writes a length in points: the shortest decimal form that reads back as the same
/// number, with 1 to 17 fractional digits and no exponent. Autoreleased.
[[nodiscard]] NSString* shortestDecimal(double number);

} // namespace EventLog

} // namespace veilpane
