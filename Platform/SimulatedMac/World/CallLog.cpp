#include "SimulatedMac/World/CallLog.h"

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Field.h"
#include "SimulatedMac/World/JsonText.h"

#include <unistd.h>
#include <utility>

namespace simulated_mac {
namespace {

constexpr const char* logFile = StateStore::logFile;
constexpr std::size_t bufferSize = 1 << 16;

LoggedCall loggedCall(const std::string& line, const std::string& place) {
    nlohmann::json entry = parseJson(line, place);
    const Field call(entry, place);
    call.at("args").require(call.at("args").value().is_array(), "an array");
    LoggedCall logged{static_cast<int>(call.at("pid").integer(0, INT32_MAX)),
                      call.at("call").text(),
                      call.at("args").value(),
                      call.at("result").value(),
                      {}};
    for (const char* const key : {"pid", "call", "args", "result"}) {
        entry.erase(key);
    }
    logged.notes = std::move(entry);
    return logged;
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
        store_.append(logFile, std::exchange(pending_, {}));
    }
}

void CallLog::requireWritable() const {
    store_.requireAppendable(logFile);
}

std::vector<LoggedCall> CallLog::read() {
    flush();
    std::vector<LoggedCall> all;
    orComplain([&] {
        for (const std::string& line : store_.readLines(logFile)) {
            all.push_back(loggedCall(line, store_.place(logFile) + ": line " +
                                               std::to_string(all.size() + 1)));
        }
    });
    return all;
}

void CallLog::clear() {
    pending_.clear();
    store_.remove(logFile);
}

} // namespace simulated_mac
