#include "Veilpane/Inventory/ProfilerNames.h"

#include "Support/Files.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace veilpane::test {

namespace {

ProfilerNames expectedNames(const std::filesystem::path& file) {
    ProfilerNames names;
    std::istringstream lines(contentOf(file));
    for (std::string line; std::getline(lines, line);) {
        const auto tab = line.find('\t');
        names[static_cast<CGDirectDisplayID>(std::stoul(line.substr(0, tab)))] =
            line.substr(tab + 1);
    }
    return names;
}

std::filesystem::path samplesDirectory() {
    const char* const given = std::getenv("VEILPANE_PROFILER_SAMPLES");
    return given != nullptr && *given != '\0' ? given : PROFILER_SAMPLES;
}

TEST(ProfilerNamesTest, every_sample_report_gives_the_names_beside_it) {
    int samples = 0;
    for (const auto& entry : std::filesystem::directory_iterator(samplesDirectory())) {
        if (entry.path().extension() != ".json") {
            continue;
        }
        auto expected = entry.path();
        expected.replace_extension(".expected");
        ASSERT_TRUE(std::filesystem::exists(expected)) << expected;
        EXPECT_EQ(parseProfilerNames(contentOf(entry.path())), expectedNames(expected))
            << entry.path();
        ++samples;
    }
    EXPECT_GT(samples, 0) << samplesDirectory() << " holds no sample";
}

std::string report(const std::string& displays) {
    return R"({ "SPDisplaysDataType" : [ { "spdisplays_ndrvs" : [ )" + displays + " ] } ] }";
}

std::string display(const std::string& name, const std::string& id) {
    return R"({ "_name" : )" + name + R"(, "_spdisplays_displayID" : )" + id + " }";
}

TEST(ProfilerNamesTest, a_display_object_names_its_display) {
    EXPECT_EQ(parseProfilerNames(report(display(R"("Office Left")", R"("4")"))),
              (ProfilerNames{{4, "Office Left"}}));
}

TEST(ProfilerNamesTest, an_id_that_is_no_decimal_text_leaves_the_entry_out) {
    for (const char* const id :
         {"4", "4.0", "null", "true", R"("")", R"(" 4")", R"("4 ")", R"("0x4")", R"("5b81c5c0")",
          R"("-4")", R"("4294967296")", R"("４")", R"("4\u0000")", R"(["4"])", R"({ "4": "4" })"}) {
        EXPECT_TRUE(parseProfilerNames(report(display("\"x\"", id))).empty()) << id;
    }
}

TEST(ProfilerNamesTest, signs_and_leading_zeros_are_part_of_an_id) {
    EXPECT_EQ(parseProfilerNames(report(
                  display("\"a\"", R"("+4")") + ", " + display("\"b\"", R"("-0")") + ", " +
                  display("\"c\"", R"("007")") + ", " + display("\"d\"", R"("4294967295")"))),
              (ProfilerNames{{4, "a"}, {0, "b"}, {7, "c"}, {4294967295, "d"}}));
}

TEST(ProfilerNamesTest, a_hexadecimal_id_without_letters_is_read_as_decimal) {
    EXPECT_EQ(parseProfilerNames(report(display("\"x\"", R"("16")"))), (ProfilerNames{{16, "x"}}));
}

TEST(ProfilerNamesTest, a_name_that_is_no_text_leaves_the_entry_out) {
    for (const char* const name : {"4", "null", "true", R"(["x"])", R"({ "en": "x" })"}) {
        EXPECT_TRUE(parseProfilerNames(report(display(name, R"("4")"))).empty()) << name;
    }
    EXPECT_TRUE(parseProfilerNames(report(R"({ "_spdisplays_displayID" : "4" })")).empty());
    EXPECT_TRUE(parseProfilerNames(report(R"({ "_name" : "x" })")).empty());
}

TEST(ProfilerNamesTest, an_empty_name_is_kept_and_the_later_of_two_entries_counts) {
    EXPECT_EQ(parseProfilerNames(report(display(R"("")", R"("4")"))), (ProfilerNames{{4, ""}}));
    EXPECT_EQ(parseProfilerNames(
                  report(display("\"first\"", R"("4")") + ", " + display("\"later\"", R"("+4")"))),
              (ProfilerNames{{4, "later"}}));
}

TEST(ProfilerNamesTest, a_device_whose_displays_are_of_another_shape_is_passed_over) {
    const std::string good =
        R"({ "spdisplays_ndrvs" : [ )" + display("\"good\"", R"("4")") + " ] }";
    for (const std::string& device :
         {std::string("{}"), std::string(R"({ "spdisplays_ndrvs" : {} })"),
          std::string(R"({ "spdisplays_ndrvs" : "none" })"),
          R"({ "spdisplays_ndrvs" : [ )" + display("\"lost\"", R"("5")") + ", 5 ] }"}) {
        EXPECT_EQ(
            parseProfilerNames(R"({ "SPDisplaysDataType" : [ )" + device + ", " + good + " ] }"),
            (ProfilerNames{{4, "good"}}))
            << device;
    }
}

TEST(ProfilerNamesTest, a_report_that_is_nested_beyond_all_reason_gives_no_names) {
    constexpr std::size_t depth = 1'000'000;
    EXPECT_TRUE(parseProfilerNames(std::string(depth, '[')).empty());
    EXPECT_TRUE(parseProfilerNames(R"({ "SPDisplaysDataType" : )" + std::string(depth, '[') +
                                   std::string(depth, ']') + " }")
                    .empty());
    std::string objects;
    for (std::size_t i = 0; i < depth; ++i) {
        objects += "{\"\":";
    }
    EXPECT_TRUE(parseProfilerNames(objects).empty());
}

TEST(ProfilerNamesTest, brackets_and_quotes_inside_a_name_are_no_nesting) {
    const std::string name(2000, '[');
    EXPECT_EQ(parseProfilerNames(report(display("\"\\\\\\\"" + name + "\"", R"("4")"))),
              (ProfilerNames{{4, "\\\"" + name}}));
}

TEST(ProfilerNamesTest, output_that_is_no_report_gives_no_names) {
    const std::string device =
        R"({ "spdisplays_ndrvs" : [ )" + display("\"lost\"", R"("5")") + " ] }";
    for (const std::string& output :
         {std::string(), std::string("\n"), std::string("system_profiler: no such type"),
          std::string("[]"), std::string("\"text\""), std::string("null"), std::string("{}"),
          std::string(R"({ "SPDisplaysDataType" : {} })"),
          R"({ "SPDisplaysDataType" : [ )" + device + ", 1 ] }",
          R"({ "SPDisplaysDataType" : [ )" + device + ", [] ] }",
          R"({ "SPDisplaysDataType" : [ )" + device, std::string("\xFF\xFE\x00\x01", 4),
          std::string(R"("\)")}) {
        EXPECT_TRUE(parseProfilerNames(output).empty()) << output;
    }
}

} // namespace

} // namespace veilpane::test
