// Prints as JSON what it was started with: the signals that it ignores or that are blocked, the
// descriptors that are open, and where its output goes. It is linked with no library that could
// change them before main.

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

using Question = bool (*)(int number);

bool isIgnored(int signal) {
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

bool isBlocked(int signal) {
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

bool isOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
}

bool isWritable(int descriptor) {
    const int flags = fcntl(descriptor, F_GETFL);
    return flags != -1 && (flags & O_ACCMODE) != O_RDONLY;
}

bool isDiscarded(int descriptor) {
    struct stat open = {};
    struct stat null = {};
    return fstat(descriptor, &open) == 0 && stat("/dev/null", &null) == 0 &&
           open.st_rdev == null.st_rdev && S_ISCHR(open.st_mode);
}

void printNumbers(const char* name, int first, int end, Question question) {
    std::printf("\"%s\": [", name);
    const char* separator = "";
    for (int number = first; number < end; ++number) {
        if (question(number)) {
            std::printf("%s%d", separator, number);
            separator = ", ";
        }
    }
    std::printf("]");
}

} // namespace

int main() {
    std::printf("{");
    printNumbers("ignoredSignals", 1, NSIG, isIgnored);
    std::printf(", ");
    printNumbers("blockedSignals", 1, NSIG, isBlocked);
    std::printf(", ");
    printNumbers("descriptors", 0, 256, isOpen);
    std::printf(", ");
    printNumbers("writableOutputs", 1, 3, isWritable);
    std::printf(", ");
    printNumbers("discardedOutputs", 1, 3, isDiscarded);
    std::printf("}\n");
    return 0;
}
