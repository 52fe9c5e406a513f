// Tries the program's promises and rules against everything that can go wrong, at length.

#include "Safety/FaultRuns.h"
#include "Safety/History.h"
#include "Safety/TestedProgram.h"
#include "Support/WarmFoundation.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace safety;

constexpr const char* usage =
    "usage: Soak [--faults N] [--steps N] [--seed N] [--jobs N] [--part N]\n"
    "       Soak [--part N] --fault-run N\n"
    "       Soak --replay HISTORY\n"
    "\n"
    "  --faults N       carry out N fault runs, evenly chosen from all (10000)\n"
    "  --steps N        take at least N steps of random histories (50000)\n"
    "  --seed N         which of the fault runs, and what the histories are made from (1)\n"
    "  --jobs N         so many at once (2)\n"
    "  --part N         try only one operation in N, for a build in which counting takes long (1)\n"
    "  --fault-run N    only this one\n"
    "  --replay HISTORY only this one, as a failure prints it\n";

constexpr std::size_t historyLength = 200;
constexpr std::size_t mostWorkers = 64;

struct Options {
    std::map<std::string, std::size_t> numbers = {
        {"--faults", 10000}, {"--steps", 50000}, {"--seed", 1}, {"--jobs", 2}, {"--part", 1}};
    std::optional<std::size_t> faultRun;
    std::optional<std::string> history;
};

[[noreturn]] void reject(const std::string& problem) {
    std::fprintf(stderr, "Soak: %s; see --help\n", problem.c_str());
    std::exit(2);
}

std::size_t numberFrom(const std::string& option, std::string_view text) {
    std::size_t number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || end.ec != std::errc() || end.ptr != text.data() + text.size()) {
        reject(option + ": '" + std::string(text) + "' is no number");
    }
    return number;
}

Options optionsFrom(const std::vector<std::string>& words) {
    Options options;
    for (std::size_t i = 0; i < words.size(); i += 2) {
        const std::string& option = words[i];
        if (option == "--help") {
            std::fputs(usage, stdout);
            std::exit(0);
        }
        if (i + 1 == words.size()) {
            reject(option + " needs a value");
        }
        if (option == "--replay") {
            options.history = words[i + 1];
        } else if (option == "--fault-run") {
            options.faultRun = numberFrom(option, words[i + 1]);
        } else if (options.numbers.contains(option)) {
            options.numbers[option] = numberFrom(option, words[i + 1]);
        } else {
            reject("there is no option " + option);
        }
    }
    if (options.numbers["--jobs"] == 0 || options.numbers["--jobs"] > mostWorkers) {
        reject("--jobs: from 1 to " + std::to_string(mostWorkers));
    }
    if (options.numbers["--part"] == 0) {
        reject("--part: from 1 on");
    }
    return options;
}

/// What has been done so far by all workers, in memory that they share.
struct Score {
    std::atomic<std::size_t> faultRuns = 0;
    std::atomic<std::size_t> steps = 0;
    std::atomic<std::size_t> violations = 0;
    /// Where each worker is, for the case that it dies there.
    struct Place {
        std::atomic<std::size_t> faultRun = 0;
        std::atomic<std::size_t> history = 0;
    };
    std::array<Place, mostWorkers> places;
};

Score& sharedScore() {
    void* const memory =
        mmap(nullptr, sizeof(Score), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        std::perror("Soak: mmap");
        std::exit(1);
    }
    return *new (memory) Score;
}

