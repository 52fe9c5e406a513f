#include "SimulatedMac/World/CallLog.h"

#include "SimulatedMac/World/Complaint.h"

#include <sstream>
#include <unistd.h>
#include <utility>

namespace simulated_mac {
namespace {

constexpr const char* logFile = "calls.jsonl";
constexpr std::size_t bufferSize = 1 << 16;

LoggedCall loggedCall(nlohmann::json line) {
    LoggedCall call{line["pid"], line["call"], line["args"], line["result"], {}};
    for (const char* const key : {"pid", "call", "args", "result"}) {
        line.erase(key);
    }
    call.notes = std::move(line);
    return call;
}

} // namespace

void CallLog::add(const LoggedCall& call) {
    nlohmann::ordered_json line = {
        {"pid", getpid()}, {"call", call.call}, {"args", call.args}, {"result", call.result}};
    for (const auto& [key, value] : call.notes.items()) {
        line[key] = value;
    }
    pending_ += line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    if (pending_.size() > bufferSize) {
        flush();
    }
}

void CallLog::flush() {
    if (!pending_.empty()) {
        directory_.append(logFile, std::exchange(pending_, {}));
    }
}

std::vector<LoggedCall> CallLog::read() {
    flush();
    std::vector<LoggedCall> all;
    std::istringstream lines(directory_.readText(logFile));
    for (std::string line; std::getline(lines, line);) {
        auto entry = nlohmann::json::parse(line, nullptr, false);
        if (entry.is_discarded()) {
            complain(directory_.file(logFile) + ": not a call log");
        }
        all.push_back(loggedCall(std::move(entry)));
    }
    return all;
}

void CallLog::clear() {
    pending_.clear();
    directory_.remove(logFile);
}

} // namespace simulated_mac
