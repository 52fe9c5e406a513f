// The real functions under the names that the simulated Mac calls them by.

#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {

void* __real_dlopen(const char* path, int mode);
void* __real_dlsym(void* library, const char* symbol);
int __real_dlclose(void* library);
int __real_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const argv[], char* const envp[]);
int __real_posix_spawn_file_actions_init(posix_spawn_file_actions_t* actions);
int __real_posix_spawn_file_actions_destroy(posix_spawn_file_actions_t* actions);
int __real_posix_spawnattr_init(posix_spawnattr_t* attributes);
int __real_posix_spawnattr_destroy(posix_spawnattr_t* attributes);
int __real_pipe(int ends[2]);
int __real_fcntl(int descriptor, int command, ...);
ssize_t __real_read(int descriptor, void* buffer, size_t size);
pid_t __real_waitpid(pid_t pid, int* status, int options);

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

int __real_posix_spawn_file_actions_init(posix_spawn_file_actions_t* actions) {
    return posix_spawn_file_actions_init(actions);
}

int __real_posix_spawn_file_actions_destroy(posix_spawn_file_actions_t* actions) {
    return posix_spawn_file_actions_destroy(actions);
}

int __real_posix_spawnattr_init(posix_spawnattr_t* attributes) {
    return posix_spawnattr_init(attributes);
}

int __real_posix_spawnattr_destroy(posix_spawnattr_t* attributes) {
    return posix_spawnattr_destroy(attributes);
}

int __real_pipe(int ends[2]) {
    return pipe(ends);
}

// Every command takes at most one argument, of the size of a pointer or less.
int __real_fcntl(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return fcntl(descriptor, command, argument);
}

ssize_t __real_read(int descriptor, void* buffer, size_t size) {
    return read(descriptor, buffer, size);
}

pid_t __real_waitpid(pid_t pid, int* status, int options) {
    return waitpid(pid, status, options);
}

} // extern "C"
