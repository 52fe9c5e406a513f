#include "Unit/Menu/EventLogTest.h"

#include <fcntl.h>
#include <unistd.h>

// Linux has a file that is always full.

namespace veilpane::test {

namespace {

class EventLogOnLinux : public EventLogTest {};

TEST_F(EventLogOnLinux, a_full_disk_is_ignored) {
    std::filesystem::create_symlink("/dev/full", file());
    EXPECT_EQ(logged(@"started"), "[time] started\n");
}

TEST_F(EventLogOnLinux, a_closed_or_full_standard_error_is_ignored_and_the_file_still_written) {
    const int kept = dup(STDERR_FILENO);
    const int full = open("/dev/full", O_WRONLY);
    dup2(full, STDERR_FILENO);
    EventLog::log(@"full");
    close(STDERR_FILENO);
    EventLog::log(@"closed");
    dup2(kept, STDERR_FILENO);
    close(kept);
    close(full);
    EXPECT_EQ(withoutTimes(contentOf(file())), "[time] full\n[time] closed\n");
}

} // namespace

} // namespace veilpane::test
