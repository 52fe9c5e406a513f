#pragma once

#include <AppKit/NSGraphics.h>
#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSApplication;

NS_ENUM(NSInteger, NSApplicationActivationPolicy){
    NSApplicationActivationPolicyRegular = 0,
    NSApplicationActivationPolicyAccessory = 1,
    NSApplicationActivationPolicyProhibited = 2,
};

@protocol NSApplicationDelegate <NSObject>
@optional
- (void)applicationDidFinishLaunching:(NSNotification*)notification;
- (void)applicationWillTerminate:(NSNotification*)notification;
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)app API_AVAILABLE(macos(12.0));
@end

@interface NSApplication : NSResponder
@property (class, readonly, strong) __kindof NSApplication* sharedApplication;
@property (nullable, weak) id<NSApplicationDelegate> delegate; // keep it alive elsewhere
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
- (void)activateIgnoringOtherApps:(BOOL)ignoreOtherApps;
- (BOOL)sendAction:(SEL)action to:(nullable id)target from:(nullable id)sender;
- (void)run;
- (void)finishLaunching;
- (void)terminate:(nullable id)sender;
@end

// Nil until sharedApplication was asked for.
APPKIT_EXTERN __kindof NSApplication* _Null_unspecified NSApp;

NS_ASSUME_NONNULL_END
