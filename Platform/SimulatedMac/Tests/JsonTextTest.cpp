#include "SimulatedMac/World/JsonText.h"

#include "SimulatedMac/World/InputError.h"

#include <gtest/gtest.h>
#include <vector>

namespace simulated_mac {
namespace {

std::string errorOf(const std::string& text) {
    try {
        (void)parseJson(text, "file");
    } catch (const InputError& error) {
        return error.what();
    }
    return "no error";
}

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

TEST(JsonTextTest, reads_what_json_has) {
    const std::string text =
        R"({ "a": [ null, true, -1, 18446744073709551615, 0.5, "显\n" ], "b": {}, "c": [ [], 1 ] })";
    EXPECT_EQ(parseJson(text, "file"), nlohmann::json::parse(text));
    EXPECT_EQ(parseJson("\xEF\xBB\xBF{}\n", "file"), nlohmann::json::object());
    EXPECT_EQ(parseJson("1", "file"), 1);
    EXPECT_EQ(parseJson(R"([ "x\u0000y" ])", "file").at(0), std::string("x\0y", 3));
}

TEST(JsonTextTest, every_mistake_names_the_source_and_the_key_or_the_byte) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "file: not valid JSON at byte 1"},
        {" \n", "file: not valid JSON at byte 3"},
        {"\xEF\xBB\xBF", "file: not valid JSON at byte 4"},
        {std::string("\xFF\xFE{\0}\0", 6), "file: not valid UTF-8 at byte 1"},
        {std::string("{\0}\0", 4), "file: not valid JSON at byte 2"},
        {"{} {}", "file: not valid JSON at byte 4"},
        {std::string("{}\0", 3), "file: not valid JSON at byte 3"},
        {std::string("{}\0{}", 5), "file: not valid JSON at byte 3"},
        {"{ \"a\xFF\": 1 }", "file: not valid UTF-8 at byte 5"},
        {R"({ "a": "\ud800" })", "file: not valid JSON at byte 15"},
        {"{ \"a\": \"line\nfeed\" }", "file: not valid JSON at byte 13"},
        {R"({ "a": NaN })", "file: not valid JSON at byte 8"},
        {R"({ "a": -Infinity })", "file: not valid JSON at byte 9"},
        {R"({ "a": 01 })", "file: not valid JSON at byte 9"},
        {R"({ "a": 1, })", "file: not valid JSON at byte 11"},
        {"{ \"a\": 1 // one\n }", "file: not valid JSON at byte 10"},
        {"1e400", "file: number out of range"},
        {R"({ "a": { "b": [ 0, [ -1e400 ] ] } })", "file: a.b[1][0]: number out of range"},
        {R"({ "a": 1, "\u0061": 2 })", "file: a: given twice"},
        {R"({ "a": [ {}, { "b": 1, "b": 1 } ] })", "file: a[1].b: given twice"},
        {R"({ "\n": 1, "\n": 2 })", R"(file: \n: given twice)"},
        {R"({ "a\u0000": 1 })", R"(file: a\u0000: holds a U+0000)"},
    };
    for (const auto& [text, error] : rows) {
        EXPECT_EQ(errorOf(text), error) << text;
    }
}

TEST(JsonTextTest, nesting_ends_at_64) {
    EXPECT_EQ(errorOf(repeated("[", 64) + repeated("]", 64)), "no error");
    EXPECT_EQ(errorOf(repeated("[", 65) + repeated("]", 65)),
              "file: " + repeated("[0]", 64) + ": nested deeper than 64");
    EXPECT_EQ(errorOf(repeated("[", 1'000'000)),
              "file: " + repeated("[0]", 64) + ": nested deeper than 64");
    EXPECT_EQ(errorOf(repeated(R"({"a":)", 65)),
              "file: a" + repeated(".a", 63) + ": nested deeper than 64");
}

} // namespace
} // namespace simulated_mac
