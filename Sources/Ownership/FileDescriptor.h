#pragma once

#include <unistd.h>
#include <utility>

namespace veilpane {

/// Owns an open file descriptor. A negative one, as a failed system call returns it, is none.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        FileDescriptor(std::move(other)).swap(*this);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

    /// Closes it now instead of at the end of the scope.
    void reset() {
        if (const int descriptor = std::exchange(descriptor_, -1); descriptor >= 0) {
            close(descriptor);
        }
    }

    void swap(FileDescriptor& other) noexcept { std::swap(descriptor_, other.descriptor_); }

private:
    int descriptor_;
};

} // namespace veilpane
