// The program in the environment's VEILPANE_PROGRAM, a file for a Mac with this processor.

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Program.h"
#include "Safety/CapturedOutput.h"
#include "Safety/ShippedDelegate.h"
#include "Safety/TestedProgram.h"

#include <crt_externs.h>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace safety::tested_program {
namespace {

mac_program::Main mainFunction = nullptr;

/// The program has called `exit`.
struct Exit {
    int status;
};

[[noreturn]] void leaveMain(int status) {
    throw Exit{status};
}

/// The arguments as the C library of a Mac has them, as long as this lives.
class ProcessArguments {
public:
    explicit ProcessArguments(std::vector<std::string> arguments)
        : arguments_(std::move(arguments)) {
        for (std::string& argument : arguments_) {
            vector_.push_back(argument.data());
        }
        *_NSGetArgc() = static_cast<int>(vector_.size());
        vector_.push_back(nullptr);
        *_NSGetArgv() = vector_.data();
    }
    ProcessArguments(const ProcessArguments&) = delete;
    ProcessArguments& operator=(const ProcessArguments&) = delete;
    ~ProcessArguments() {
        *_NSGetArgc() = previousCount_;
        *_NSGetArgv() = previous_;
    }

    int callMain() {
        static const char* const apple[] = {nullptr};
        try {
            return mainFunction(*_NSGetArgc(), vector_.data(), environ, apple);
        } catch (const Exit& exit) {
            return exit.status;
        }
    }

private:
    std::vector<std::string> arguments_;
    std::vector<char*> vector_;
    int previousCount_ = *_NSGetArgc();
    char** previous_ = *_NSGetArgv();
};

std::string valueOf(const std::string& key, const std::string& line, const std::string& end) {
    const std::size_t start = line.find(key + "=");
    if (start == std::string::npos) {
        throw std::runtime_error("no " + key + " in: " + line);
    }
    const std::size_t first = start + key.size() + 1;
    return line.substr(first, line.find(end, first) - first);
}

bool hasFlag(const std::string& flags, const std::string& flag) {
    return ("," + flags + ",").find("," + flag + ",") != std::string::npos;
}

// The identifier, the name and the flags, between tabs.
ListedDisplay rowFrom(const std::string& line) {
    const std::size_t name = line.find('\t');
    const std::size_t flags = line.rfind('\t');
    if (name == std::string::npos || flags <= name + 1) {
        throw std::runtime_error("not a display with its name: " + line);
    }
    const std::string told = line.substr(flags + 1);
    ListedDisplay row;
    row.id = static_cast<std::uint32_t>(std::stoul(line));
    row.builtIn = hasFlag(told, "builtin");
    row.main = hasFlag(told, "main");
    row.disconnected = hasFlag(told, "disconnected");
    return row;
}

} // namespace

const char* const replayCommand = "VEILPANE_PROGRAM=build/macos-cross/Veilpane.app/Contents/MacOS/"
                                  "Veilpane build/linux/Tests/ShippedSoak";

void load() {
    const char* const file = std::getenv("VEILPANE_PROGRAM");
    if (file == nullptr) {
        std::fputs("VEILPANE_PROGRAM names no program\n", stderr);
        std::exit(2);
    }
    try {
        mainFunction =
            mac_program::load(file, {{"_exit", reinterpret_cast<const void*>(leaveMain)}});
    } catch (const mac_program::BadProgram& reason) {
        std::fprintf(stderr, "%s: %s\n", file, reason.what());
        std::exit(2);
    }
}

bool hasFunctions() {
    return false;
}

Outcome setPower(bool on, std::uint32_t id) {
    const Ran ran = run({"--power", on ? "on" : "off", std::to_string(id)});
    const std::size_t end = ran.output.find('\n');
    if (end == std::string::npos || !ran.output.ends_with('\n') || end + 1 == ran.output.size()) {
        throw std::runtime_error("not a line and a message: " + ran.output);
    }
    const std::string line = ran.output.substr(0, end);
    Outcome outcome;
    outcome.method = valueOf("method", line, " success=");
    outcome.success = valueOf("success", line, " ") == "true";
    outcome.message = ran.output.substr(end + 1, ran.output.size() - end - 2);
    if (ran.status != (outcome.success ? 0 : 1)) {
        throw std::runtime_error("exit status " + std::to_string(ran.status) + ": " + ran.output);
    }
    return outcome;
}

std::vector<ListedDisplay> listDisplays() {
    const Ran ran = run({"--list"});
    if (ran.status != 0) {
        throw std::runtime_error("exit status " + std::to_string(ran.status));
    }
    std::istringstream stream(ran.output);
    std::vector<ListedDisplay> rows;
    for (std::string line; std::getline(stream, line);) {
        rows.push_back(rowFrom(line));
    }
    return rows;
}

std::string statusLine(std::uint32_t) {
    throw std::logic_error("the shipped program's functions cannot be called");
}

void restoreAll() {
    tellDelegateOfTermination();
}

Ran run(std::vector<std::string> arguments) {
    const CapturedOutput output;
    arguments.insert(arguments.begin(), "veilpane");
    const int status = ProcessArguments(std::move(arguments)).callMain();
    return {status, output.text()};
}

} // namespace safety::tested_program
