#include "Veilpane/Menu/EventLog.h"

#include "Ownership/NSRef.h"
#include "Veilpane/Support/StandardStreams.h"

namespace veilpane {

namespace {

NSString* logLine(NSString* message) {
    const auto formatter =
        NSRef<NSISO8601DateFormatter>::adopt([[NSISO8601DateFormatter alloc] init]);
    NSString* const time = [formatter.get() stringFromDate:[NSDate date]];
    return [NSString stringWithFormat:@"[%@] %@\n", time, message];
}

NSURL* logFile() {
    return [[NSURL fileURLWithPath:NSTemporaryDirectory()]
        URLByAppendingPathComponent:@"Veilpane.log"];
}

void append(NSData* data, NSFileHandle* file) {
    // Both raise: a full disk, a file that is no file.
    @try {
        [file seekToEndOfFile];
        [file writeData:data];
    } @catch (NSException*) {
    }
    [file closeAndReturnError:nullptr];
}

void appendToLogFile(NSData* data) {
    NSURL* const url = logFile();
    NSFileHandle* const file = [NSFileHandle fileHandleForWritingToURL:url error:nullptr];
    if (file == nil) {
        [data writeToURL:url options:0 error:nullptr];
        return;
    }
    append(data, file);
}

} // namespace

void EventLog::log(NSString* message) {
    @autoreleasepool {
        // nil for a text that UTF-8 cannot express.
        NSData* const line = [logLine(message) dataUsingEncoding:NSUTF8StringEncoding];
        writeToStandardError({static_cast<const char*>([line bytes]), [line length]});
        if (line != nil) {
            appendToLogFile(line);
        }
    }
}

NSString* EventLog::shortestDecimal(double number) {
    constexpr int mostDigits = 17;
    NSString* text = nil;
    for (int digits = 1; digits <= mostDigits; ++digits) {
        text = [NSString stringWithFormat:@"%.*f", digits, number];
        if ([text doubleValue] == number) {
            break;
        }
    }
    return text;
}

} // namespace veilpane
