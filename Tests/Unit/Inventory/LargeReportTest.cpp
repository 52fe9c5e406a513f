#include "Support/Files.h"
#include "Support/SimulatedMacTest.h"
#include "Veilpane/Inventory/DisplayStore.h"

#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <nlohmann/json.hpp>

namespace veilpane::test {

namespace {

// A report that is far larger than any real one is read to its end and leaves nothing behind.

constexpr std::size_t size = 50'000'000; // bytes

struct LargeReport {
    const char* name;
    const char* beginning;
    const char* end;
    const char* nameOfDisplay2;

    friend void PrintTo(const LargeReport& row, std::ostream* stream) { *stream << row.name; }
};

/// Bytes in use of all that was ever allocated.
std::size_t inUse() {
    const struct mallinfo2 now = mallinfo2();
    return now.uordblks + now.hblkhd;
}

class LargeReportTest : public SimulatedMacTest, public testing::WithParamInterface<LargeReport> {
protected:
    void bootWithReport(const LargeReport& row) {
        const std::filesystem::path report = directory_.path() / "report";
        std::ofstream(report) << row.beginning << std::string(size, 'x') << row.end;
        const std::filesystem::path profiler = directory_.path() / "profiler";
        writeScript(profiler, "exec cat '" + report.string() + "'");
        const nlohmann::json displays = {{{"id", 1}, {"main", true}}, {{"id", 2}}};
        boot(nlohmann::json{{"displays", displays},
                            {"profiler", {{"executable", profiler.string()}}}}
                 .dump());
    }

private:
    TemporaryDirectory directory_;
};

TEST_P(LargeReportTest, is_read_to_its_end_and_its_memory_given_back) {
    bootWithReport(GetParam());
    const std::size_t before = inUse();
    const auto displays = DisplayStore::shared().listDisplays();
    ASSERT_EQ(displays.size(), 2u);
    EXPECT_EQ(displays[1].name, GetParam().nameOfDisplay2);
    EXPECT_LT(inUse(), before + size / 10);
}

constexpr const char* open = R"({"SPDisplaysDataType":[{"filler":")";
constexpr const char* close =
    R"(","spdisplays_ndrvs":[{"_name":"Last","_spdisplays_displayID":"2"}]}]})";

INSTANTIATE_TEST_SUITE_P(Inventory, LargeReportTest,
                         testing::Values(LargeReport{"a_report", open, close, "Last"},
                                         LargeReport{"a_report_that_was_cut", open, "", "显示器 2"},
                                         LargeReport{"no_json", "", "", "显示器 2"}),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace veilpane::test
