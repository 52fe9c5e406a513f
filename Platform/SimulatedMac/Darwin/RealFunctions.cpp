// The real functions under the names that the simulated Mac calls them by.

#include <dlfcn.h>
#include <spawn.h>

extern "C" {

void* __real_dlopen(const char* path, int mode);
void* __real_dlsym(void* library, const char* symbol);
int __real_dlclose(void* library);
int __real_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const argv[], char* const envp[]);

void* __real_dlopen(const char* path, int mode) {
    return dlopen(path, mode);
}

void* __real_dlsym(void* library, const char* symbol) {
    return dlsym(library, symbol);
}

int __real_dlclose(void* library) {
    return dlclose(library);
}

int __real_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const argv[],
                       char* const envp[]) {
    return posix_spawn(pid, path, actions, attributes, argv, envp);
}

} // extern "C"
