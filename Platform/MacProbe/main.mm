#include "MacProbe/Answers.h"
#include "MacProbe/CommandLine.h"
#include "MacProbe/Companion.h"
#include "MacProbe/DisplayFacts.h"
#include "MacProbe/Looking.h"
#include "MacProbe/SceneRecording.h"
#include "MacProbe/Switching.h"
#include "Veilpane/Support/StandardStreams.h"

#import <Foundation/Foundation.h>

#include <crt_externs.h>
#include <csignal>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace macprobe {

namespace {

std::vector<std::string> words() {
    const char* const* const arguments = *_NSGetArgv();
    return {arguments + 1, arguments + *_NSGetArgc()};
}

int complain(const std::string& problem, int status) {
    const std::string line = "macprobe: " + problem + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    return status;
}

// All of it or a complaint: half a scene is none.
int print(const std::string& text) {
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return isWritten && std::fflush(stdout) == 0 ? exitDone
                                                 : complain("cannot write it", exitNoOutput);
}

int printScene() {
    const auto scene = recordScene();
    return scene ? print(*scene) : complain(scene.error(), exitFailed);
}

volatile std::sig_atomic_t isInterrupted = 0;

void noteInterruption(int) {
    isInterrupted = 1;
}

/// Tells a person, by standard error, as the table may go to a file.
class ToldProgress final : public SwitchingProgress {
public:
    // Whoever interrupts it wants the display back, not only the end of the program.
    ToldProgress() {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            std::signal(signal, noteInterruption);
        }
    }
    void stepBegins(const std::string& step) override {
        std::fprintf(stderr, "- %s\n", step.c_str());
    }
    [[nodiscard]] bool isToStop() override { return isInterrupted != 0; }
};

// The table of a Mac without displays is told, too, but is not what was wanted.
int ask() {
    const int status = print(tableOf(answersByLooking()));
    return status == exitDone && listDisplays().online.empty() ? complain(nothingOnline, exitFailed)
                                                               : status;
}

bool isAllowed(CGDirectDisplayID display) {
    std::fprintf(stderr, "%sType yes to go on: ", announcement(display).c_str());
    std::string answer;
    for (int character = 0; (character = std::fgetc(stdin)) != EOF && character != '\n';) {
        answer += static_cast<char>(character);
    }
    return answer == "yes";
}

int askSwitching(CGDirectDisplayID display) {
    if (const auto refusal = refusalToSwitch(display)) {
        return complain(*refusal, exitFailed);
    }
    if (!isAllowed(display)) {
        return complain("not told yes; nothing is switched", exitFailed);
    }
    Answers answers = answersByLooking();
    SameExecutable launcher;
    ToldProgress progress;
    const SwitchingOutcome outcome = askBySwitching(display, launcher, progress, Patience());
    for (const auto& [assumption, answer] : outcome.answers) {
        answers[assumption] = answer;
    }
    const int status = print(tableOf(answers));
    return outcome.problem.empty() ? status : complain(outcome.problem, exitFailed);
}

int carryOut(const Command& command) {
    switch (command.kind) {
    case Command::Kind::help:
        return print(helpText());
    case Command::Kind::version:
        return print("macprobe " MACPROBE_VERSION "\n");
    case Command::Kind::scene:
        return printScene();
    case Command::Kind::ask:
        return ask();
    case Command::Kind::askBySwitching:
        return askSwitching(command.display);
    case Command::Kind::watch:
    case Command::Kind::dim:
    case Command::Kind::listScreens:
        return runCompanion(command, STDIN_FILENO, STDOUT_FILENO, Patience());
    }
    return exitUsage;
}

int run() {
    veilpane::openMissingStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    @autoreleasepool {
        const auto command = commandFrom(words());
        return command ? carryOut(*command) : complain(command.error(), exitUsage);
    }
}

} // namespace

} // namespace macprobe

int main() {
    return macprobe::run();
}
