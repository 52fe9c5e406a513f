#include "SimulatedMac/World/SimulatedCalls.h"

#include "SimulatedMac/World/Mac.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

namespace simulated_mac {
namespace {

std::set<std::string> namesInTable() {
    std::set<std::string> names;
    for (const SimulatedCall& call : simulatedCalls()) {
        names.insert(std::string(call.name));
    }
    return names;
}

std::string lastFunctionBefore(const std::string& text, std::size_t place) {
    // A definition begins in the first column, or within a namespace or extern block that is not
    // indented either.
    static const std::regex definition(R"(\n[A-Za-z_][^\n;={}()]*?[ *&](\w+)\([^;{}]*\)\s*\{)");
    std::string name;
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(place);
    for (std::sregex_iterator match(text.begin(), end, definition), none; match != none; ++match) {
        name = (*match)[1];
    }
    return name;
}

/// The names under which the functions of one file log their calls: given as a text, or that of the
/// function itself.
void addCallsOf(const std::string& text, std::set<std::string>& names) {
    static const std::regex named(R"(\bCall(?: call)?\("([^"]+)\")");
    for (std::sregex_iterator match(text.begin(), text.end(), named), none; match != none;
         ++match) {
        names.insert((*match)[1]);
    }
    static const std::regex own(R"(\b(?!crash)\w+(?:<\w+>| call)?\(__func__)");
    for (std::sregex_iterator match(text.begin(), text.end(), own), none; match != none; ++match) {
        names.insert(lastFunctionBefore(text, static_cast<std::size_t>(match->position())));
    }
}

std::string contentOf(const std::filesystem::path& file) {
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

std::set<std::string> namesInSources() {
    std::set<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(SIMULATED_MAC_FOLDER "/Calls")) {
        if (file.path().extension() != ".h") {
            addCallsOf(contentOf(file.path()), names);
        }
    }
    return names;
}

TEST(SimulatedCalls, the_table_has_every_call_that_is_simulated_and_no_other) {
    EXPECT_EQ(namesInSources(), namesInTable());
}

TEST(SimulatedCalls, the_readme_tells_each_call_with_its_result) {
    const std::string readme = contentOf(SIMULATED_MAC_FOLDER "/README.md");
    for (const SimulatedCall& call : simulatedCalls()) {
        const auto row = readme.find("\n| " + nameOf(call.result) + " |");
        ASSERT_NE(row, std::string::npos) << nameOf(call.result);
        const std::string line = readme.substr(row + 1, readme.find('\n', row + 1) - row - 1);
        EXPECT_NE(line.find("`" + std::string(call.name) + "`"), std::string::npos) << call.name;
    }
}

TEST(SimulatedCalls, a_test_may_plan_no_fault_that_a_scene_may_not_have) {
    Mac& mac = Mac::boot(Scene::desk());
    EXPECT_THROW(mac.failCall({"CGDisplayIsPink", 1, 0}), std::invalid_argument);
    EXPECT_THROW(mac.failCall({"dlopen", 1, 1001}), std::invalid_argument);
    EXPECT_THROW(mac.failCall({.call = "CGDisplayIsMain"}), std::invalid_argument);
    mac.failCall({"dlopen", 1, 0});
}

} // namespace
} // namespace simulated_mac
