#include "SimulatedMac/World/Message.h"

#include <gtest/gtest.h>
#include <vector>

namespace simulated_mac {
namespace {

TEST(MessageTest, what_would_break_or_turn_the_line_is_escaped) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""},
        {"displays", "displays"},
        {"显示器 é 😀", "显示器 é 😀"},
        {"a\nb\r\tc", "a\\nb\\r\\tc"},
        {"\x1b[31mred", "\\u001b[31mred"},
        {std::string("a\0b", 3), "a\\u0000b"},
        {"\x7f", "\\u007f"},
        {"\u0085\u009b", "\\u0085\\u009b"},
        {"\u2028\u2029", "\\u2028\\u2029"},
        {"\u202egnp", "\\u202egnp"},
        {"\ufeff\u200b", "\\ufeff\\u200b"},
        {"a\xff", "a\\xFF"},
        {"\xc0\xaf", "\\xC0\\xAF"},          // overlong
        {"\xed\xa0\x80", "\\xED\\xA0\\x80"}, // a surrogate
        {"\xf4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
        {"\xe6\x98", "\\xE6\\x98"}, // cut
        {"a\\b", "a\\b"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(shown(text), expected);
        EXPECT_EQ(shown(shown(text)), expected);
    }
}

TEST(MessageTest, long_text_keeps_its_beginning_and_its_end) {
    EXPECT_EQ(shown("0123456789", 10), "0123456789");
    EXPECT_EQ(shown("0123456789A", 10), "0123…789A");
    EXPECT_EQ(shown("显示器显示器显示器", 5), "显示…示器");
    EXPECT_EQ(shown("ab\n\n\n\n\n\n\nyz", 9), "ab\\n…\\nyz");
    EXPECT_EQ(shown(std::string(7'000, '\n') + "示器" + std::string(7'000, '\xFF'), 10),
              "\\n\\n…\\xFF");
    EXPECT_EQ(shown(std::string(100'000, 'x')).size(), 58 + std::string("…").size());
}

} // namespace
} // namespace simulated_mac
