#pragma once

#include "MacProgram/System/Signals.h"

#include <memory>
#include <spawn.h>

namespace mac_program {

/// What a Mac's program has of these types: a pointer, which owns.
template <class Object>
struct Held {
    Object* object;
};
using HeldFileActions = Held<posix_spawn_file_actions_t>;
using HeldAttributes = Held<posix_spawnattr_t>;

/// Names, in the environment, the program that runs programs for a Mac here.
constexpr const char* launcherVariable = "MACRUN_LAUNCHER";

// All return an error number of a Mac, or 0.
int initFileActions(HeldFileActions* held);
int destroyFileActions(HeldFileActions* held);
int addDuplicate(HeldFileActions* held, int descriptor, int target);
int addOpen(HeldFileActions* held, int descriptor, const char* path, int flags, int mode);
int initAttributes(HeldAttributes* held);
int destroyAttributes(HeldAttributes* held);
int setFlags(HeldAttributes* held, short flags);
int setDefaultSignals(HeldAttributes* held, const MacSignalSet* signals);
int setSignalMask(HeldAttributes* held, const MacSignalSet* signals);
/// posix_spawn. A program for a Mac is started by the launcher; its name for itself is then its
/// path.
int spawn(pid_t* child, const char* path, const HeldFileActions* actions,
          const HeldAttributes* attributes, char* const arguments[], char* const environment[]);

} // namespace mac_program
