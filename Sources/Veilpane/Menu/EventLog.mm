#include "Veilpane/Menu/EventLog.h"

#include "Ownership/NSRef.h"
#include "Veilpane/Support/StandardError.h"

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

void appendToLogFile(NSString* line) {
    NSURL* const url = logFile();
    NSData* const data = [line dataUsingEncoding:NSUTF8StringEncoding];
    if (data == nil) {
        return;
    }
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
        NSString* const line = logLine(message);
        writeToStandardError(line);
        appendToLogFile(line);
    }
}
