#include "Veilpane/Menu/MenuText.h"

#include "Support/NSText.h"

#include <gtest/gtest.h>
#include <string>

namespace veilpane::test {

namespace {

std::string repeated(const std::string& character, int count) {
    std::string text;
    while (count-- > 0) {
        text += character;
    }
    return text;
}

std::string shortened(const std::string& text) {
    @autoreleasepool {
        return ::text(shortenedForMenu([NSString stringWithUTF8String:text.c_str()]));
    }
}

struct Shortening {
    const char* name;
    std::string character; ///< one as a person perceives it

    friend void PrintTo(const Shortening& row, std::ostream* stream) { *stream << row.name; }
};

class MenuText : public testing::TestWithParam<Shortening> {};

TEST_P(MenuText, of_63_or_64_characters_is_shown_whole) {
    for (const int count : {63, 64}) {
        const std::string text = repeated(GetParam().character, count);
        EXPECT_EQ(shortened(text), text);
    }
}

TEST_P(MenuText, of_65_characters_is_cut_to_61_and_an_ellipsis) {
    EXPECT_EQ(shortened(repeated(GetParam().character, 65)),
              repeated(GetParam().character, 61) + "…");
}

TEST_P(MenuText, that_is_much_longer_is_cut_to_61_and_an_ellipsis) {
    for (const int count : {66, 1000, 10'000}) {
        EXPECT_EQ(shortened(repeated(GetParam().character, count)),
                  repeated(GetParam().character, 61) + "…");
    }
}

INSTANTIATE_TEST_SUITE_P(Characters, MenuText,
                         testing::Values(Shortening{"Latin", "a"}, Shortening{"Chinese", "断"},
                                         Shortening{"combined", "e\u0301"},
                                         Shortening{"right_to_left", "ש"},
                                         Shortening{"beyond_16_bits", "𠮷"}),
                         [](const auto& info) { return info.param.name; });

TEST(MenuTextEdges, an_empty_text_stays_empty) {
    EXPECT_EQ(shortened(""), "");
}

} // namespace

} // namespace veilpane::test
