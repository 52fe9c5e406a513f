// The system profiler on the simulated Mac: a real child process in the place of
// /usr/sbin/system_profiler. The linker redirects the program's own posix_spawn (--wrap).

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/Calls/ProfilerPipe.h"
#include "SimulatedMac/World/RunningMac.h"

#include <cerrno>
#include <spawn.h>
#include <string>
#include <vector>

using namespace simulated_mac;

extern "C" {

int __real_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const argv[], char* const envp[]);
int __wrap_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const argv[], char* const envp[]);

} // extern "C"

namespace {

/// The child works on the state that this process works on, whatever scene it came from.
std::vector<std::string> childEnvironment(char* const envp[]) {
    std::vector<std::string> variables;
    for (; *envp != nullptr; ++envp) {
        const std::string variable = *envp;
        if (!variable.starts_with("SIMULATED_MAC_")) {
            variables.push_back(variable);
        }
    }
    variables.push_back("SIMULATED_MAC_STATE=" + RunningMac::current().directoryForPrograms());
    return variables;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

nlohmann::json argumentsOf(const char* path, char* const argv[]) {
    nlohmann::json arguments = {path};
    for (; *argv != nullptr; ++argv) {
        arguments.push_back(*argv);
    }
    return arguments;
}

} // namespace

namespace simulated {
namespace {

/// The launch of the system profiler, under the name that the call log tells.
int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const argv[], char* const envp[]) {
    Call call(__func__, argumentsOf(path, argv));
    if (call.failed()) {
        return call.returns(call.failure<int>());
    }
    if (RunningMac::current().scene().profilerMissing || call.yieldsNull()) {
        return call.returns(ENOENT);
    }
    std::vector<std::string> environment = childEnvironment(envp);
    const std::string executable =
        RunningMac::current().scene().profilerExecutable.value_or(SYSTEM_PROFILER_EXECUTABLE);
    const int error = __real_posix_spawn(pid, executable.c_str(), actions, attributes, argv,
                                         pointersTo(environment).data());
    if (error == 0) {
        watchProfiler(*pid);
    }
    return call.returns(error);
}

} // namespace
} // namespace simulated

extern "C" int __wrap_posix_spawn(pid_t* pid, const char* path,
                                  const posix_spawn_file_actions_t* actions,
                                  const posix_spawnattr_t* attributes, char* const argv[],
                                  char* const envp[]) {
    if (path != std::string("/usr/sbin/system_profiler")) {
        return __real_posix_spawn(pid, path, actions, attributes, argv, envp);
    }
    return simulated::posix_spawn(pid, path, actions, attributes, argv, envp);
}
