#include "Veilpane/Support/DecimalNumber.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace veilpane::test {

namespace {

TEST(DecimalNumber, these_texts_are_numbers) {
    const std::vector<std::pair<std::string, std::uint32_t>> rows = {
        {"0", 0},
        {"4", 4},
        {"+4", 4},
        {"-0", 0},
        {"+0", 0},
        {"-000", 0},
        {"007", 7},
        {"00000000000000000007", 7},
        {"722", 722},
        {"4294967295", 4294967295},
        {"+4294967295", 4294967295},
    };
    for (const auto& [text, value] : rows) {
        EXPECT_EQ(parseDecimalUInt32(text), value) << text;
    }
}

TEST(DecimalNumber, everything_else_is_none) {
    const std::vector<std::string> rows = {"",
                                           "+",
                                           "-",
                                           "-1",
                                           " 4",
                                           "4 ",
                                           "4\n",
                                           "0x2",
                                           "2a",
                                           "4.0",
                                           "4e1",
                                           "++4",
                                           "+-4",
                                           "--0",
                                           "1,2",
                                           "４",
                                           "٤",
                                           "4294967296",
                                           "-4294967295",
                                           "99999999999999999999999",
                                           std::string("4\0", 2),
                                           "ff",
                                           "on"};
    for (const auto& text : rows) {
        EXPECT_EQ(parseDecimalUInt32(text), std::nullopt) << "'" << text << "'";
    }
}

} // namespace

} // namespace veilpane::test
