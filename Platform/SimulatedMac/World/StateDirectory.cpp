#include "SimulatedMac/World/StateDirectory.h"

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Field.h"
#include "SimulatedMac/World/InputError.h"
#include "SimulatedMac/World/JsonText.h"
#include "SimulatedMac/World/TextFile.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <list>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simulated_mac {
namespace {

[[noreturn]] void throwFileError(int error, const std::string& file) {
    throw InputError(file + ": " + std::strerror(error));
}

bool isThere(const std::string& file) {
    struct stat status = {};
    if (lstat(file.c_str(), &status) == 0) {
        return true;
    }
    if (errno == ENOTDIR) {
        throwFileError(errno, std::filesystem::path(file).parent_path());
    }
    if (errno != ENOENT) {
        throwFileError(errno, file);
    }
    return false;
}

void createDirectories(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (isDanglingLink(path)) {
        throw InputError(path + ": a link to nothing");
    }
    if (error || !std::filesystem::is_directory(path, error)) {
        throwFileError(error ? error.value() : ENOTDIR, path);
    }
}

class OpenFile {
public:
    OpenFile(const std::string& name, int flags) : OpenFile(name, flags, name) {}
    /// What goes wrong after the opening is told of the file that it is `meantFor`.
    OpenFile(const std::string& name, int flags, std::string meantFor)
        : name_(std::move(meantFor)), fd_(open(name.c_str(), flags | O_CREAT | O_CLOEXEC, 0666)) {
        if (fd_ < 0) {
            throwFileError(errno, name);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { close(fd_); }

    void lock() const {
        while (flock(fd_, LOCK_EX) != 0) {
            if (errno != EINTR) {
                throwFileError(errno, name_);
            }
        }
    }

    /// What was written before an error stays.
    void write(const std::string& text) const {
        std::size_t written = 0;
        while (written < text.size()) {
            const ssize_t count = ::write(fd_, text.data() + written, text.size() - written);
            if (count < 0 && errno != EINTR) {
                throwFileError(errno, name_);
            }
            written += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
    }

    /// The size without a last line that lacks its end.
    [[nodiscard]] off_t sizeOfWholeLines() const {
        off_t size = lseek(fd_, 0, SEEK_END);
        char last = 0;
        while (size > 0 && pread(fd_, &last, 1, size - 1) == 1 && last != '\n') {
            --size;
        }
        return size;
    }

    void cutTo(off_t size) const {
        if (ftruncate(fd_, size) != 0) {
            throwFileError(errno, name_);
        }
    }

private:
    std::string name_;
    int fd_;
};

void requireAccess(const std::string& path, const std::string& file) {
    if (access(path.c_str(), W_OK) != 0) {
        throwFileError(errno, file);
    }
}

/// The file can be made, or is a regular one: a pipe would be waited for.
void requireWritable(const std::string& file) {
    if (!isThere(file)) {
        return requireAccess(std::filesystem::path(file).parent_path(), file);
    }
    struct stat status = {};
    if (isDanglingLink(file)) {
        throw InputError(file + ": a link to nothing");
    }
    if (stat(file.c_str(), &status) != 0) {
        throwFileError(errno, file);
    }
    requireRegular(status, file);
    requireAccess(file, file);
}

/// The new content of a file, beside it until it takes its place.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::string& file) : file_(file), temporary_(file + ".new") {}
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile() { unlink(temporary_.c_str()); }

    void write(const nlohmann::json& content) const {
        const std::string text =
            content.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
        if (text.size() > largestFile) {
            throw InputError(file_ + ": would be too large to be read again");
        }
        // Left behind by a process that was killed.
        unlink(temporary_.c_str());
        const OpenFile output(temporary_, O_WRONLY | O_EXCL, file_);
        output.write(text);
    }

    void finish() const {
        if (rename(temporary_.c_str(), file_.c_str()) != 0) {
            throwFileError(errno, file_);
        }
    }

private:
    std::string file_;
    std::string temporary_;
};

} // namespace

void StateDirectory::locked(const std::function<void()>& action) const {
    orComplain([&] {
        createDirectories(path_);
        requireWritable(place("lock"));
        const OpenFile lock(place("lock"), O_RDWR);
        lock.lock();
        action();
    });
}

bool StateDirectory::exists(const char* name) const {
    return orComplain([&] { return isThere(place(name)); });
}

nlohmann::json StateDirectory::read(const char* name) const {
    return orComplain([&]() -> nlohmann::json {
        if (!isThere(place(name))) {
            return nullptr;
        }
        nlohmann::json content = parseJson(readTextFile(place(name)), place(name));
        Field(content, place(name)).require(content.is_object(), "an object");
        return content;
    });
}

std::vector<std::string> StateDirectory::readLines(const char* name) const {
    return orComplain([&] {
        std::vector<std::string> lines;
        const std::string text = isThere(place(name)) ? readTextFile(place(name), largestLog) : "";
        std::size_t begin = 0;
        for (std::size_t end = text.find('\n'); end != std::string::npos;
             end = text.find('\n', begin)) {
            lines.push_back(text.substr(begin, end - begin));
            begin = end + 1;
        }
        return lines;
    });
}

void StateDirectory::replaceAll(std::initializer_list<NewContent> entries) const {
    orComplain([&] {
        std::list<UnfinishedFile> unfinished;
        for (const NewContent& newContent : entries) {
            unfinished.emplace_back(place(newContent.name)).write(newContent.content);
        }
        for (const UnfinishedFile& written : unfinished) {
            written.finish();
        }
    });
}

void StateDirectory::append(const char* name, const std::string& lines) const {
    orComplain([&] {
        requireWritable(place(name));
        const OpenFile output(place(name), O_RDWR | O_APPEND);
        // Another process may be in the middle of a line.
        output.lock();
        const off_t before = output.sizeOfWholeLines();
        output.cutTo(before);
        try {
            output.write(lines);
        } catch (const InputError&) {
            output.cutTo(before);
            throw;
        }
    });
}

void StateDirectory::requireAppendable(const char* name) const {
    orComplain([&] { requireWritable(place(name)); });
}

void StateDirectory::remove(const char* name) const {
    if (unlink(place(name).c_str()) != 0 && errno != ENOENT) {
        complain(place(name) + ": " + std::strerror(errno));
    }
}

StateStore::Version StateDirectory::versionOf(const char* name) const {
    struct stat status = {};
    if (stat(place(name).c_str(), &status) != 0) {
        return {};
    }
    std::error_code ignored;
    const std::chrono::nanoseconds written =
        std::filesystem::last_write_time(place(name), ignored).time_since_epoch();
    return {static_cast<std::uint64_t>(status.st_ino), static_cast<std::uint64_t>(written.count()),
            static_cast<std::uint64_t>(status.st_size)};
}

} // namespace simulated_mac
