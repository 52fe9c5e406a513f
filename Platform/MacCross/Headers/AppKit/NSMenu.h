#pragma once

#include <Foundation/Foundation.h>

@class NSEvent;
@class NSMenu;
@class NSMenuItem;

NS_ASSUME_NONNULL_BEGIN

@protocol NSMenuDelegate <NSObject>
@optional
- (void)menuNeedsUpdate:(NSMenu*)menu;
- (BOOL)menuHasKeyEquivalent:(NSMenu*)menu
                    forEvent:(NSEvent*)event
                      target:(_Nullable id* _Nonnull)target
                      action:(_Nullable SEL* _Nonnull)action;
@end

@interface NSMenu : NSObject
- (instancetype)initWithTitle:(NSString*)title NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;
@property (nullable, weak) id<NSMenuDelegate> delegate;
@property BOOL autoenablesItems;
- (void)addItem:(NSMenuItem*)item;
- (void)removeAllItems API_AVAILABLE(macos(10.6));
@property (copy) NSArray<NSMenuItem*>* itemArray;
@property (readonly) NSInteger numberOfItems;
- (nullable NSMenuItem*)itemAtIndex:(NSInteger)index;
@property (readonly) NSSize size API_AVAILABLE(macos(10.6));
- (BOOL)performKeyEquivalent:(NSEvent*)event;
- (void)cancelTracking API_AVAILABLE(macos(10.5));
- (void)cancelTrackingWithoutAnimation API_AVAILABLE(macos(10.6));
@end

NS_ASSUME_NONNULL_END
