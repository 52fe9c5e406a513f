// What a launch is told besides its arguments: file actions and attributes, which hold memory until
// they are destroyed. The linker redirects the program's own calls (--wrap), which go to the real
// functions; they are only kept account of.

#include "SimulatedMac/World/Ledger.h"

#include <spawn.h>

using namespace simulated_mac;

extern "C" {

int __real_posix_spawn_file_actions_init(posix_spawn_file_actions_t* actions);
int __real_posix_spawn_file_actions_destroy(posix_spawn_file_actions_t* actions);
int __real_posix_spawnattr_init(posix_spawnattr_t* attributes);
int __real_posix_spawnattr_destroy(posix_spawnattr_t* attributes);
int __wrap_posix_spawn_file_actions_init(posix_spawn_file_actions_t* actions);
int __wrap_posix_spawn_file_actions_destroy(posix_spawn_file_actions_t* actions);
int __wrap_posix_spawnattr_init(posix_spawnattr_t* attributes);
int __wrap_posix_spawnattr_destroy(posix_spawnattr_t* attributes);

int __wrap_posix_spawn_file_actions_init(posix_spawn_file_actions_t* actions) {
    ledger::opened(Resource::fileActions, ledger::handle(actions), "file actions of a launch");
    return __real_posix_spawn_file_actions_init(actions);
}

int __wrap_posix_spawn_file_actions_destroy(posix_spawn_file_actions_t* actions) {
    ledger::closed(Resource::fileActions, ledger::handle(actions),
                   "posix_spawn_file_actions_destroy");
    return __real_posix_spawn_file_actions_destroy(actions);
}

int __wrap_posix_spawnattr_init(posix_spawnattr_t* attributes) {
    ledger::opened(Resource::spawnAttributes, ledger::handle(attributes), "attributes of a launch");
    return __real_posix_spawnattr_init(attributes);
}

int __wrap_posix_spawnattr_destroy(posix_spawnattr_t* attributes) {
    ledger::closed(Resource::spawnAttributes, ledger::handle(attributes),
                   "posix_spawnattr_destroy");
    return __real_posix_spawnattr_destroy(attributes);
}

} // extern "C"
