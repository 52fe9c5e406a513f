#include "EndToEnd/ProgramRun.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
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
        kill(process_, SIGKILL);
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

ProgramRun MacOnDisk::veilpane(const std::vector<std::string>& arguments) const {
    return runProgram(VEILPANE_EXECUTABLE, arguments, environment());
}

ProgramRun MacOnDisk::veilpaneUnderShell(const std::string& text) const {
    return runProgram("/bin/sh", {"-c", std::string("exec '") + VEILPANE_EXECUTABLE + "' " + text},
                      environment());
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
