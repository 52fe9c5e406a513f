#pragma once

#include <Foundation/Foundation.h>

@class NSMenu;
@class NSMenuItem;

NS_ASSUME_NONNULL_BEGIN

@protocol NSMenuDelegate <NSObject>
@optional
- (void)menuNeedsUpdate:(NSMenu*)menu;
@end

@interface NSMenu : NSObject
- (instancetype)initWithTitle:(NSString*)title NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;
@property (nullable, weak) id<NSMenuDelegate> delegate;
@property BOOL autoenablesItems;
- (void)addItem:(NSMenuItem*)item;
- (void)removeAllItems;
@end

NS_ASSUME_NONNULL_END
