#include "Support/TestProcesses.h"

#include "Support/VirtualScreen.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto longestTest = 10min;
constexpr auto pollInterval = 2ms;

bool matchesAnyOf(const std::string& patterns, const std::string& name) {
    std::istringstream stream(patterns);
    for (std::string pattern; std::getline(stream, pattern, ':');) {
        if (fnmatch(pattern.c_str(), name.c_str(), 0) == 0) {
            return true;
        }
    }
    return false;
}

// "wanted:wanted-unwanted:unwanted", as GoogleTest's own filter.
bool isWanted(const std::string& filter, const std::string& name) {
    const auto dash = filter.find('-');
    const std::string wanted = filter.substr(0, dash);
    const std::string unwanted = dash == std::string::npos ? "" : filter.substr(dash + 1);
    return (wanted.empty() || matchesAnyOf(wanted, name)) && !matchesAnyOf(unwanted, name);
}

std::vector<std::string> wantedTests() {
    std::vector<std::string> names;
    const testing::UnitTest& all = *testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *all.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j) {
            const std::string name = std::string(suite.name()) + "." + suite.GetTestInfo(j)->name();
            if (isWanted(GTEST_FLAG_GET(filter), name)) {
                names.push_back(name);
            }
        }
    }
    return names;
}

/// A test in its process, with what it prints.
class RunningTest {
public:
    RunningTest(std::string name, const VirtualScreen* screen)
        : name_(std::move(name)), output_(std::tmpfile()) {
        if (output_ == nullptr) {
            std::perror("tmpfile");
            std::exit(1);
        }
        process_ = fork();
        if (process_ == 0) {
            become(screen);
        }
    }
    RunningTest(const RunningTest&) = delete;
    RunningTest& operator=(const RunningTest&) = delete;
    ~RunningTest() { std::fclose(output_); }

    /// Whether it has ended by now, or was made to.
    bool hasEnded() {
        if (Clock::now() - begin_ > longestTest) {
            kill(-process_, SIGKILL);
        }
        return waitpid(process_, &status_, WNOHANG) != 0;
    }

    [[nodiscard]] bool passed() const { return WIFEXITED(status_) && WEXITSTATUS(status_) == 0; }

    void report() const {
        const std::chrono::duration<double> taken = Clock::now() - begin_;
        std::printf("%s %s (%.2f s)\n", passed() ? "[       OK ]" : "[  FAILED  ]", name_.c_str(),
                    taken.count());
        if (!passed()) {
            printOutput();
        }
        std::fflush(stdout);
    }

    [[nodiscard]] const std::string& name() const { return name_; }

private:
    // A group of its own, so that nothing that it starts is left when it is killed.
    [[noreturn]] void become(const VirtualScreen* screen) const {
        (void)setpgid(0, 0);
        (void)dup2(fileno(output_), STDOUT_FILENO);
        (void)dup2(fileno(output_), STDERR_FILENO);
        if (screen != nullptr) {
            screen->use();
        }
        GTEST_FLAG_SET(filter, name_);
        std::exit(RUN_ALL_TESTS());
    }

    void printOutput() const {
        std::rewind(output_);
        for (int character = 0; (character = std::fgetc(output_)) != EOF;) {
            std::putchar(character);
        }
        if (WIFSIGNALED(status_)) {
            std::printf("ended by signal %d (%s)\n", WTERMSIG(status_),
                        strsignal(WTERMSIG(status_)));
        }
    }

    std::string name_;
    std::FILE* output_;
    Clock::time_point begin_ = Clock::now();
    pid_t process_ = 0;
    int status_ = 0;
};

/// The next tests of the list, one at a time.
struct Job {
    std::unique_ptr<VirtualScreen> screen;
    std::unique_ptr<RunningTest> running;
};

int summary(std::size_t count, const std::vector<std::string>& failed) {
    std::printf("%zu tests, %zu failed\n", count, failed.size());
    for (const std::string& name : failed) {
        std::printf("[  FAILED  ] %s\n", name.c_str());
    }
    if (count == 0) {
        std::puts("no test has such a name");
    }
    return count == 0 || !failed.empty() ? 1 : 0;
}

} // namespace

int runInProcesses(const TestProcesses& how) {
    const std::vector<std::string> names = wantedTests();
    std::vector<std::string> failed;
    std::vector<Job> jobs(static_cast<std::size_t>(how.jobs));
    for (Job& job : jobs) {
        job.screen = how.screens ? std::make_unique<VirtualScreen>() : nullptr;
    }
    std::size_t begun = 0;
    for (std::size_t ended = 0; ended < names.size(); std::this_thread::sleep_for(pollInterval)) {
        for (Job& job : jobs) {
            if (job.running != nullptr && job.running->hasEnded()) {
                job.running->report();
                if (!job.running->passed()) {
                    failed.push_back(job.running->name());
                }
                job.running.reset();
                ++ended;
            }
            if (job.running == nullptr && begun < names.size()) {
                std::fflush(stdout);
                job.running = std::make_unique<RunningTest>(names[begun++], job.screen.get());
            }
        }
    }
    return summary(names.size(), failed);
}
