// A straight-line program that makes the platform calls of `Veilpane --list` and of
// `Veilpane --power off ID`, in the same order and with nothing around them: what these commands
// cost at the least. Scripts/bench.sh compares Veilpane with it, after checking that both made the
// same calls. It supports what the benchmark's scenes need: online displays, all of them named by
// the profiler, framebuffers that carry a DisplayID, SkyLight present.

#import <AppKit/AppKit.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>
#include <IOKit/IOKitLib.h>

extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <initializer_list>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr const char* skyLightPath =
    "/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight";
constexpr const char* coreGraphicsPath =
    "/System/Library/Frameworks/CoreGraphics.framework/CoreGraphics";

using ServicePort = io_service_t (*)(CGDirectDisplayID);
using GetDisplayList = CGError (*)(uint32_t, CGDirectDisplayID*, uint32_t*);
using ConfigureDisplayEnabled = CGError (*)(CGDisplayConfigRef, CGDirectDisplayID, bool);

char report[1 << 20];
size_t reportSize = 0;

void runProfiler() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        std::exit(1);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    char name[] = "/usr/sbin/system_profiler";
    char type[] = "SPDisplaysDataType";
    char format[] = "-json";
    char* const arguments[] = {name, type, format, nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, name, &actions, nullptr, arguments, environ) != 0) {
        std::exit(1);
    }
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    ssize_t count = 0;
    while ((count = read(ends[0], report + reportSize, sizeof report - reportSize)) > 0) {
        reportSize += static_cast<size_t>(count);
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
}

NSString* nameIn(NSDictionary* parsed, CGDirectDisplayID display) {
    for (NSDictionary* device in [parsed objectForKey:@"SPDisplaysDataType"]) {
        for (NSDictionary* entry in [device objectForKey:@"spdisplays_ndrvs"]) {
            if (std::strtoul([[entry objectForKey:@"_spdisplays_displayID"] UTF8String], nullptr,
                             10) == display) {
                return [entry objectForKey:@"_name"];
            }
        }
    }
    for (NSScreen* screen in [NSScreen screens]) {
        if ([[[screen deviceDescription] objectForKey:@"NSScreenNumber"] unsignedIntValue] ==
            display) {
            return [screen localizedName];
        }
    }
    return @"";
}

bool isSoftDisconnected(CGDirectDisplayID display) {
    const auto list = reinterpret_cast<GetDisplayList>(
        dlsym(dlopen(skyLightPath, RTLD_LAZY), "SLSGetDisplayList"));
    CGDirectDisplayID all[64] = {};
    uint32_t count = 0;
    list(0, nullptr, &count);
    list(count, all, &count);
    CGDirectDisplayID online[32] = {};
    uint32_t onlineCount = 0;
    CGGetOnlineDisplayList(32, online, &onlineCount);
    for (uint32_t i = 0; i < onlineCount; ++i) {
        if (online[i] == display) {
            return false;
        }
    }
    return true;
}

bool hasDisplayID(io_service_t framebuffer, CGDirectDisplayID display) {
    const CFTypeRef property =
        IORegistryEntryCreateCFProperty(framebuffer, CFSTR("DisplayID"), kCFAllocatorDefault, 0);
    SInt32 value = 0;
    CFNumberGetValue(static_cast<CFNumberRef>(property), kCFNumberSInt32Type, &value);
    CFRelease(property);
    return static_cast<CGDirectDisplayID>(value) == display;
}

void passOverChildren(io_service_t framebuffer) {
    io_iterator_t children = 0;
    IORegistryEntryGetChildIterator(framebuffer, kIOServicePlane, &children);
    while (const io_object_t child = IOIteratorNext(children)) {
        for (const CFStringRef key :
             {CFSTR("DisplayID"), CFSTR("DisplayVendorID"), CFSTR("DisplayProductID")}) {
            if (const CFTypeRef property =
                    IORegistryEntryCreateCFProperty(child, key, kCFAllocatorDefault, 0)) {
                CFRelease(property);
            }
        }
        IOObjectRelease(child);
    }
    IOObjectRelease(children);
    IOItemCount count = 0;
    IOFBGetI2CInterfaceCount(framebuffer, &count);
}

