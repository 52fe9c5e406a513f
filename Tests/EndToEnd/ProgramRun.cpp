#include "EndToEnd/ProgramRun.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void becomeProgram(const std::string& executable,
                                const std::vector<std::string>& arguments,
                                const std::map<std::string, std::string>& environment,
                                const std::filesystem::path& directory) {
    for (const auto& [name, value] : environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    if (std::freopen((directory / "output").c_str(), "w", stdout) == nullptr ||
        std::freopen((directory / "errors").c_str(), "w", stderr) == nullptr) {
        _exit(126);
    }
    std::vector<char*> argv = {const_cast<char*>(executable.c_str())};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    execv(executable.c_str(), argv.data());
    _exit(127);
}

} // namespace

std::vector<std::string> commandOf(const char* variable, const std::string& executable) {
    const char* const program = std::getenv(variable);
    const char* const launcher = std::getenv("VEILPANE_LAUNCHER");
    if (launcher == nullptr) {
        return {program == nullptr ? executable : program};
    }
    if (program == nullptr) {
        throw std::runtime_error(std::string("VEILPANE_LAUNCHER has no ") + variable + " to run");
    }
    return {launcher, program};
}

std::string inShell(const std::vector<std::string>& command) {
    std::string words;
    for (const std::string& word : command) {
        words += "'" + word + "' ";
    }
    return words;
}

std::vector<std::string> veilpaneCommand() {
    return commandOf("VEILPANE_PROGRAM", VEILPANE_EXECUTABLE);
}

std::string veilpaneInShell() {
    return inShell(veilpaneCommand());
}

ProgramRun quiet(int status, const std::string& output) {
    return {status, output, ""};
}

RunningProgram::RunningProgram(const std::string& executable,
                               const std::vector<std::string>& arguments,
                               const std::map<std::string, std::string>& environment)
    : process_(fork()) {
    if (process_ == 0) {
        becomeProgram(executable, arguments, environment, directory_.path());
    }
}

RunningProgram::~RunningProgram() {
    if (process_ > 0) {
        kill(SIGKILL);
        waitpid(process_, nullptr, 0);
    }
}

std::string RunningProgram::errorsSoFar() const {
    return contentOf(directory_.path() / "errors");
}

bool RunningProgram::isRunning() {
    int status = 0;
    if (process_ > 0 && waitpid(process_, &status, WNOHANG) == process_) {
        status_ = status;
        process_ = 0;
    }
    return process_ > 0;
}

void RunningProgram::kill(int signal) const {
    ::kill(process_, signal);
}

ProgramRun RunningProgram::finish() {
    if (process_ > 0) {
        waitpid(process_, &status_, 0);
        process_ = 0;
    }
    return {WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_),
            contentOf(directory_.path() / "output"), contentOf(directory_.path() / "errors")};
}

ProgramRun runProgram(const std::string& executable, const std::vector<std::string>& arguments,
                      const std::map<std::string, std::string>& environment) {
    return RunningProgram(executable, arguments, environment).finish();
}

MacOnDisk::MacOnDisk(const std::string& scene) : hasScene_(!scene.empty()) {
    if (hasScene_) {
        changeScene(scene);
    }
}

void MacOnDisk::changeScene(const std::string& scene) const {
    std::ofstream(sceneFile()) << scene;
}

std::map<std::string, std::string> MacOnDisk::environment() const {
    return {{"SIMULATED_MAC_STATE", stateDirectory()},
            {"SIMULATED_MAC_SCENE", hasScene_ ? sceneFile() : ""},
            {"TMPDIR", directory_.path().string()}};
}

std::unique_ptr<RunningProgram>
MacOnDisk::start(const std::vector<std::string>& arguments,
                 const std::map<std::string, std::string>& more) const {
    std::vector<std::string> command = veilpaneCommand();
    const std::string executable = command.front();
    command.erase(command.begin());
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::map<std::string, std::string> all = environment();
    all.insert(more.begin(), more.end());
    return std::make_unique<RunningProgram>(executable, command, all);
}

ProgramRun MacOnDisk::veilpane(const std::vector<std::string>& arguments) const {
    return start(arguments)->finish();
}

ProgramRun MacOnDisk::veilpaneUnderShell(const std::string& text) const {
    return runProgram("/bin/sh", {"-c", "exec " + veilpaneInShell() + text}, environment());
}

ProgramRun MacOnDisk::macsim(const std::vector<std::string>& arguments) const {
    return runProgram(MACSIM_EXECUTABLE, arguments, environment());
}

nlohmann::json MacOnDisk::display(std::uint32_t id) const {
    const auto shown = nlohmann::json::parse(macsim({"show", "--json"}).output);
    for (const auto& display : shown.at("displays")) {
        if (display.at("id") == id) {
            return display;
        }
    }
    return nullptr;
}
