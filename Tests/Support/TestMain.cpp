#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// The program loads its remembered set, its name cache and its singletons once per process, so each
// test needs a process of its own, which is what CTest gives it.
class OneTestPerProcess : public testing::EmptyTestEventListener {
    void OnTestIterationStart(const testing::UnitTest& unitTest, int) override {
        if (unitTest.test_to_run_count() > 1) {
            std::fputs(
                "run these tests with ctest, or one of them with --gtest_filter=SUITE.NAME\n",
                stderr);
            std::exit(2);
        }
    }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new OneTestPerProcess);
    return RUN_ALL_TESTS();
}
