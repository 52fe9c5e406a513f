#include "MacProbe/Looking.h"

#include "MacProbe/Assumptions.h"
#include "MacProbe/DisplayFacts.h"
#include "MacProbe/GammaReadings.h"
#include "MacProbe/ProfilerReport.h"
#include "MacProbe/RegistryTrees.h"
#include "Veilpane/WindowServer/DisplayLists.h"

#include <algorithm>
#include <set>

namespace macprobe {

namespace {

std::string listed(const DisplayIDs& displays) {
    std::string text;
    for (const CGDirectDisplayID display : displays) {
        text += (text.empty() ? "" : ", ") + std::to_string(display);
    }
    return text;
}

Answer onlineOrder(const DisplayListing& listing) {
    DisplayIDs known = listing.known;
    std::erase_if(known,
                  [&](CGDirectDisplayID display) { return !contains(listing.online, display); });
    if (known.size() < 2 || known.size() != listing.online.size()) {
        return cannotTell("needs two displays that both lists have");
    }
    const std::string seen = "online " + listed(listing.online) + "; known " + listed(known);
    return verdictOn(known == listing.online, seen, seen);
}

Answer gammaCapacity(const DisplayListing& listing) {
    std::set<std::uint32_t> sizes;
    for (const CGDirectDisplayID display : listing.online) {
        sizes.insert(CGDisplayGammaTableCapacity(display));
    }
    sizes.erase(0);
    if (sizes.empty()) {
        return cannotTell("no display has tables");
    }
    const bool areUsual =
        std::ranges::all_of(sizes, [](std::uint32_t size) { return size == 256 || size == 1024; });
    const std::string seen = listed({sizes.begin(), sizes.end()}) + " entries";
    return verdictOn(areUsual, seen, seen);
}

// A display that differs says more than one that agrees, and that one more than the rest.
Answer gammaShortRead(const DisplayListing& listing) {
    Answer told = cannotTell("no display's tables show it");
    for (const CGDirectDisplayID display : listing.online) {
        Answer one = answerOn(readAtSeveralSizes(display));
        const bool saysMore = one.verdict == Verdict::differs ||
                              (one.verdict == Verdict::agrees && told.verdict != one.verdict);
        if (told.verdict != Verdict::differs && saysMore) {
            told = std::move(one);
        }
    }
    return told;
}

void askAboutUnknown(const DisplayListing& listing, Answers& answers) {
    const CGDirectDisplayID unknown = unusedID(listing);
    std::set<boolean_t> values;
    std::string seen;
    for (const Question& question : questions()) {
        const boolean_t answer = question.ask(unknown);
        values.insert(answer);
        seen += (seen.empty() ? "" : ", ") + std::string(question.name) + " " +
                std::to_string(static_cast<std::int32_t>(answer));
    }
    answers["unknown-answers-no"] = verdictOn(values == std::set<boolean_t>{0}, seen, seen);
    answers["unknown-answers-alike"] = verdictOn(values.size() == 1, seen, seen);
}

template <class Holds>
bool anyEntry(const std::vector<RegistryEntry>& entries, const Holds& holds) {
    return std::ranges::any_of(entries, [&](const RegistryEntry& entry) {
        return holds(entry) || anyEntry(entry.children, holds);
    });
}

/// What is told of the displays' branches.
struct Branches {
    std::vector<RegistryEntry> all = displayBranches();
    std::vector<RegistryEntry> framebuffers = ofKind(RegistryEntry::Kind::framebuffer);
    std::vector<RegistryEntry> pipes = ofKind(RegistryEntry::Kind::pipe);

