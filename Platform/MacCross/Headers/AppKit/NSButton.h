#pragma once

#include <AppKit/NSControl.h>

@class NSImage;

NS_ASSUME_NONNULL_BEGIN

NS_ENUM(NSUInteger, NSCellImagePosition){
    NSNoImage = 0,
    NSImageOnly = 1,
};

@interface NSButton : NSControl
@property (copy) NSString* title;
@property (nullable, strong) NSImage* image;
@property NSCellImagePosition imagePosition;
@end

NS_ASSUME_NONNULL_END
