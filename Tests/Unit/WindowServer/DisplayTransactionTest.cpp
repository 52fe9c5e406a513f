#include "Veilpane/WindowServer/DisplayTransaction.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

#include <utility>

namespace veilpane::test {

namespace {

using Lines = std::vector<std::string>;
using simulated_mac::Mac;

class DisplayTransactionTest : public SimulatedMacTest {
protected:
    // Mirrors display 2, so that it can be seen whether anything has changed.
    static DisplayTransaction begun() {
        auto transaction = DisplayTransaction::begin();
        EXPECT_EQ(CGConfigureDisplayMirrorOfDisplay(transaction.value().get(), 2, 1), 0);
        return std::move(*transaction);
    }

    Mac& mac = boot(scene({main1, plain2}));
};

const std::string begins = "CGBeginDisplayConfiguration() = 0";
const std::string mirrors = "CGConfigureDisplayMirrorOfDisplay(1, 2, 1) = 0";

TEST_F(DisplayTransactionTest, a_completed_one_changes_everything_and_is_not_cancelled) {
    {
        DisplayTransaction transaction = begun();
        EXPECT_EQ(mac.display(2).mirrors, 0u);
        EXPECT_EQ(transaction.complete(kCGConfigureForSession), kCGErrorSuccess);
        EXPECT_EQ(transaction.get(), nullptr);
        EXPECT_EQ(mac.display(2).mirrors, 1u);
    }
    EXPECT_EQ(calls(), (Lines{begins, mirrors, "CGCompleteDisplayConfiguration(1, 1) = 0"}));
}

TEST_F(DisplayTransactionTest, the_option_says_how_long_the_change_lasts) {
    DisplayTransaction transaction = begun();
    EXPECT_EQ(transaction.completeOrCancel(kCGConfigurePermanently), kCGErrorSuccess);
    EXPECT_EQ(calls(), (Lines{begins, mirrors, "CGCompleteDisplayConfiguration(1, 2) = 0"}));
    mac.logOut();
    EXPECT_EQ(mac.display(2).mirrors, 1u);
}

TEST_F(DisplayTransactionTest, one_that_is_not_completed_is_cancelled_at_the_end_of_its_scope) {
    {
        const DisplayTransaction transaction = begun();
    }
    EXPECT_EQ(calls(), (Lines{begins, mirrors, "CGCancelDisplayConfiguration(1) = 0"}));
    EXPECT_EQ(mac.display(2).mirrors, 0u);
}

TEST_F(DisplayTransactionTest, a_failed_completion_spends_it_without_a_cancel) {
    mac.failCall(fails("CGCompleteDisplayConfiguration").with(1004));
    {
        DisplayTransaction transaction = begun();
        EXPECT_EQ(transaction.complete(kCGConfigureForSession), 1004);
        EXPECT_EQ(transaction.get(), nullptr);
    }
    EXPECT_EQ(calls(), (Lines{begins, mirrors, "CGCompleteDisplayConfiguration(1, 1) = 1004"}));
    EXPECT_EQ(mac.display(2).mirrors, 0u);
}

TEST_F(DisplayTransactionTest, complete_or_cancel_cancels_once_after_a_failed_completion) {
    mac.failCall(fails("CGCompleteDisplayConfiguration").with(1004));
    {
        DisplayTransaction transaction = begun();
        EXPECT_EQ(transaction.completeOrCancel(kCGConfigureForSession), 1004);
        EXPECT_EQ(transaction.get(), nullptr);
    }
    EXPECT_EQ(calls(), (Lines{begins, mirrors, "CGCompleteDisplayConfiguration(1, 1) = 1004",
                              "CGCancelDisplayConfiguration(1) = 1001"}));
    EXPECT_EQ(mac.display(2).mirrors, 0u);
}

TEST_F(DisplayTransactionTest, one_that_was_moved_from_ends_nothing) {
    {
        DisplayTransaction first = begun();
        CGDisplayConfigRef const config = first.get();
        {
            DisplayTransaction second = std::move(first);
            EXPECT_EQ(second.get(), config);
            EXPECT_EQ(second.complete(kCGConfigureForSession), kCGErrorSuccess);
        }
    }
    EXPECT_EQ(calls(), (Lines{begins, mirrors, "CGCompleteDisplayConfiguration(1, 1) = 0"}));
}

TEST_F(DisplayTransactionTest, one_that_was_moved_to_is_cancelled_once) {
    {
        DisplayTransaction first = begun();
        const DisplayTransaction second = std::move(first);
    }
    EXPECT_EQ(calls(), (Lines{begins, mirrors, "CGCancelDisplayConfiguration(1) = 0"}));
}

TEST_F(DisplayTransactionTest, one_that_cannot_begin_is_its_error_and_ends_nothing) {
    mac.failCall(fails("CGBeginDisplayConfiguration").with(1004));
    mac.failCall(fails("CGBeginDisplayConfiguration").nth(2).withNull());
    EXPECT_EQ(DisplayTransaction::begin().error(), 1004);
    EXPECT_EQ(DisplayTransaction::begin().error(), kCGErrorSuccess);
    EXPECT_EQ(calls(), (Lines{"CGBeginDisplayConfiguration() = 1004", begins}));
}

} // namespace

} // namespace veilpane::test
