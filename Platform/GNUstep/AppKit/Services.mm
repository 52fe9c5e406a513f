// GNUstep announces every application to the others of the desktop, under its name, through daemons
// and behind locks in files, which a killed application leaves behind. This desktop has no others.

#import <AppKit/AppKit.h>
#import <GNUstepGUI/GSServicesManager.h>

@implementation GSServicesManager (NoServices)

- (void)registerAsServiceProvider {
}

@end

@implementation NSWorkspace (NoDesktop)

+ (NSWorkspace*)sharedWorkspace {
    return nil;
}

@end
