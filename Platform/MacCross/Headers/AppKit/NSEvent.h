#pragma once

#include <Foundation/Foundation.h>

@class NSGraphicsContext;

NS_ASSUME_NONNULL_BEGIN

NS_ENUM(NSUInteger, NSEventType){
    NSEventTypeKeyDown = 10,
};

NS_OPTIONS(NSUInteger, NSEventModifierFlags){
    NSEventModifierFlagCapsLock = 1 << 16, NSEventModifierFlagShift = 1 << 17,
    NSEventModifierFlagControl = 1 << 18,  NSEventModifierFlagOption = 1 << 19,
    NSEventModifierFlagCommand = 1 << 20,
};

@interface NSEvent : NSObject
+ (nullable NSEvent*)keyEventWithType:(NSEventType)type
                             location:(NSPoint)location
                        modifierFlags:(NSEventModifierFlags)flags
                            timestamp:(NSTimeInterval)time
                         windowNumber:(NSInteger)windowNumber
                              context:(nullable NSGraphicsContext*)unusedPassNil
                           characters:(NSString*)keys
          charactersIgnoringModifiers:(NSString*)unmodifiedKeys
                            isARepeat:(BOOL)isRepeat
                              keyCode:(unsigned short)code;
@property (readonly) NSEventModifierFlags modifierFlags;
// Of key events only; they raise for others.
@property (nullable, readonly, copy) NSString* characters;
@property (nullable, readonly, copy) NSString* charactersIgnoringModifiers;
@end

NS_ASSUME_NONNULL_END
