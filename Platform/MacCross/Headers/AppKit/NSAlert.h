#pragma once

#include <AppKit/NSButton.h>
#include <AppKit/NSWindow.h>

NS_ASSUME_NONNULL_BEGIN

NS_ENUM(NSUInteger, NSAlertStyle){
    NSAlertStyleWarning = 0,
    NSAlertStyleInformational = 1,
    NSAlertStyleCritical = 2,
};

typedef NSInteger NSModalResponse;

@interface NSAlert : NSObject
@property (copy) NSString* messageText;
@property (copy) NSString* informativeText;
@property NSAlertStyle alertStyle;
@property (readonly, copy) NSArray<NSButton*>* buttons;
- (NSButton*)addButtonWithTitle:(NSString*)title;
- (NSModalResponse)runModal;
@property (readonly, strong) NSWindow* window;
@end

NS_ASSUME_NONNULL_END
