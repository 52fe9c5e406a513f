#include "MacProbe/ProfilerReport.h"

#include "Veilpane/Inventory/SystemProfiler.h"
#include "Veilpane/Support/UTF8Text.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace macprobe {

namespace {

template <class Class>
Class* as(id object) {
    return [object isKindOfClass:[Class class]] ? static_cast<Class*>(object) : nil;
}

NSDictionary* dictionaryFrom(const std::string& output) {
    NSData* const data = [NSData dataWithBytes:output.data() length:output.size()];
    return as<NSDictionary>([NSJSONSerialization JSONObjectWithData:data options:0 error:nullptr]);
}

std::optional<std::string> textIn(NSDictionary* parent, NSString* key) {
    NSString* const text = as<NSString>([parent objectForKey:key]);
    return text == nil ? std::nullopt : veilpane::utf8Text(text);
}

void addDisplays(NSDictionary* device, std::vector<ProfiledDisplay>& displays) {
    for (id entry in as<NSArray>([device objectForKey:@"spdisplays_ndrvs"])) {
        NSDictionary* const display = as<NSDictionary>(entry);
        if (auto idText = textIn(display, @"_spdisplays_displayID")) {
            displays.push_back({std::move(*idText), textIn(display, @"_name").value_or("")});
        }
    }
}

} // namespace

std::optional<std::vector<ProfiledDisplay>> profiledDisplays() {
    const auto output = veilpane::runSystemProfiler();
    if (!output) {
        return std::nullopt;
    }
    std::vector<ProfiledDisplay> displays;
    @autoreleasepool {
        NSDictionary* const report = dictionaryFrom(*output);
        for (id device in as<NSArray>([report objectForKey:@"SPDisplaysDataType"])) {
            addDisplays(as<NSDictionary>(device), displays);
        }
    }
    return displays;
}

std::optional<std::string> nameOf(const std::vector<ProfiledDisplay>& displays,
                                  const std::string& idText) {
    const auto found = std::ranges::find(displays, idText, &ProfiledDisplay::idText);
    return found == displays.end() ? std::nullopt : std::optional(found->name);
}

std::string hexadecimal(unsigned displayID) {
    std::array<char, 16> text = {};
    std::snprintf(text.data(), text.size(), "%x", displayID);
    return text.data();
}

} // namespace macprobe
