#include "MacProgram/System/Spawning.h"

#include "MacProgram/Runtime/Refusal.h"
#include "MacProgram/System/Descriptors.h"
#include "MacProgram/System/ErrorNumbers.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace mac_program {
namespace {

// The program holds the object until it destroys it.
template <class Object>
int initHeld(Held<Object>* held, int (*init)(Object*)) {
    auto object = std::make_unique<Object>();
    const int error = init(object.get());
    held->object = object.release();
    return macErrorNumber(error);
}

template <class Object>
int destroyHeld(Held<Object>* held, int (*destroy)(Object*)) {
    const std::unique_ptr<Object> object(held->object);
    held->object = nullptr;
    return macErrorNumber(destroy(object.get()));
}

template <class Object>
Object* heldObject(const Held<Object>* held) {
    return held == nullptr ? nullptr : held->object;
}

// What this system's kernel does not start.
bool isProgramForMac(const char* path) {
    constexpr std::string_view beginnings[] = {"\xCA\xFE\xBA\xBE", "\xCF\xFA\xED\xFE"};
    std::array<char, 4> bytes = {};
    std::ifstream(path, std::ios::binary).read(bytes.data(), bytes.size());
    return std::ranges::find(beginnings, std::string_view(bytes.data(), bytes.size())) !=
           std::end(beginnings);
}

/// The words of a command, which end with a null pointer and belong to others.
std::vector<char*> launching(const char* path, char* const arguments[]) {
    char* const launcher = std::getenv(launcherVariable);
    if (launcher == nullptr) {
        refuse(std::string(launcherVariable) + " does not name what runs " + path);
    }
    std::vector<char*> words = {launcher, const_cast<char*>(path)};
    for (char* const* argument = arguments + 1; *argument != nullptr; ++argument) {
        words.push_back(*argument);
    }
    words.push_back(nullptr);
    return words;
}

} // namespace

int initFileActions(HeldFileActions* held) {
    return initHeld(held, posix_spawn_file_actions_init);
}

int destroyFileActions(HeldFileActions* held) {
    return destroyHeld(held, posix_spawn_file_actions_destroy);
}

int addDuplicate(HeldFileActions* held, int descriptor, int target) {
    return macErrorNumber(posix_spawn_file_actions_adddup2(held->object, descriptor, target));
}

int addOpen(HeldFileActions* held, int descriptor, const char* path, int flags, int mode) {
    return macErrorNumber(posix_spawn_file_actions_addopen(
        held->object, descriptor, path, openFlags(flags), static_cast<mode_t>(mode)));
}

int initAttributes(HeldAttributes* held) {
    return initHeld(held, posix_spawnattr_init);
}

int destroyAttributes(HeldAttributes* held) {
    return destroyHeld(held, posix_spawnattr_destroy);
}

int setFlags(HeldAttributes* held, short flags) {
    constexpr short sameFlags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
    constexpr short macNewSession = 0x400;
    if ((flags & ~(sameFlags | macNewSession)) != 0) {
        refuse("flags " + std::to_string(flags) + " of posix_spawn are not known here");
    }
    const int newSession = (flags & macNewSession) != 0 ? POSIX_SPAWN_SETSID : 0;
    return macErrorNumber(posix_spawnattr_setflags(
        held->object, static_cast<short>((flags & sameFlags) | newSession)));
}

int setDefaultSignals(HeldAttributes* held, const MacSignalSet* signals) {
    const sigset_t set = signalSet(*signals);
    return macErrorNumber(posix_spawnattr_setsigdefault(held->object, &set));
}

int setSignalMask(HeldAttributes* held, const MacSignalSet* signals) {
    const sigset_t set = signalSet(*signals);
    return macErrorNumber(posix_spawnattr_setsigmask(held->object, &set));
}

int spawn(pid_t* child, const char* path, const HeldFileActions* actions,
          const HeldAttributes* attributes, char* const arguments[], char* const environment[]) {
    std::vector<char*> words;
    if (isProgramForMac(path)) {
        words = launching(path, arguments);
        path = words.front();
        arguments = words.data();
    }
    return macErrorNumber(posix_spawn(child, path, heldObject(actions), heldObject(attributes),
                                      arguments, environment));
}

} // namespace mac_program
