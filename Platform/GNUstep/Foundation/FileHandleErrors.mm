#import <Foundation/Foundation.h>

@implementation NSFileHandle (ReturnedErrors)

- (BOOL)closeAndReturnError:(NSError**)error {
    @try {
        [self closeFile];
        return YES;
    } @catch (NSException* failure) {
        if (error != nullptr) {
            *error = [NSError errorWithDomain:NSCocoaErrorDomain
                                         code:NSFileWriteUnknownError
                                     userInfo:[failure userInfo]];
        }
        return NO;
    }
}

@end
