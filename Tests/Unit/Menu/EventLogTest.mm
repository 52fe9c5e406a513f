#include "Veilpane/Menu/EventLog.h"

#include "Support/NSText.h"
#include "Unit/Menu/EventLogTest.h"

#include <fstream>
#include <ostream>
#include <unistd.h>

namespace veilpane::test {

namespace {

namespace fs = std::filesystem;

TEST_F(EventLogTest, the_first_event_creates_the_file_with_one_line) {
    EXPECT_EQ(logged(@"started"), "[time] started\n");
    EXPECT_EQ(withoutTimes(contentOf(file())), "[time] started\n");
}

TEST_F(EventLogTest, later_events_are_appended_and_earlier_content_is_kept_byte_for_byte) {
    const std::string earlier = "no line of ours \xFF\xFE, without an end";
    std::ofstream(file()) << earlier;
    logged(@"one");
    logged(@"two");
    EXPECT_EQ(withoutTimes(contentOf(file())), earlier + "[time] one\n[time] two\n");
}

TEST_F(EventLogTest, other_characters_than_latin_ones_are_written_in_utf_8_to_both) {
    EXPECT_EQ(logged(@"已完成 — ignore"), "[time] 已完成 — ignore\n");
    EXPECT_EQ(withoutTimes(contentOf(file())), "[time] 已完成 — ignore\n");
}

TEST_F(EventLogTest, a_file_that_cannot_be_written_is_ignored) {
    fs::create_directory(file());
    EXPECT_EQ(logged(@"started"), "[time] started\n");
    EXPECT_TRUE(fs::is_directory(file()));
}

TEST_F(EventLogTest, a_temporary_directory_that_takes_no_file_is_ignored) {
    std::ofstream(file()) << "a file";
    // Nobody can make a file in /proc, not even root.
    const fs::path none = file().parent_path() / "none";
    for (const fs::path& place : {fs::path("/proc"), file(), fs::path("/dev/full"), none}) {
        setenv("TMPDIR", place.c_str(), 1);
        EXPECT_EQ(logged(@"started"), "[time] started\n") << place;
        EXPECT_FALSE(fs::exists(place / "Veilpane.log")) << place;
    }
    EXPECT_EQ(contentOf(file()), "a file");
}

TEST_F(EventLogTest, a_temporary_directory_that_vanishes_is_ignored_until_it_is_back) {
    const fs::path own = file().parent_path() / "own";
    setenv("TMPDIR", own.c_str(), 1);
    fs::create_directory(own);
    EXPECT_EQ(logged(@"before"), "[time] before\n");
    fs::remove_all(own);
    EXPECT_EQ(logged(@"without"), "[time] without\n");
    EXPECT_FALSE(fs::exists(own));
    fs::create_directory(own);
    EXPECT_EQ(logged(@"after"), "[time] after\n");
    EXPECT_EQ(withoutTimes(contentOf(own / "Veilpane.log")), "[time] after\n");
}

TEST_F(EventLogTest, a_closed_standard_error_is_ignored_and_the_file_still_written) {
    const int kept = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    EventLog::log(@"closed");
    dup2(kept, STDERR_FILENO);
    close(kept);
    EXPECT_EQ(withoutTimes(contentOf(file())), "[time] closed\n");
}

TEST_F(EventLogTest, no_file_stays_open) {
    logged(@"first");
    const auto descriptors = [] {
        return std::distance(fs::directory_iterator("/dev/fd"), fs::directory_iterator());
    };
    const auto before = descriptors();
    logged(@"second");
    EXPECT_EQ(descriptors(), before);
}

struct Decimal {
    double number;
    const char* text;

    friend void PrintTo(const Decimal& row, std::ostream* stream) { *stream << row.text; }
};

class ShortestDecimal : public testing::TestWithParam<Decimal> {};

TEST_P(ShortestDecimal, reads_back_as_the_same_number) {
    @autoreleasepool {
        const std::string decimal = text(EventLog::shortestDecimal(GetParam().number));
        EXPECT_EQ(decimal, GetParam().text);
        EXPECT_EQ(std::stod(decimal), GetParam().number);
    }
}

INSTANTIATE_TEST_SUITE_P(Numbers, ShortestDecimal,
                         testing::Values(Decimal{24, "24.0"}, Decimal{0, "0.0"},
                                         Decimal{-1, "-1.0"}, Decimal{22.5, "22.5"},
                                         Decimal{0.1, "0.1"},
                                         Decimal{1.0 / 3, "0.3333333333333333"},
                                         Decimal{100, "100.0"}, Decimal{1234567, "1234567.0"}));

} // namespace

} // namespace veilpane::test
