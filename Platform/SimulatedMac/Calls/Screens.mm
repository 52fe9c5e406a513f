// The screen list of the simulated Mac, for the program's own code. GNUstep's AppKit keeps its X11
// screens, which its windows need.

#include "ObjectiveC/MethodReplacement.h"
#include "ObjectiveC/Retained.h"
#include "ObjectiveC/SystemLibraries.h"

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/RunningMac.h"

#import <AppKit/AppKit.h>

using namespace simulated_mac;

/// Answers what the program asks of an NSScreen.
@interface SimulatedScreen : NSObject {
    Retained<NSDictionary> _deviceDescription;
    Retained<NSString> _localizedName;
}
- (instancetype)initWithDisplay:(const SceneDisplay&)display;
- (NSDictionary*)deviceDescription;
- (NSString*)localizedName;
@end

@implementation SimulatedScreen

- (instancetype)initWithDisplay:(const SceneDisplay&)display {
    self = [super init];
    if (self != nil) {
        _deviceDescription = Retained<NSDictionary>([NSDictionary
            dictionaryWithObject:[NSNumber numberWithUnsignedInt:display.id]
                          forKey:@"NSScreenNumber"]);
        _localizedName = Retained<NSString>(
            [NSString stringWithUTF8String:display.screenName.value_or("").c_str()]);
    }
    return self;
}

- (NSDictionary*)deviceDescription {
    return _deviceDescription.get();
}

- (NSString*)localizedName {
    return _localizedName.get();
}

@end

namespace {

NSArray* (*originalScreens)(id, SEL);

NSArray* screens(id self, SEL selector) {
    if (isInSystemLibrary(__builtin_return_address(0))) {
        return originalScreens(self, selector);
    }
    Call call("NSScreen.screens", nlohmann::json::array());
    NSMutableArray* const list = [NSMutableArray array];
    for (const uint32_t display : RunningMac::current().lateState().screens()) {
        // One that has another ID by now is described no more.
        const auto* const described = RunningMac::current().sceneDisplay(display);
        if (described != nullptr && !call.failed() && !call.yieldsNull()) {
            [list addObject:[[[SimulatedScreen alloc] initWithDisplay:*described] autorelease]];
        }
    }
    return call.returns<NSArray*>(list, [list count]);
}

} // namespace

/// Loaded with the program; its only task is to put the function above in place.
@interface SimulatedScreens : NSObject
@end

@implementation SimulatedScreens

+ (void)load {
    originalScreens = functionOf<NSArray*(id, SEL)>(
        replaceClassMethodOf([NSScreen class], @selector(screens), implementationOf(screens)));
}

@end

extern "C" const int simulatedScreens = 1;
