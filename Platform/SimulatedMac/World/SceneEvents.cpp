#include "SimulatedMac/World/SceneEvents.h"

#include "SimulatedMac/World/SimulatedCalls.h"
#include "SimulatedMac/World/Verbs.h"

namespace simulated_mac {
namespace {

void readCall(const Field& field, SceneEvent::Moment moment, SceneEvent& event) {
    if (!event.call.empty()) {
        field.reject("an event is either before or after a call");
    }
    event.call = field.text();
    event.moment = moment;
    field.require(event.call == "*" || findSimulatedCall(event.call) != nullptr,
                  "a call's name or \"*\"");
}

SceneEvent readEvent(const Field& field) {
    using enum SceneEvent::Moment;
    SceneEvent event;
    field.eachMember({
        {"before", [&](const Field& f) { readCall(f, before, event); }},
        {"after", [&](const Field& f) { readCall(f, after, event); }},
        {"nth", [&](const Field& f) { event.nth = static_cast<int>(f.integer(0, INT32_MAX)); }},
        {"do", [&](const Field& f) { event.line = f.text(); }},
    });
    if (event.call.empty()) {
        field.reject("before or after is missing");
    }
    if (!field.value().contains("do")) {
        field.reject("do is missing");
    }
    event.place = field.member("do").place();
    return event;
}

} // namespace

std::vector<SceneEvent> readEvents(const Field& field) {
    std::vector<SceneEvent> events;
    field.eachElement([&](const Field& f) { events.push_back(readEvent(f)); });
    return events;
}

// An ID that one event gives to a display can be named by all of them: their order is that of the
// calls.
void checkEvents(const Scene& scene, const Field& events) {
    std::vector<OutsideAction> actions;
    std::set<uint32_t> newIDs;
    const auto eachEvent = [&](const std::function<void(std::size_t)>& check) {
        for (std::size_t i = 0; i < scene.events.size(); ++i) {
            try {
                check(i);
            } catch (const VerbError& error) {
                events.element(i).member("do").reject(error.what());
            }
        }
    };
    eachEvent([&](std::size_t i) {
        actions.push_back(parseVerb(wordsOf(scene.events[i].line)));
        newIDs.insert(actions.back().newID.value_or(0));
    });
    eachEvent([&](std::size_t i) { requirePossible(actions[i], scene, newIDs); });
}

} // namespace simulated_mac
