#include "Veilpane/Inventory/ProfilerNames.h"

#include "Veilpane/Support/DecimalNumber.h"
#include "Veilpane/Support/UTF8Text.h"

#import <Foundation/Foundation.h>

#include <optional>

namespace veilpane {

namespace {

template <class Class>
Class* as(id object) {
    return [object isKindOfClass:[Class class]] ? static_cast<Class*>(object) : nil;
}

// Nil unless the member is an array of nothing but objects.
NSArray* objectsIn(NSDictionary* parent, NSString* key) {
    NSArray* const array = as<NSArray>([parent objectForKey:key]);
    for (id element in array) {
        if (as<NSDictionary>(element) == nil) {
            return nil;
        }
    }
    return array;
}

std::optional<std::string> textIn(NSDictionary* parent, NSString* key) {
    NSString* const text = as<NSString>([parent objectForKey:key]);
    return text == nil ? std::nullopt : utf8Text(text);
}

void addName(NSDictionary* display, ProfilerNames& names) {
    auto name = textIn(display, @"_name");
    const auto idText = textIn(display, @"_spdisplays_displayID");
    if (!name || !idText) {
        return;
    }
    // The profiler prints IDs in hexadecimal, which agrees with decimal up to 9: enough for the
    // small IDs of Apple silicon. An ID that is not decimal is named from the other sources.
    if (const auto displayID = parseDecimalUInt32(*idText)) {
        names.insert_or_assign(*displayID, std::move(*name));
    }
}

NSDictionary* reportFrom(std::string_view output) {
    NSData* const data = [NSData dataWithBytes:output.data() length:output.size()];
    return as<NSDictionary>([NSJSONSerialization JSONObjectWithData:data options:0 error:nullptr]);
}

} // namespace

ProfilerNames parseProfilerNames(std::string_view output) {
    ProfilerNames names;
    @autoreleasepool {
        for (NSDictionary* device in objectsIn(reportFrom(output), @"SPDisplaysDataType")) {
            for (NSDictionary* display in objectsIn(device, @"spdisplays_ndrvs")) {
                addName(display, names);
            }
        }
    }
    return names;
}

} // namespace veilpane
