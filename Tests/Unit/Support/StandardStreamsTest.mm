#include "Veilpane/Support/StandardStreams.h"

#include "Support/ChildProcess.h"
#include "Support/Files.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace veilpane::test {

namespace {

namespace fs = std::filesystem;

// What a test does to its standard descriptors would be the test program's own loss, so that all of
// it happens in a child.

/// What a descriptor leads to; "closed" when it is.
std::string leadsTo(int descriptor) {
    std::error_code error;
    const fs::path target = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
    return error ? "closed" : target.string();
}

std::string standardDescriptors() {
    return leadsTo(STDIN_FILENO) + " " + leadsTo(STDOUT_FILENO) + " " + leadsTo(STDERR_FILENO);
}

struct MissingRow {
    const char* name;
    std::vector<int> closed;
    const char* afterwards; ///< those that stay are /dev/zero

    friend void PrintTo(const MissingRow& row, std::ostream* stream) { *stream << row.name; }
};

void openEachOnZero() {
    const int zero = open("/dev/zero", O_RDWR);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(zero, descriptor);
    }
    close(zero);
}

class MissingDescriptors : public testing::TestWithParam<MissingRow> {};

TEST_P(MissingDescriptors, lead_to_nowhere_and_the_others_stay) {
    const ChildOutcome outcome = inChildProcess([] {
        openEachOnZero();
        for (const int descriptor : GetParam().closed) {
            close(descriptor);
        }
        openMissingStandardDescriptors();
        return standardDescriptors();
    });
    EXPECT_EQ(outcome, (ChildOutcome{0, GetParam().afterwards}));
}

INSTANTIATE_TEST_SUITE_P(
    StandardStreams, MissingDescriptors,
    testing::Values(MissingRow{"none", {}, "/dev/zero /dev/zero /dev/zero"},
                    MissingRow{"input", {0}, "/dev/null /dev/zero /dev/zero"},
                    MissingRow{"output", {1}, "/dev/zero /dev/null /dev/zero"},
                    MissingRow{"error", {2}, "/dev/zero /dev/zero /dev/null"},
                    MissingRow{"input_and_output", {0, 1}, "/dev/null /dev/null /dev/zero"},
                    MissingRow{"input_and_error", {0, 2}, "/dev/null /dev/zero /dev/null"},
                    MissingRow{"output_and_error", {1, 2}, "/dev/zero /dev/null /dev/null"},
                    MissingRow{"all", {0, 1, 2}, "/dev/null /dev/null /dev/null"}),
    [](const auto& info) { return info.param.name; });

TEST(StandardStreams, nothing_is_opened_where_none_is_missing) {
    const ChildOutcome outcome = inChildProcess([] {
        const auto lowestFree = [] {
            const int descriptor = dup(STDIN_FILENO);
            close(descriptor);
            return descriptor;
        };
        const int before = lowestFree();
        openMissingStandardDescriptors();
        return std::string(lowestFree() == before ? "none" : "some");
    });
    EXPECT_EQ(outcome, (ChildOutcome{0, "none"}));
}

TEST(StandardStreams, what_was_missing_can_be_read_and_written) {
    const ChildOutcome outcome = inChildProcess([] {
        std::string modes;
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            close(descriptor);
        }
        openMissingStandardDescriptors();
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            const bool both = (fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDWR;
            modes += both ? "both " : "not both ";
        }
        return modes;
    });
    EXPECT_EQ(outcome, (ChildOutcome{0, "both both both "}));
}

// As everywhere in the program there is a pool around it; GNUstep complains of its lack on standard
// error.
void writeInAPool(std::string_view bytes) {
    @autoreleasepool {
        writeToStandardError(bytes);
    }
}

/// What `write` puts into a file that is standard error.
std::string standardErrorOf(const std::function<void()>& write) {
    const TemporaryDirectory directory;
    const fs::path file = directory.path() / "errors";
    const ChildOutcome outcome = inChildProcess([&] {
        dup2(open(file.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
        write();
        return std::string();
    });
    EXPECT_EQ(outcome, ChildOutcome());
    return contentOf(file);
}

TEST(StandardStreams, the_bytes_reach_standard_error_as_they_are) {
    using namespace std::string_literals;
    EXPECT_EQ(standardErrorOf([] { writeInAPool(""); }), "");
    EXPECT_EQ(standardErrorOf([] {
                  writeInAPool("一\n");
                  writeInAPool("two\0\xFF"s);
              }),
              "一\ntwo\0\xFF"s);
}

TEST(StandardStreams, standard_error_is_written_at_once) {
    // A process that is killed writes no buffer.
    const TemporaryDirectory directory;
    const fs::path file = directory.path() / "errors";
    const ChildOutcome outcome = inChildProcess([&]() -> std::string {
        dup2(open(file.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
        writeInAPool("no line feed");
        return contentOf(file);
    });
    EXPECT_EQ(outcome, (ChildOutcome{0, "no line feed"}));
}

TEST(StandardStreams, a_closed_or_full_standard_error_is_ignored) {
    const ChildOutcome closed = inChildProcess([] {
        close(STDERR_FILENO);
        writeInAPool("nobody reads this");
        return leadsTo(STDERR_FILENO);
    });
    EXPECT_EQ(closed, (ChildOutcome{0, "closed"}));
    const ChildOutcome full = inChildProcess([] {
        dup2(open("/dev/full", O_WRONLY), STDERR_FILENO);
        writeInAPool("nor this");
        return leadsTo(STDERR_FILENO);
    });
    EXPECT_EQ(full, (ChildOutcome{0, "/dev/full"}));
}

TEST(StandardStreams, a_line_ends_with_a_line_feed) {
    testing::internal::CaptureStdout();
    printLine("");
    printLine("二");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n二\n");
}

TEST(StandardStreams, booleans_are_words) {
    EXPECT_EQ(boolText(true), "true");
    EXPECT_EQ(boolText(false), "false");
}

} // namespace

} // namespace veilpane::test
