#include "SimulatedMac/World/Ledger.h"

#include "SimulatedMac/World/Complaint.h"

#include <map>
#include <utility>

namespace simulated_mac::ledger {
namespace {

struct Entry {
    std::size_t references = 0;
    std::string what;
    bool exempt = false;
};

using Key = std::pair<Resource, uintptr_t>;

std::map<Key, Entry>& entries() {
    static auto& all = *new std::map<Key, Entry>; // outlives every static of the program
    return all;
}

Entry& openEntry(Resource kind, uintptr_t handle, const char* call) {
    const auto found = entries().find({kind, handle});
    if (found == entries().end() || found->second.references == 0) {
        crash(call, (found == entries().end() ? "not a valid object" : found->second.what) +
                        " is used after its last release, or was never valid");
    }
    return found->second;
}

} // namespace

void opened(Resource kind, uintptr_t handle, const std::string& what) {
    Entry& entry = entries()[{kind, handle}];
    ++entry.references;
    entry.what = what;
}

// The entry stays, so that a later use can be told from a handle that never was one.
void closed(Resource kind, uintptr_t handle, const char* call) {
    --openEntry(kind, handle, call).references;
}

void requireOpen(Resource kind, uintptr_t handle, const char* call) {
    (void)openEntry(kind, handle, call);
}

std::size_t references(Resource kind, uintptr_t handle) {
    const auto found = entries().find({kind, handle});
    return found == entries().end() ? 0 : found->second.references;
}

void exempt(Resource kind, uintptr_t handle) {
    entries()[{kind, handle}].exempt = true;
}

std::string outstanding() {
    std::string lines;
    for (const auto& [key, entry] : entries()) {
        if (entry.references > 0 && !entry.exempt) {
            lines += entry.what + ": " + std::to_string(entry.references) + "\n";
        }
    }
    return lines;
}

void clear() {
    entries().clear();
}

} // namespace simulated_mac::ledger
