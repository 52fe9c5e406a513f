#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

NS_ENUM(NSUInteger, NSEventModifierFlags){
    NSEventModifierFlagCapsLock = 1 << 16, NSEventModifierFlagShift = 1 << 17,
    NSEventModifierFlagControl = 1 << 18,  NSEventModifierFlagOption = 1 << 19,
    NSEventModifierFlagCommand = 1 << 20,
};

@interface NSEvent : NSObject
@property (readonly) NSEventModifierFlags modifierFlags;
// Of key events only; they raise for others.
@property (nullable, readonly, copy) NSString* characters;
@property (nullable, readonly, copy) NSString* charactersIgnoringModifiers;
@end

NS_ASSUME_NONNULL_END