    [[nodiscard]] std::vector<RegistryEntry> ofKind(RegistryEntry::Kind kind) const {
        std::vector<RegistryEntry> some;
        std::ranges::copy_if(all, std::back_inserter(some),
                             [=](const RegistryEntry& entry) { return entry.kind == kind; });
        return some;
    }
};

bool hasOneNub(const RegistryEntry& framebuffer) {
    return framebuffer.i2cBuses == 1 &&
           std::ranges::count(framebuffer.children, RegistryEntry::Kind::i2cInterface,
                              &RegistryEntry::kind) == 1;
}

Answer intelRegistry(const Branches& branches, std::size_t displays, std::size_t ports) {
    if (branches.framebuffers.empty()) {
        return cannotTell("there is no framebuffer");
    }
    const auto isNamed = [](const RegistryEntry& entry) {
        return entry.property("DisplayID") != nullptr ||
               entry.property("DisplayProductName") != nullptr;
    };
    if (anyEntry(branches.all, isNamed)) {
        return differs("a node has a DisplayID or a product name");
    }
    if (!std::ranges::all_of(branches.framebuffers, hasOneNub)) {
        return differs("a framebuffer has not one I2C nub");
    }
    const std::string seen = std::to_string(branches.framebuffers.size()) +
                             " framebuffers with one nub each; CoreGraphics knows " +
                             std::to_string(ports) + " of " + std::to_string(displays) +
                             " displays' ports";
    return verdictOn(ports == displays, seen, seen);
}

bool tellsOfMonitor(const RegistryEntry& pipe) {
    const Json* const attributes = pipe.property("DisplayAttributes");
    return attributes != nullptr && attributes->depth() > 1;
}

Answer appleSiliconRegistry(const Branches& branches, std::size_t ports) {
    if (branches.pipes.empty()) {
        return cannotTell("there is no display pipe");
    }
    const std::string seen = std::to_string(branches.pipes.size()) + " pipes, " +
                             std::to_string(std::ranges::count_if(branches.pipes, tellsOfMonitor)) +
                             " with a display; " + std::to_string(branches.framebuffers.size()) +
                             " framebuffers; " + std::to_string(ports) + " service ports";
    const bool asAssumed = branches.framebuffers.empty() && ports == 0 &&
                           std::ranges::any_of(branches.pipes, tellsOfMonitor);
    return verdictOn(asAssumed, seen, seen);
}

// The two properties that every Mac of either kind has.
Answer propertiesNest(const Branches& branches) {
    std::size_t deepest = 0;
    bool isThere = false;
    (void)anyEntry(branches.all, [&](const RegistryEntry& entry) {
        for (const char* const name : {"DisplayAttributes", "IOFBI2CInterfaceInfo"}) {
            const Json* const property = entry.property(name);
            isThere = isThere || property != nullptr;
            deepest = std::max(deepest, property == nullptr ? 0 : property->depth());
        }
        return false;
    });
    return isThere ? verdictOn(deepest > 1, "they do", "they do not")
                   : cannotTell("no node has a property that could");
}

Answer profilerHexadecimal(const DisplayListing& listing) {
    const auto displays = profiledDisplays();
    if (!displays) {
        return cannotTell("the profiler cannot be started");
    }
    for (const CGDirectDisplayID display : listing.online) {
        const std::string decimal = std::to_string(display);
        if (hexadecimal(display) != decimal && nameOf(*displays, hexadecimal(display))) {
            return agrees(decimal + " is printed as " + hexadecimal(display));
        }
        if (hexadecimal(display) != decimal && nameOf(*displays, decimal)) {
            return differs(decimal + " is printed so");
        }
    }
    return cannotTell("it names no display whose ID is above 9");
}

void askOfRegistry(const DisplayListing& listing, Answers& answers) {
    const Branches branches;
    const std::size_t ports = servicePorts(listing.online).size();
    answers["intel-registry"] = intelRegistry(branches, listing.online.size(), ports);
    answers["apple-silicon-registry"] = appleSiliconRegistry(branches, ports);
    answers["properties-nest"] = propertiesNest(branches);
}

Answer noSession(const DisplayListing& listing) {
    if (!veilpane::onlineDisplays(mostDisplays) || !veilpane::activeDisplays(mostDisplays)) {
        return differs("a list fails");
    }
    return verdictOn(listing.active.empty() && listing.known.empty(),
                     "all are empty, as they would be without a display, too",
                     "active " + listed(listing.active) + "; known " + listed(listing.known));
}

// Most questions have an answer here, too, but one that says nothing of displays.
Answers answersWithoutSession(const DisplayListing& listing) {
    Answers answers;
    for (const Assumption& assumption : assumptions()) {
        if (assumption.settledBy == SettledBy::looking) {
            answers[assumption.name] = cannotTell("no display is online");
        }
    }
    answers["no-session"] = noSession(listing);
    return answers;
}

Answers answersOnTheDesktop(const DisplayListing& listing) {
    Answers answers;
    answers["no-session"] = cannotTell("there is a session; ask over ssh");
    answers["online-order"] = onlineOrder(listing);
    answers["gamma-capacity"] = gammaCapacity(listing);
    answers["gamma-short-read"] = gammaShortRead(listing);
    askAboutUnknown(listing, answers);
    askOfRegistry(listing, answers);
    answers["profiler-hexadecimal"] = profilerHexadecimal(listing);
    return answers;
}

} // namespace

Answers answersByLooking() {
    const DisplayListing listing = listDisplays();
    return listing.online.empty() ? answersWithoutSession(listing) : answersOnTheDesktop(listing);
}

} // namespace macprobe