bool canControl(CGDirectDisplayID display) {
    void* const coreGraphics = dlopen(coreGraphicsPath, RTLD_LAZY);
    reinterpret_cast<ServicePort>(dlsym(coreGraphics, "CGDisplayIOServicePort"))(display);
    dlclose(coreGraphics);
    io_iterator_t framebuffers = 0;
    IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching("IOFramebuffer"),
                                 &framebuffers);
    io_object_t candidate = 0;
    while (const io_object_t framebuffer = IOIteratorNext(framebuffers)) {
        if (hasDisplayID(framebuffer, display)) {
            if (candidate != 0) {
                IOObjectRelease(candidate);
            }
            IOObjectRelease(framebuffers);
            IOItemCount count = 0;
            IOFBGetI2CInterfaceCount(framebuffer, &count);
            io_service_t interface = 0;
            IOFBCopyI2CInterfaceForBus(framebuffer, 0, &interface);
            IOObjectRelease(framebuffer);
            IOObjectRelease(interface);
            return true;
        }
        passOverChildren(framebuffer);
        if (candidate != 0) {
            IOObjectRelease(candidate);
        }
        candidate = framebuffer;
    }
    IOObjectRelease(framebuffers);
    return false;
}

void list() {
    runProfiler();
    NSDictionary* const parsed =
        [NSJSONSerialization JSONObjectWithData:[NSData dataWithBytes:report length:reportSize]
                                        options:0
                                          error:nullptr];
    CGDirectDisplayID displays[32] = {};
    uint32_t count = 0;
    CGGetOnlineDisplayList(32, displays, &count);
    [[NSUserDefaults standardUserDefaults] arrayForKey:@"Veilpane.disconnectedDisplayIDs"];
    bool isMain[32] = {};
    NSString* names[32] = {};
    for (uint32_t i = 0; i < count; ++i) {
        CGDisplayIsOnline(displays[i]);
        isSoftDisconnected(displays[i]);
        names[i] = nameIn(parsed, displays[i]);
        CGDisplayIsBuiltin(displays[i]);
        isMain[i] = CGDisplayIsMain(displays[i]) != 0;
        CGDisplayIsInMirrorSet(displays[i]);
    }
    for (uint32_t i = 0; i < count; ++i) {
        std::printf("%u\t%s\t%s%s\n", displays[i], [names[i] UTF8String], isMain[i] ? "main," : "",
                    canControl(displays[i]) ? "ddc" : "no-ddc");
    }
}

void powerOff(CGDirectDisplayID display) {
    CGDisplayIsMain(display);
    [[NSUserDefaults standardUserDefaults] arrayForKey:@"Veilpane.disconnectedDisplayIDs"];
    dlsym(dlopen(skyLightPath, RTLD_LAZY), "SLSConfigureDisplayEnabled");
    CGDirectDisplayID active[16] = {};
    uint32_t count = 0;
    CGGetActiveDisplayList(16, active, &count);
    const auto configure = reinterpret_cast<ConfigureDisplayEnabled>(
        dlsym(dlopen(skyLightPath, RTLD_LAZY), "SLSConfigureDisplayEnabled"));
    CGDisplayConfigRef config = nullptr;
    CGBeginDisplayConfiguration(&config);
    configure(config, display, false);
    CGCompleteDisplayConfiguration(config, kCGConfigurePermanently);
    [[NSUserDefaults standardUserDefaults]
        setObject:[NSArray arrayWithObject:[NSNumber numberWithUnsignedInt:display]]
           forKey:@"Veilpane.disconnectedDisplayIDs"];
    CGDisplayIsInMirrorSet(display);
    std::puts("method=断开显示器（SLS） success=true\n已断开显示器（SLS，系统设置中将消失）");
}

} // namespace

int main(int argc, char** argv) {
    @autoreleasepool {
        if (argc > 3 && std::strcmp(argv[1], "--power") == 0) {
            powerOff(static_cast<CGDirectDisplayID>(std::strtoul(argv[3], nullptr, 10)));
        } else {
            list();
        }
    }
}
