#pragma once

#include "Support/Files.h"

#include <cstdint>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <sys/types.h>
#include <vector>

/// What a finished program left behind.
struct ProgramRun {
    int status = -1; ///< exit status; 128 + the signal's number when a signal ended it
    std::string output;
    std::string errors;

    bool operator==(const ProgramRun&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const ProgramRun& run) {
        return stream << "status " << run.status << "\noutput:\n"
                      << run.output << "errors:\n"
                      << run.errors;
    }
};

/// A run that wrote nothing to standard error.
ProgramRun quiet(int status, const std::string& output);

/// What runs a program: the executable to start and its first arguments. It is the one for Linux
/// unless the environment's `variable` names another file; VEILPANE_LAUNCHER then names what runs
/// that file.
std::vector<std::string> commandOf(const char* variable, const std::string& executable);

/// A command for a shell, quoted, with a space at its end.
std::string inShell(const std::vector<std::string>& command);

/// What runs Veilpane; the file may be named by VEILPANE_PROGRAM.
std::vector<std::string> veilpaneCommand();
std::string veilpaneInShell();

/// A program that runs beside the test. It is killed when the object goes.
class RunningProgram {
public:
    /// `environment` is added to this process's own.
    RunningProgram(const std::string& executable, const std::vector<std::string>& arguments,
                   const std::map<std::string, std::string>& environment);
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram();

    [[nodiscard]] std::string errorsSoFar() const;
    [[nodiscard]] bool isRunning();
    /// Sends it a signal.
    void kill(int signal) const;
    /// Waits for its end.
    ProgramRun finish();

private:
    TemporaryDirectory directory_;
    pid_t process_;
    int status_ = 0;
};

/// Runs an executable to its end. `environment` is added to this process's own.
ProgramRun runProgram(const std::string& executable, const std::vector<std::string>& arguments,
                      const std::map<std::string, std::string>& environment);

/// A simulated Mac in files of its own, removed at the end, and the programs that run on it.
class MacOnDisk {
public:
    /// `scene` is a scene file's text; empty for the built-in scene.
    explicit MacOnDisk(const std::string& scene = "");
    MacOnDisk(const MacOnDisk&) = delete;
    MacOnDisk& operator=(const MacOnDisk&) = delete;

    /// Starts Veilpane with more in its environment than this Mac's own.
    [[nodiscard]] std::unique_ptr<RunningProgram>
    start(const std::vector<std::string>& arguments,
          const std::map<std::string, std::string>& more = {}) const;
    [[nodiscard]] ProgramRun veilpane(const std::vector<std::string>& arguments) const;
    /// The text after the program's name is the shell's: arguments and redirections.
    [[nodiscard]] ProgramRun veilpaneUnderShell(const std::string& text) const;
    [[nodiscard]] ProgramRun macsim(const std::vector<std::string>& arguments) const;

    /// What `macsim show` tells of a display; null for one that it does not show.
    [[nodiscard]] nlohmann::json display(std::uint32_t id) const;

    /// Replaces the scene file, as if other monitors or faults were found at the next start.
    void changeScene(const std::string& scene) const;

    [[nodiscard]] std::string sceneFile() const { return directory_.path() / "scene.json"; }
    [[nodiscard]] std::string stateDirectory() const { return directory_.path() / "state"; }
    [[nodiscard]] std::map<std::string, std::string> environment() const;

private:
    TemporaryDirectory directory_;
    bool hasScene_;
};