void tell(Score& score, const std::string& text) {
    ++score.violations;
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

std::string replayOfFault(std::size_t number, Options& options) {
    const std::size_t part = options.numbers["--part"];
    return tested_program::replayCommand + (part == 1 ? "" : " --part " + std::to_string(part)) +
           " --fault-run " + std::to_string(number);
}

FaultRuns::Result carryOutFault(const FaultRuns& runs, std::size_t number, Forked& forked,
                                Options& options, Score& score) {
    const auto result = runs.carryOut(number, forked);
    score.faultRuns += result.verdict == FaultRuns::Verdict::impossible ? 0 : 1;
    if (result.verdict == FaultRuns::Verdict::broken) {
        tell(score, result.text + "\n    " + runs.described(number) + "\n    " +
                        replayOfFault(number, options));
    }
    return result;
}

// Some events cannot happen to a Mac; then the next run takes its place.
void carryOutFaultFrom(const FaultRuns& runs, std::size_t number, Forked& forked, Options& options,
                       Score& score) {
    for (std::size_t i = 0; i < runs.count(); ++i) {
        const auto result =
            carryOutFault(runs, (number + i) % runs.count(), forked, options, score);
        if (result.verdict != FaultRuns::Verdict::impossible) {
            return;
        }
    }
}

void carryOutHistory(const History& history, Score& score) {
    const Course course = carryOut(history);
    score.steps += course.steps;
    if (!course.broken.empty()) {
        const History small = shrunk(history, course.broken);
        tell(score, course.broken + "\n    " + tested_program::replayCommand + " --replay '" +
                        textOf(small) + "'");
    }
}

History historyGiven(const std::string& text) {
    try {
        return historyFrom(text);
    } catch (const std::invalid_argument& error) {
        reject("--replay: " + std::string(error.what()));
    }
}

struct Share {
    std::size_t worker;
    std::size_t workers;
};

void work(const FaultRuns& runs, Options& options, Share share, Score& score) {
    Forked forked;
    Score::Place& place = score.places.at(share.worker);
    const std::size_t wanted = std::min(options.numbers["--faults"], runs.count());
    for (std::size_t i = share.worker; i < wanted; i += share.workers) {
        const std::size_t stride = runs.count() / wanted;
        place.faultRun = i * runs.count() / wanted + options.numbers["--seed"] % stride;
        carryOutFaultFrom(runs, place.faultRun, forked, options, score);
    }
    for (std::size_t i = share.worker; score.steps < options.numbers["--steps"];
         i += share.workers) {
        place.history = i;
        carryOutHistory(randomHistory(options.numbers["--seed"], i, historyLength), score);
    }
}

constexpr int secondsBetweenReports = 10;

/// Tells how far all are until the process ends; whether it ended well.
bool watch(pid_t process, const Score& score, std::size_t wanted) {
    int status = 0;
    for (int waited = 0; waitpid(process, &status, WNOHANG) == 0; ++waited) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (waited % (secondsBetweenReports * 10) == secondsBetweenReports * 10 - 1) {
            std::printf("%zu %% done\n",
                        (score.faultRuns + score.steps) * 100 / std::max<std::size_t>(wanted, 1));
            std::fflush(stdout);
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string whereItDied(const Score::Place& place, Options& options) {
    const History history = randomHistory(options.numbers["--seed"], place.history, historyLength);
    return "a worker has not come to its end\n    " + replayOfFault(place.faultRun, options) +
           "\n    " + tested_program::replayCommand + " --replay '" + textOf(history) + "'";
}

void workInProcesses(const FaultRuns& runs, Options& options, Score& score) {
    std::vector<pid_t> processes;
    const std::size_t jobs = options.numbers["--jobs"];
    for (std::size_t worker = 0; worker < jobs; ++worker) {
        processes.push_back(fork());
        if (processes.back() == 0) {
            work(runs, options, {worker, jobs}, score);
            _exit(0);
        }
    }
    const std::size_t wanted =
        std::min(options.numbers["--faults"], runs.count()) + options.numbers["--steps"];
    for (std::size_t worker = 0; worker < jobs; ++worker) {
        if (!watch(processes[worker], score, wanted)) {
            tell(score, whereItDied(score.places.at(worker), options));
        }
    }
}

void tryFaults(Options& options, Score& score) {
    const FaultRuns runs(options.numbers["--part"]);
    std::printf("%zu fault runs to choose from; the seed is %zu\n", runs.count(),
                options.numbers["--seed"]);
    std::fflush(stdout);
    if (!options.faultRun) {
        workInProcesses(runs, options, score);
        return;
    }
    if (*options.faultRun >= runs.count()) {
        reject("--fault-run: there is no run " + std::to_string(*options.faultRun));
    }
    Forked forked;
    std::printf("%s\n", runs.described(*options.faultRun).c_str());
    (void)carryOutFault(runs, *options.faultRun, forked, options, score);
}

} // namespace

int main(int argc, char** argv) {
    Options options = optionsFrom({argv + 1, argv + argc});
    tested_program::load();
    warmFoundation();
    warmCollation();
    Score& score = sharedScore();
    try {
        options.history ? carryOutHistory(historyGiven(*options.history), score)
                        : tryFaults(options, score);
    } catch (const std::runtime_error& error) {
        tell(score, error.what());
    }
    std::printf("%zu fault runs, %zu history steps, %zu violations\n", score.faultRuns.load(),
                score.steps.load(), score.violations.load());
    return score.violations == 0 ? 0 : 1;
}
