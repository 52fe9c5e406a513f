#include "SimulatedMac/World/TextFile.h"

#include "SimulatedMac/World/InputError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace simulated_mac {
namespace {

[[noreturn]] void rejectFor(int error, const std::string& file) {
    const bool dangling = error == ENOENT && isDanglingLink(file);
    throw InputError(file + ": " + (dangling ? "a link to nothing" : std::strerror(error)));
}

[[noreturn]] void rejectSize(const std::string& file, std::size_t largest) {
    throw InputError(file + ": larger than " + std::to_string(largest >> 20) + " MiB");
}

class ReadableFile {
public:
    // Without O_NONBLOCK a pipe that takes the file's place at this moment would be waited for.
    explicit ReadableFile(const std::string& name)
        : name_(name), fd_(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
        if (fd_ < 0) {
            rejectFor(errno, name_);
        }
    }
    ReadableFile(const ReadableFile&) = delete;
    ReadableFile& operator=(const ReadableFile&) = delete;
    ~ReadableFile() { close(fd_); }

    [[nodiscard]] struct stat status() const {
        struct stat status = {};
        if (fstat(fd_, &status) != 0) {
            rejectFor(errno, name_);
        }
        return status;
    }

    /// The next bytes of the file; none at its end.
    [[nodiscard]] std::string readMore() const {
        std::string bytes(std::size_t{1} << 16, '\0');
        ssize_t count = -1;
        do {
            count = read(fd_, bytes.data(), bytes.size());
        } while (count < 0 && errno == EINTR);
        if (count < 0) {
            rejectFor(errno, name_);
        }
        bytes.resize(static_cast<std::size_t>(count));
        return bytes;
    }

private:
    std::string name_;
    int fd_;
};

} // namespace

void requireRegular(const struct stat& status, const std::string& file) {
    if (S_ISDIR(status.st_mode)) {
        throw InputError(file + ": " + std::strerror(EISDIR));
    }
    if (!S_ISREG(status.st_mode)) {
        throw InputError(file + ": not a regular file");
    }
}

bool isDanglingLink(const std::string& file) {
    struct stat status = {};
    return lstat(file.c_str(), &status) == 0 && S_ISLNK(status.st_mode) &&
           stat(file.c_str(), &status) != 0 && errno == ENOENT;
}

std::string readTextFile(const std::string& file, std::size_t largest) {
    struct stat status = {};
    // Opening a device may already do something.
    if (stat(file.c_str(), &status) != 0) {
        rejectFor(errno, file);
    }
    requireRegular(status, file);
    const ReadableFile readable(file);
    status = readable.status();
    requireRegular(status, file);
    if (static_cast<std::size_t>(status.st_size) > largest) {
        rejectSize(file, largest);
    }
    std::string content;
    for (std::string more = readable.readMore(); !more.empty(); more = readable.readMore()) {
        content += more;
        if (content.size() > largest) {
            rejectSize(file, largest);
        }
    }
    return content;
}

} // namespace simulated_mac
