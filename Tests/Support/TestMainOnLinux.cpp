#include "Support/TestProcesses.h"
#include "Support/WarmFoundation.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string_view>

namespace {

constexpr const char* usage = "usage: %s [--jobs N] [--screens] [--gtest_filter=…]\n";

// A test of a process's end starts this program once more, for the one statement that ends it.
bool isForOneStatement(int argc, char** argv) {
    return std::any_of(argv, argv + argc, [](const char* argument) {
        return std::string_view(argument).starts_with("--gtest_internal_run_death_test");
    });
}

TestProcesses processesFrom(int argc, char** argv) {
    TestProcesses how;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--screens") == 0) {
            how.screens = true;
        } else if (std::strcmp(argv[i], "--jobs") == 0 && i + 1 < argc) {
            how.jobs = std::atoi(argv[++i]);
        } else {
            how.jobs = 0;
        }
    }
    if (how.jobs < 1) {
        std::fprintf(stderr, usage, argv[0]);
        std::exit(2);
    }
    return how;
}

} // namespace

// The program loads its remembered set, its name cache and its singletons once per process, so each
// test has a process of its own.
int main(int argc, char** argv) {
    const bool forOneStatement = isForOneStatement(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests) || forOneStatement) {
        return RUN_ALL_TESTS();
    }
    const TestProcesses how = processesFrom(argc, argv);
    warmFoundation();
    return runInProcesses(how);
}
