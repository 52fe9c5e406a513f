#include "MacProgram/System/Threads.h"

#include "MacProgram/Runtime/Refusal.h"
#include "MacProgram/System/ErrorNumbers.h"

#include <map>
#include <mutex>
#include <unistd.h>

// In the executable itself, so that its distance from the thread's pointer is known when it is
// linked.
extern "C" thread_local char mac_program_thread_locals[4096];
thread_local char mac_program_thread_locals[4096] = {};

namespace mac_program {
namespace {

// What a Mac's static initialisers write into the first word.
constexpr std::uint64_t mutexSignature = 0x32AAABA7;
constexpr std::uint64_t conditionSignature = 0x3CB0B1BB;

/// Through which code asks for a thread-local variable.
struct ThreadLocal {
    const void* accessor;
    std::uint64_t key; ///< of the loader's; 0 until then
    std::uint64_t offset;
};

/// This system's object for each of a Mac's.
template <class Object>
class Counterparts {
public:
    explicit Counterparts(std::uint64_t signature) : signature_(signature) {}

    Object* of(void* place) {
        const std::scoped_lock lock(guard_);
        const auto [known, isNew] = objects_.try_emplace(place);
        if (isNew && *static_cast<const std::uint64_t*>(place) != signature_) {
            refuse("a mutex or condition has not been initialised statically");
        }
        return &known->second;
    }

private:
    std::uint64_t signature_;
    std::mutex guard_;
    std::map<void*, Object> objects_;
};

pthread_mutex_t* mutexOf(void* place) {
    [[clang::no_destroy]] static Counterparts<pthread_mutex_t> all(mutexSignature);
    return all.of(place);
}

pthread_cond_t* conditionOf(void* place) {
    [[clang::no_destroy]] static Counterparts<pthread_cond_t> all(conditionSignature);
    return all.of(place);
}

} // namespace

int lockMutex(void* mutex) {
    return macErrorNumber(pthread_mutex_lock(mutexOf(mutex)));
}

int unlockMutex(void* mutex) {
    return macErrorNumber(pthread_mutex_unlock(mutexOf(mutex)));
}

int waitForCondition(void* condition, void* mutex) {
    return macErrorNumber(pthread_cond_wait(conditionOf(condition), mutexOf(mutex)));
}

int wakeAll(void* condition) {
    return macErrorNumber(pthread_cond_broadcast(conditionOf(condition)));
}

unsigned int kernelThread(pthread_t thread) {
    if (pthread_equal(thread, pthread_self()) == 0) {
        refuse("another thread's number in the kernel is asked for");
    }
    return static_cast<unsigned int>(gettid());
}

void requireSpaceForThreadLocals(const Image& image) {
    const std::size_t size = image.section("__thread_bss").size();
    if (size > sizeof mac_program_thread_locals) {
        throw BadProgram("its thread-local variables are too large");
    }
    for (const ThreadLocal& each : image.elements<ThreadLocal>("__thread_vars")) {
        if (image.symbolAt(&each.accessor) != "__tlv_bootstrap" || each.key != 0 ||
            each.offset >= size) {
            throw BadProgram("a thread-local variable does not fit");
        }
    }
}

} // namespace mac_program
