#include "Ownership/Owned.h"

#include "Ownership/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace veilpane::test {

namespace {

struct CountingTraits {
    using Raw = int;
    static constexpr Raw null = 0;
    static inline int retained = 0;
    static inline int released = 0;
    static void retain(Raw) { ++retained; }
    static void release(Raw) { ++released; }
};
using Counted = Owned<CountingTraits>;

void expectCounts(int retained, int released) {
    EXPECT_EQ(CountingTraits::retained, retained);
    EXPECT_EQ(CountingTraits::released, released);
}

TEST(OwnedTest, an_empty_handle_counts_nothing) {
    {
        const Counted empty;
        EXPECT_FALSE(empty);
        const Counted adopted = Counted::adopt(0);
        const Counted retained = Counted::retain(0);
        EXPECT_FALSE(retained);
    }
    expectCounts(0, 0);
}

TEST(OwnedTest, adopting_takes_over_a_reference) {
    {
        const Counted handle = Counted::adopt(7);
        EXPECT_EQ(handle.get(), 7);
        expectCounts(0, 0);
    }
    expectCounts(0, 1);
}

TEST(OwnedTest, retaining_adds_a_reference) {
    {
        const Counted handle = Counted::retain(7);
        expectCounts(1, 0);
    }
    expectCounts(1, 1);
}

TEST(OwnedTest, moving_hands_the_reference_on) {
    {
        Counted first = Counted::adopt(7);
        Counted second = std::move(first);
        EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move): moved from means empty
        EXPECT_EQ(second.get(), 7);
        Counted third = Counted::adopt(8);
        third = std::move(second);
        EXPECT_EQ(third.get(), 7);
        expectCounts(0, 1);
    }
    expectCounts(0, 2);
}

TEST(OwnedTest, leaking_gives_the_reference_away) {
    {
        Counted handle = Counted::adopt(7);
        EXPECT_EQ(handle.leak(), 7);
        EXPECT_FALSE(handle);
    }
    expectCounts(0, 0);
}

TEST(OwnedTest, resetting_releases_once) {
    Counted handle = Counted::adopt(7);
    handle.reset();
    handle.reset();
    EXPECT_FALSE(handle);
    expectCounts(0, 1);
}

TEST(OwnedTest, a_file_descriptor_is_closed_with_its_owner) {
    int raw = -1;
    {
        const FileDescriptor descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ASSERT_TRUE(descriptor);
        raw = descriptor.get();
        EXPECT_NE(fcntl(raw, F_GETFD), -1);
    }
    EXPECT_EQ(fcntl(raw, F_GETFD), -1);
    EXPECT_FALSE(FileDescriptor(-1));
}

TEST(OwnedTest, the_lowest_file_descriptor_is_one_too_and_is_closed_once) {
    close(STDIN_FILENO);
    const auto openLowest = [] { return open("/dev/null", O_RDONLY | O_CLOEXEC); };
    {
        FileDescriptor lowest(openLowest());
        ASSERT_EQ(lowest.get(), STDIN_FILENO);
        EXPECT_TRUE(lowest);
        lowest.reset();
        EXPECT_FALSE(lowest);
        EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
        ASSERT_EQ(openLowest(), STDIN_FILENO);
    }
    EXPECT_NE(fcntl(STDIN_FILENO, F_GETFD), -1);
}

TEST(OwnedTest, a_file_descriptor_that_takes_over_another_closes_its_own_at_once) {
    FileDescriptor kept(open("/dev/null", O_RDONLY | O_CLOEXEC));
    FileDescriptor moved(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int former = kept.get();
    const int taken = moved.get();
    kept = std::move(moved);
    EXPECT_EQ(fcntl(former, F_GETFD), -1);
    EXPECT_EQ(kept.get(), taken);
    EXPECT_NE(fcntl(taken, F_GETFD), -1);
    EXPECT_FALSE(moved); // NOLINT(bugprone-use-after-move): an emptied owner owns nothing
}

} // namespace

} // namespace veilpane::test
