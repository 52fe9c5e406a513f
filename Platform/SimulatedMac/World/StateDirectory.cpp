#include "SimulatedMac/World/StateDirectory.h"

#include "SimulatedMac/World/Complaint.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simulated_mac {
namespace {

[[noreturn]] void complainOf(const std::string& file, int error) {
    complain(file + ": " + std::strerror(error));
}

class OpenFile {
public:
    OpenFile(const std::string& name, int flags)
        : name_(name), fd_(open(name.c_str(), flags, 0666)) {
        if (fd_ < 0) {
            complainOf(name, errno);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { close(fd_); }

    void lock() const {
        while (flock(fd_, LOCK_EX) != 0) {
            if (errno != EINTR) {
                complainOf(name_, errno);
            }
        }
    }

    /// 0, or the error; what was written before it stays.
    [[nodiscard]] int write(const std::string& text) const {
        std::size_t written = 0;
        while (written < text.size()) {
            const ssize_t count = ::write(fd_, text.data() + written, text.size() - written);
            if (count < 0 && errno != EINTR) {
                return errno;
            }
            written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        return 0;
    }

    [[nodiscard]] off_t size() const { return lseek(fd_, 0, SEEK_END); }
    [[nodiscard]] int cutTo(off_t size) const { return ftruncate(fd_, size); }

private:
    std::string name_;
    int fd_;
};

} // namespace

StateDirectory::StateDirectory(std::string path) : path_(std::move(path)) {
    std::error_code error;
    std::filesystem::create_directories(path_, error);
    if (error || !std::filesystem::is_directory(path_)) {
        complain(path_ + ": " + (error ? error.message() : "not a directory"));
    }
}

void StateDirectory::locked(const std::function<void()>& action) const {
    const OpenFile lock(file("lock"), O_RDWR | O_CREAT | O_CLOEXEC);
    lock.lock();
    action();
}

bool StateDirectory::exists(const char* name) const {
    return std::filesystem::exists(file(name));
}

std::string StateDirectory::readText(const char* name) const {
    std::ifstream stream(file(name), std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

nlohmann::json StateDirectory::read(const char* name) const {
    if (!exists(name)) {
        return nullptr;
    }
    const auto content = nlohmann::json::parse(readText(name), nullptr, false);
    if (content.is_discarded()) {
        complain(file(name) + ": not valid JSON");
    }
    return content;
}

void StateDirectory::replace(const char* name, const nlohmann::json& content) const {
    const std::string temporary = file(name) + ".new";
    int error = 0;
    {
        const OpenFile output(temporary, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
        error = output.write(content.dump(1) + "\n");
    }
    if (error == 0 && rename(temporary.c_str(), file(name).c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(temporary.c_str());
        complainOf(file(name), error);
    }
}

void StateDirectory::append(const char* name, const std::string& lines) const {
    const OpenFile output(file(name), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC);
    const off_t before = output.size();
    if (const int error = output.write(lines); error != 0) {
        // A cut line would make the whole log unreadable.
        (void)output.cutTo(before);
        complainOf(file(name), error);
    }
}

void StateDirectory::remove(const char* name) const {
    if (unlink(file(name).c_str()) != 0 && errno != ENOENT) {
        complainOf(file(name), errno);
    }
}

std::string StateDirectory::versionOf(const char* name) const {
    struct stat status = {};
    if (stat(file(name).c_str(), &status) != 0) {
        return {};
    }
    std::error_code ignored;
    const std::chrono::nanoseconds written =
        std::filesystem::last_write_time(file(name), ignored).time_since_epoch();
    return std::to_string(status.st_ino) + " " + std::to_string(written.count()) + " " +
           std::to_string(status.st_size);
}

} // namespace simulated_mac
