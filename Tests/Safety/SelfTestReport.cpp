#include "Safety/SelfTestReport.h"

#include <sstream>
#include <stdexcept>

namespace safety {
namespace {

/// What follows this beginning, which the line must have.
std::string afterBeginning(const std::string& line, const std::string& beginning) {
    if (!line.starts_with(beginning)) {
        throw std::runtime_error("the self-test prints: " + line + " instead of " + beginning);
    }
    return line.substr(beginning.size());
}

// METHOD success=true MESSAGE
Outcome outcomeFrom(const std::string& text) {
    for (const bool success : {true, false}) {
        const std::string middle = std::string(" success=") + (success ? "true " : "false ");
        if (const std::size_t place = text.find(middle); place != std::string::npos) {
            return {text.substr(0, place), success, text.substr(place + middle.size())};
        }
    }
    throw std::runtime_error("the self-test tells no success: " + text);
}

} // namespace

SelfTestReport::SelfTestReport(const std::string& output) {
    std::istringstream stream(output);
    std::string line;
    while (std::getline(stream, line)) {
        const std::string testing = "testing SLS disconnect/reconnect on id=";
        if (!line.starts_with(testing)) {
            verdict = line;
            continue;
        }
        id = static_cast<std::uint32_t>(std::stoul(line.substr(testing.size())));
        std::getline(stream, line);
        off = outcomeFrom(afterBeginning(line, "off: method="));
        std::getline(stream, line);
        wasOff = afterBeginning(line, "is_off_state=") == "true";
        std::getline(stream, line);
        on = outcomeFrom(afterBeginning(line, "on: method="));
        std::getline(stream, line);
        wasOn = afterBeginning(line, "is_on_state=") == "true";
    }
}

std::string SelfTestReport::brokenVerdict(int status) const {
    std::string due = "FAIL: power path";
    if (!off) {
        const bool failed = verdict == "FAIL: no displays";
        const bool skipped =
            verdict == "SKIP: SLS API not available" || verdict == "OK: guards in place";
        return (failed && status == 1) || (skipped && status == 0) ? "" : "verdict: " + verdict;
    }
    if (off->success && wasOff && on->success && wasOn) {
        due = "OK: power path works (disconnect preferred)";
    } else if (off->success || on->success) {
        due = "PARTIAL: some path worked";
    }
    return verdict == due && status == (due.starts_with("FAIL") ? 1 : 0)
               ? ""
               : "verdict: " + verdict + " instead of " + due;
}

} // namespace safety
