#include "MacProbe/GammaReadings.h"

#include <algorithm>
#include <set>
#include <string>

namespace macprobe {

namespace {

bool isShort(const GammaReading& reading) {
    return reading.room < reading.capacity;
}

Curve curveOf(const std::optional<GammaTables>& part, const GammaTables& whole) {
    if (!part || part->size() == 0) {
        return Curve::none;
    }
    const bool isWhole = lookAlike(*part, inEntries(whole, part->size()));
    const bool isFirst =
        part->size() < whole.size() && lookAlike(*part, firstEntries(whole, part->size()));
    if (isWhole && isFirst) {
        return Curve::unclear;
    }
    return isWhole ? Curve::whole : isFirst ? Curve::firstEntries : Curve::another;
}

GammaReading readingOf(CGDirectDisplayID display, std::uint32_t room, const GammaTables& whole) {
    const auto part = readGamma(display, room);
    return {room, whole.size(), part ? part->size() : 0, curveOf(part, whole)};
}

// As many entries as there are and fit.
bool isAsAssumed(const GammaReading& reading) {
    return (reading.curve == Curve::whole || reading.curve == Curve::unclear) &&
           reading.entries == std::min(reading.room, reading.capacity);
}

const char* wordsFor(Curve curve) {
    switch (curve) {
    case Curve::whole:
        return "the whole curve";
    case Curve::firstEntries:
        return "the first entries";
    case Curve::unclear:
        return "the whole curve or its beginning";
    case Curve::another:
        return "another curve";
    case Curve::none:
        return "nothing";
    }
    return "";
}

std::string textOf(const GammaReading& reading) {
    std::string text = "room for " + std::to_string(reading.room) + ": " + wordsFor(reading.curve);
    if (reading.entries != 0 && reading.entries != reading.room) {
        text += " in " + std::to_string(reading.entries) + " entries";
    }
    return text;
}

} // namespace

std::vector<GammaReading> readAtSeveralSizes(CGDirectDisplayID display) {
    const auto whole = readWholeGamma(display);
    if (!whole) {
        return {};
    }
    std::vector<GammaReading> readings;
    for (const std::uint32_t room :
         std::set<std::uint32_t>{2, 64, 256, whole->size(), 2 * whole->size()}) {
        readings.push_back(readingOf(display, room, *whole));
    }
    const auto after = readWholeGamma(display);
    return after && lookAlike(*after, *whole) ? readings : std::vector<GammaReading>();
}

bool giveFirstEntries(const std::vector<GammaReading>& readings) {
    return std::ranges::any_of(readings, [](const GammaReading& reading) {
        return isShort(reading) && reading.curve == Curve::firstEntries;
    });
}

Answer answerOn(const std::vector<GammaReading>& readings) {
    if (readings.empty()) {
        return cannotTell("its tables cannot be read, or somebody changes them");
    }
    std::string seen;
    for (const GammaReading& reading : readings) {
        seen += (seen.empty() ? "" : "; ") + textOf(reading);
    }
    if (!std::ranges::all_of(readings, isAsAssumed)) {
        return differs(seen);
    }
    const bool isTold = std::ranges::any_of(readings, [](const GammaReading& reading) {
        return isShort(reading) && reading.curve == Curve::whole;
    });
    return isTold ? agrees(seen) : cannotTell(seen);
}

} // namespace macprobe
