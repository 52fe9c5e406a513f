#include "Safety/CapturedOutput.h"

#include <cerrno>
#include <cstdio>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace safety {

CapturedOutput::CapturedOutput()
    : file_(memfd_create("standard output", MFD_CLOEXEC)), standardOutput_(dup(STDOUT_FILENO)) {
    (void)std::fflush(stdout);
    if (file_ < 0 || dup2(file_, STDOUT_FILENO) < 0) {
        throw std::system_error(errno, std::generic_category(), "standard output");
    }
}

CapturedOutput::~CapturedOutput() {
    (void)std::fflush(stdout);
    (void)dup2(standardOutput_, STDOUT_FILENO);
    close(standardOutput_);
    close(file_);
}

std::string CapturedOutput::text() const {
    (void)std::fflush(stdout);
    const off_t size = lseek(file_, 0, SEEK_END);
    std::string text(size < 0 ? 0 : static_cast<std::size_t>(size), '\0');
    const ssize_t count = pread(file_, text.data(), text.size(), 0);
    text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return text;
}

} // namespace safety
