#include "MacProgram/System/SystemLibrary.h"

#include "MacProgram/Processor/Imports.h"
#include "MacProgram/Runtime/Messages.h"
#include "MacProgram/Runtime/Refusal.h"
#include "MacProgram/System/Characters.h"
#include "MacProgram/System/Clocks.h"
#include "MacProgram/System/Descriptors.h"
#include "MacProgram/System/ErrorNumbers.h"
#include "MacProgram/System/ExecutablePath.h"
#include "MacProgram/System/Signals.h"
#include "MacProgram/System/Spawning.h"
#include "MacProgram/System/Threads.h"

#include <crt_externs.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <dlfcn.h>
#include <sys/sysctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <unwind.h>

// What blocks that capture nothing begin with, of the blocks runtime.
extern "C" void* _NSConcreteGlobalBlock[];

namespace mac_program {
namespace {

[[noreturn]] void bindLazily() {
    refuse("a pointer is bound at its first call, though all are bound before");
}

// Overloaded in C++.
const void* findByte(const void* bytes, int byte, std::size_t count) {
    return std::memchr(bytes, byte, count);
}
const wchar_t* findWide(const wchar_t* characters, wchar_t character, std::size_t count) {
    return std::wmemchr(characters, character, count);
}

std::vector<Symbol> memoryAndTexts() {
    return {function("_aligned_alloc", std::aligned_alloc),
            function("_calloc", std::calloc),
            function("_free", std::free),
            function("_malloc", std::malloc),
            function("_memchr", findByte),
            function("_memcmp", std::memcmp),
            function("_memcpy", std::memcpy),
            function("_memmove", std::memmove),
            function("_memset", std::memset),
            function("_realloc", std::realloc),
            function("_strcmp", std::strcmp),
            function("_strlen", std::strlen),
            function("_strtod", std::strtod),
            function("_strtof", std::strtof),
            function("_strtol", std::strtol),
            function("_strtoll", std::strtoll),
            function("_strtoul", std::strtoul),
            function("_strtoull", std::strtoull),
            data("__DefaultRuneLocale", characterTable())};
}

// Of 32 bits on both systems.
std::vector<Symbol> wideTexts() {
    return {function("_wcslen", std::wcslen),     function("_wcstod", std::wcstod),
            function("_wcstof", std::wcstof),     function("_wcstol", std::wcstol),
            function("_wcstoll", std::wcstoll),   function("_wcstoul", std::wcstoul),
            function("_wcstoull", std::wcstoull), function("_wmemchr", findWide),
            function("_wmemcmp", std::wmemcmp)};
}

std::vector<Symbol> streamsAndDescriptors() {
    return {function("___error", errorNumberPlace),
            function("_close", close),
            function("_fflush", std::fflush),
            function("_fgetc", std::fgetc),
            function("_fputc", std::fputc),
            function("_fwrite", std::fwrite),
            function("_pipe", pipe),
            function("_poll", waitForDescriptors),
            function("_read", read),
            function("_strerror_r", describeError),
            function("_write", write),
            data("___stderrp", &stderr),
            data("___stdinp", &stdin),
            data("___stdoutp", &stdout)};
}

std::vector<Symbol> processes() {
    return {function("__NSGetArgc", _NSGetArgc),
            function("__NSGetArgv", _NSGetArgv),
            function("__NSGetExecutablePath", executablePath),
            function("_abort", std::abort),
            function("_exit", std::exit),
            function("_getppid", getppid),
            function("_kill", sendSignal),
            function("_posix_spawn", spawn),
            function("_posix_spawn_file_actions_adddup2", addDuplicate),
            function("_posix_spawn_file_actions_addopen", addOpen),
            function("_posix_spawn_file_actions_destroy", destroyFileActions),
            function("_posix_spawn_file_actions_init", initFileActions),
            function("_posix_spawnattr_destroy", destroyAttributes),
            function("_posix_spawnattr_init", initAttributes),
            function("_posix_spawnattr_setflags", setFlags),
            function("_posix_spawnattr_setsigdefault", setDefaultSignals),
            function("_posix_spawnattr_setsigmask", setSignalMask),
            function("_signal", setSignalHandler),
            function("_sysctlbyname", sysctlbyname),
            function("_waitpid", waitpid),
            data("_environ", &environ)};
}

std::vector<Symbol> threads() {
    return {function("_pthread_cond_broadcast", wakeAll),
            function("_pthread_cond_wait", waitForCondition),
            function("_pthread_mach_thread_np", kernelThread),
            function("_pthread_mutex_lock", lockMutex),
            function("_pthread_mutex_unlock", unlockMutex), function("_pthread_self", pthread_self),
            // It keeps all registers but one, so that nothing may come between.
            data("__tlv_bootstrap", reinterpret_cast<const void*>(mac_program_thread_local))};
}

std::vector<Symbol> time() {
    return {function("_clock_gettime", readClock), function("_nanosleep", nanosleep)};
}

std::vector<Symbol> loading() {
    return {function("_dlclose", dlclose), function("_dlopen", dlopen), function("_dlsym", dlsym),
            data("dyld_stub_binder", reinterpret_cast<const void*>(bindLazily)),
            data("__NSConcreteGlobalBlock", _NSConcreteGlobalBlock)};
}

std::vector<Symbol> unwinding() {
    return {function("__Unwind_DeleteException", _Unwind_DeleteException),
            function("__Unwind_GetIP", _Unwind_GetIP),
            function("__Unwind_GetLanguageSpecificData", _Unwind_GetLanguageSpecificData),
            function("__Unwind_GetRegionStart", _Unwind_GetRegionStart),
            function("__Unwind_RaiseException", _Unwind_RaiseException),
            function("__Unwind_Resume", _Unwind_Resume),
            function("__Unwind_SetGR", _Unwind_SetGR),
            function("__Unwind_SetIP", _Unwind_SetIP)};
}

} // namespace

Library systemLibrary() {
    Library library = {"/usr/lib/libSystem.B.dylib", {}, {}};
    for (const auto& part :
         {memoryAndTexts(), wideTexts(), streamsAndDescriptors(), processes(), threads(), time(),
          loading(), unwinding(), systemImportsOfProcessor()}) {
        library.symbols.insert(library.symbols.end(), part.begin(), part.end());
    }
    return library;
}

} // namespace mac_program
