#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSCharacterSet;
@class NSData;

NS_ASSUME_NONNULL_BEGIN

typedef unsigned short unichar;
typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding {
    NSUTF8StringEncoding = 4, // not CoreFoundation's number for it
};

// Lengths and indexes are in UTF-16 units.
@interface NSString : NSObject
+ (nullable instancetype)stringWithUTF8String:(const char*)nullTerminatedText;
+ (instancetype)stringWithFormat:(NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)length
                              encoding:(NSStringEncoding)encoding;
@property (readonly) NSUInteger length;
@property (nullable, readonly) const char* UTF8String NS_RETURNS_INNER_POINTER;
- (NSUInteger)lengthOfBytesUsingEncoding:(NSStringEncoding)encoding;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding;
@property (readonly, copy) NSString* lowercaseString;
@property (readonly) double doubleValue;
- (unichar)characterAtIndex:(NSUInteger)index;
- (BOOL)isEqualToString:(NSString*)other;
- (NSComparisonResult)localizedCompare:(NSString*)other;
- (NSString*)stringByAppendingString:(NSString*)other;
- (NSString*)substringToIndex:(NSUInteger)end;
- (NSRange)rangeOfCharacterFromSet:(NSCharacterSet*)set;
- (NSRange)rangeOfComposedCharacterSequenceAtIndex:(NSUInteger)index;
@end

@interface NSMutableString : NSString
+ (instancetype)string;
- (void)appendString:(NSString*)text;
@end

@interface NSCharacterSet : NSObject
+ (NSCharacterSet*)characterSetWithCharactersInString:(NSString*)text;
@end

NS_ASSUME_NONNULL_END
