#include "SimulatedMac/World/Ledger.h"

#include "SimulatedMac/World/Complaint.h"

#include <map>
#include <utility>

namespace simulated_mac::ledger {
namespace {

struct Holding {
    std::size_t references = 0;
    std::string what;
    std::size_t exempt = 0; // of the references
};

using Key = std::pair<Resource, uintptr_t>;

// What is held, and what the others were when they were held: far more, so that those who only ask
// what is left need not look through them. Both outlive every static of the program.
std::map<Key, Holding>& held() {
    static auto& all = *new std::map<Key, Holding>;
    return all;
}

std::map<Key, std::string>& released() {
    static auto& all = *new std::map<Key, std::string>;
    return all;
}

Holding& holding(const Key& key, const char* call) {
    const auto found = held().find(key);
    if (found == held().end()) {
        const auto former = released().find(key);
        crash(call, (former == released().end() ? "not a valid object" : former->second) +
                        " is used after its last release, or was never valid");
    }
    return found->second;
}

} // namespace

void opened(Resource kind, uintptr_t handle, const std::string& what) {
    Holding& opened = held()[{kind, handle}];
    ++opened.references;
    opened.what = what;
}

void closed(Resource kind, uintptr_t handle, const char* call) {
    const Key key{kind, handle};
    Holding& closed = holding(key, call);
    if (--closed.references == 0) {
        released()[key] = std::move(closed.what);
        held().erase(key);
    }
}

void requireOpen(Resource kind, uintptr_t handle, const char* call) {
    (void)holding({kind, handle}, call);
}

std::size_t references(Resource kind, uintptr_t handle) {
    const auto found = held().find({kind, handle});
    return found == held().end() ? 0 : found->second.references;
}

void exempt(Resource kind, uintptr_t handle) {
    ++held().at({kind, handle}).exempt;
}

std::string outstanding() {
    std::string lines;
    for (const auto& [key, holding] : held()) {
        if (holding.references > holding.exempt) {
            lines +=
                holding.what + ": " + std::to_string(holding.references - holding.exempt) + "\n";
        }
    }
    return lines;
}

void clear() {
    held().clear();
    released().clear();
}

} // namespace simulated_mac::ledger
