#include "Support/SimulatedMacTest.h"

#include <algorithm>

namespace {

std::string line(const simulated_mac::LoggedCall& call) {
    std::string text = call.call + "(";
    for (const auto& argument : call.args) {
        text += (text.back() == '(' ? "" : ", ") +
                (argument.is_string() ? argument.get<std::string>() : argument.dump());
    }
    return text + ")" + (call.result.is_null() ? "" : " = " + call.result.dump());
}

} // namespace

std::vector<std::string> SimulatedMacTest::calls(const std::vector<std::string>& functions) {
    std::vector<std::string> lines;
    for (const auto& call : simulated_mac::Mac::current().calls()) {
        if (functions.empty() || std::ranges::find(functions, call.call) != functions.end()) {
            lines.push_back(line(call));
        }
    }
    return lines;
}
