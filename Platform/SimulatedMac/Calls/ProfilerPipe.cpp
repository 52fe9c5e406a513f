// The calls around the launch of the system profiler: pipe, fcntl, read, waitpid. The linker
// redirects the program's own ones (--wrap), which go to the real functions but where a fault names
// them. Only then are they counted and logged, because how many reads an output takes is chance.

#include "SimulatedMac/Calls/ProfilerPipe.h"

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/World/RunningMac.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace simulated_mac;

extern "C" {

int __real_pipe(int ends[2]);
int __real_fcntl(int descriptor, int command, ...);
ssize_t __real_read(int descriptor, void* buffer, size_t size);
pid_t __real_waitpid(pid_t pid, int* status, int options);
int __wrap_pipe(int ends[2]);
int __wrap_fcntl(int descriptor, int command, ...);
ssize_t __wrap_read(int descriptor, void* buffer, size_t size);
pid_t __wrap_waitpid(pid_t pid, int* status, int options);

} // extern "C"

namespace {

pid_t watchedProfiler = 0;

bool canFail(const char* call) {
    return RunningMac::isChosen() && RunningMac::current().hasFaultFor(call);
}

// Logging may change errno, so it is set last.
template <class Result>
Result answer(Call& call, Result result, int error) {
    const bool failing = call.failed() || call.failsWithEffect();
    const int planned = failing ? call.fault()->errorNumber : error;
    const Result answered = call.returns(call.failed() ? call.failure<Result>() : result);
    if (answered == -1) {
        errno = planned == 0 ? EIO : planned;
    }
    return answered;
}

} // namespace

namespace simulated_mac {

void watchProfiler(pid_t profiler) {
    watchedProfiler = profiler;
}

} // namespace simulated_mac

/// The functions as faults know them, under the names that the call log tells. A descriptor cannot
/// be null, so a fault that asks for that takes the descriptors away.
namespace simulated {
namespace {

int pipe(int ends[2]) {
    Call call(__func__, nlohmann::json::array());
    if (call.failed() || call.yieldsNull()) {
        return answer(call, -1, EMFILE);
    }
    const int result = __real_pipe(ends);
    return answer(call, result, errno);
}

int fcntl(int descriptor, int command, void* argument) {
    Call call(__func__, {descriptor, command});
    if (call.failed() || call.yieldsNull()) {
        return answer(call, -1, EMFILE);
    }
    const int result = __real_fcntl(descriptor, command, argument);
    return answer(call, result, errno);
}

// A fault that returns more than 0 makes it a short read.
ssize_t read(int descriptor, void* buffer, size_t size) {
    Call call(__func__, {descriptor, size});
    if (call.yieldsNull() || (call.failed() && call.failure<ssize_t>() <= 0)) {
        return answer<ssize_t>(call, 0, 0);
    }
    const size_t most = call.failed() ? std::min(size, call.failure<size_t>()) : size;
    const ssize_t result = __real_read(descriptor, buffer, most);
    const int error = errno;
    (void)call.returns(result);
    errno = error;
    return result;
}

pid_t waitpid(pid_t pid, int* status, int options) {
    Call call(__func__, {pid, options});
    if (call.failed() || call.yieldsNull()) {
        return answer<pid_t>(call, 0, 0);
    }
    const pid_t result = __real_waitpid(pid, status, options);
    return answer(call, result, errno);
}

} // namespace
} // namespace simulated

extern "C" {

int __wrap_pipe(int ends[2]) {
    return canFail("pipe") ? simulated::pipe(ends) : __real_pipe(ends);
}

// Every command takes at most one argument, of the size of a pointer or less.
int __wrap_fcntl(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return command == F_DUPFD_CLOEXEC && canFail("fcntl")
               ? simulated::fcntl(descriptor, command, argument)
               : __real_fcntl(descriptor, command, argument);
}

ssize_t __wrap_read(int descriptor, void* buffer, size_t size) {
    return watchedProfiler != 0 && canFail("read") ? simulated::read(descriptor, buffer, size)
                                                   : __real_read(descriptor, buffer, size);
}

pid_t __wrap_waitpid(pid_t pid, int* status, int options) {
    if (watchedProfiler == 0 || pid != watchedProfiler) {
        return __real_waitpid(pid, status, options);
    }
    const pid_t result = canFail("waitpid") ? simulated::waitpid(pid, status, options)
                                            : __real_waitpid(pid, status, options);
    watchedProfiler = result == pid ? 0 : watchedProfiler;
    return result;
}

} // extern "C"
