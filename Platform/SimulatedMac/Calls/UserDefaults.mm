// The user defaults live in the Mac's state directory. They are stored when they are set: on a Mac
// the defaults daemon does that soon after, also when the process that set them has exited.

#include "ObjectiveC/MethodReplacement.h"
#include "ObjectiveC/SystemLibraries.h"

#import <Foundation/Foundation.h>

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/World/RunningMac.h"

#include <string>

using namespace simulated_mac;
using nlohmann::json;

namespace {

id (*originalObjectForKey)(id, SEL, NSString*);
id (*originalArrayForKey)(id, SEL, NSString*);
void (*originalSetObjectForKey)(id, SEL, id, NSString*);
void (*originalRemoveObjectForKey)(id, SEL, NSString*);
BOOL (*originalSynchronize)(id, SEL);

std::string text(NSString* string) {
    const char* const utf8 = [string UTF8String];
    return utf8 == nullptr ? "" : utf8;
}

NSString* stringFrom(const std::string& text) {
    return [NSString stringWithUTF8String:text.c_str()];
}

// What a property list may hold; nil for JSON's null.
id objectFrom(const json& value) {
    switch (value.type()) {
    case json::value_t::boolean:
        return [NSNumber numberWithBool:value.get<bool>()];
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
        return [NSNumber numberWithLongLong:value.get<long long>()];
    case json::value_t::number_float:
        return [NSNumber numberWithDouble:value.get<double>()];
    case json::value_t::string:
        return stringFrom(value.get<std::string>());
    case json::value_t::array: {
        NSMutableArray* const array = [NSMutableArray array];
        for (const json& element : value) {
            [array addObject:objectFrom(element)];
        }
        return array;
    }
    case json::value_t::object: {
        NSMutableDictionary* const dictionary = [NSMutableDictionary dictionary];
        for (const auto& [key, member] : value.items()) {
            [dictionary setObject:objectFrom(member) forKey:stringFrom(key)];
        }
        return dictionary;
    }
    default:
        return [NSNull null];
    }
}

json numberFrom(NSNumber* number) {
    const double value = [number doubleValue];
    const long long whole = [number longLongValue];
    return static_cast<double>(whole) == value ? json(whole) : json(value);
}

json jsonFrom(id object) {
    if ([object isKindOfClass:[NSNumber class]]) {
        return numberFrom(object);
    }
    if ([object isKindOfClass:[NSString class]]) {
        return text(object);
    }
    if ([object isKindOfClass:[NSArray class]]) {
        json array = json::array();
        for (id element in object) {
            array.push_back(jsonFrom(element));
        }
        return array;
    }
    if ([object isKindOfClass:[NSDictionary class]]) {
        json members = json::object();
        for (NSString* key in object) {
            members[text(key)] = jsonFrom([object objectForKey:key]);
        }
        return members;
    }
    if ([object isKindOfClass:[NSDate class]]) {
        return [object timeIntervalSinceReferenceDate]; // GNUstep counts years to describe one
    }
    return text([object description]);
}

// Documented order: command-line arguments come before what is stored, registered values after it.
id objectForKey(NSUserDefaults* self, SEL selector, NSString* key) {
    if (isInSystemLibrary(__builtin_return_address(0))) {
        return originalObjectForKey(self, selector, key);
    }
    id const argument = [[self volatileDomainForName:NSArgumentDomain] objectForKey:key];
    if (argument != nil) {
        return argument;
    }
    const json stored = RunningMac::current().storedDefaults();
    const auto found = stored.find(text(key));
    // What this machine's user has stored is nothing to the simulated Mac.
    return found != stored.end()
               ? objectFrom(*found)
               : [[self volatileDomainForName:NSRegistrationDomain] objectForKey:key];
}

id arrayForKey(NSUserDefaults* self, SEL selector, NSString* key) {
    if (isInSystemLibrary(__builtin_return_address(0))) {
        return originalArrayForKey(self, selector, key);
    }
    Call call("NSUserDefaults.arrayForKey", {text(key)});
    id const object = [self objectForKey:key];
    const bool isArray = [object isKindOfClass:[NSArray class]];
    const bool answers = isArray && !call.failed() && !call.yieldsNull();
    return call.returns<id>(answers ? object : nil, answers ? jsonFrom(object) : json());
}

void setObjectForKey(NSUserDefaults* self, SEL selector, id object, NSString* key) {
    if (isInSystemLibrary(__builtin_return_address(0))) {
        return originalSetObjectForKey(self, selector, object, key);
    }
    Call call("NSUserDefaults.setObject", {jsonFrom(object), text(key)});
    if (call.failed()) {
        return;
    }
    json stored = RunningMac::current().storedDefaults();
    stored[text(key)] = jsonFrom(object);
    RunningMac::current().storeDefaults(stored);
}

void removeObjectForKey(NSUserDefaults* self, SEL selector, NSString* key) {
    if (isInSystemLibrary(__builtin_return_address(0))) {
        return originalRemoveObjectForKey(self, selector, key);
    }
    json stored = RunningMac::current().storedDefaults();
    stored.erase(text(key));
    RunningMac::current().storeDefaults(stored);
}

BOOL synchronize(NSUserDefaults* self, SEL selector) {
    if (isInSystemLibrary(__builtin_return_address(0))) {
        return originalSynchronize(self, selector);
    }
    Call call("NSUserDefaults.synchronize", json::array());
    return call.returns<BOOL>(YES);
}

} // namespace

/// Loaded with the program; its only task is to put the functions above in place.
@interface SimulatedUserDefaults : NSObject
@end

@implementation SimulatedUserDefaults

+ (void)load {
    Class const defaults = [NSUserDefaults class];
    originalObjectForKey = functionOf<id(id, SEL, NSString*)>(
        replaceInstanceMethod(defaults, @selector(objectForKey:), implementationOf(objectForKey)));
    originalArrayForKey = functionOf<id(id, SEL, NSString*)>(
        replaceInstanceMethod(defaults, @selector(arrayForKey:), implementationOf(arrayForKey)));
    originalSetObjectForKey = functionOf<void(id, SEL, id, NSString*)>(replaceInstanceMethod(
        defaults, @selector(setObject:forKey:), implementationOf(setObjectForKey)));
    originalRemoveObjectForKey = functionOf<void(id, SEL, NSString*)>(replaceInstanceMethod(
        defaults, @selector(removeObjectForKey:), implementationOf(removeObjectForKey)));
    originalSynchronize = functionOf<BOOL(id, SEL)>(
        replaceInstanceMethod(defaults, @selector(synchronize), implementationOf(synchronize)));
}

@end

extern "C" const int simulatedUserDefaults = 1;
