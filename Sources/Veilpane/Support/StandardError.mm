#include "Veilpane/Support/StandardError.h"

void writeToStandardError(NSString* text) {
    NSData* const data = [text dataUsingEncoding:NSUTF8StringEncoding];
    // writeData: raises when it cannot write.
    @try {
        [[NSFileHandle fileHandleWithStandardError] writeData:data != nil ? data : [NSData data]];
    } @catch (NSException*) {
    }
}
