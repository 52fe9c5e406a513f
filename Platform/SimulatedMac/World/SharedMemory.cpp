#include "SimulatedMac/World/SharedMemory.h"

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/StateDirectory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace simulated_mac {
namespace {

constexpr std::size_t mostBytes = std::size_t{32} << 20; // reserved, not used, until it is written

[[noreturn]] void complainOf(const char* what) {
    complain(std::string(what) + ": " + std::strerror(errno));
}

// A file without a name: its record locks tell processes apart and end with them.
int unnamedFile() {
    std::string name = std::filesystem::temp_directory_path() / "simulated-mac-lock-XXXXXX";
    const int file = mkstemp(name.data());
    if (file < 0) {
        complainOf(name.c_str());
    }
    (void)unlink(name.c_str());
    (void)fcntl(file, F_SETFD, FD_CLOEXEC);
    return file;
}

void setLock(int file, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    while (fcntl(file, F_SETLKW, &lock) != 0) {
        if (errno != EINTR) {
            complainOf("lock");
        }
    }
}

std::filesystem::path newTemporaryDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "simulated-mac-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        complainOf(name.c_str());
    }
    return name;
}

} // namespace

struct SharedMemory::Entry {
    std::atomic<std::uint64_t> version = 0;
    bool exists = false;
    std::size_t size = 0;
    std::array<char, mostBytes> bytes;

    [[nodiscard]] std::string_view content() const { return {bytes.data(), size}; }

    void add(std::string_view more, const char* name) {
        if (more.size() > mostBytes - size) {
            complain(std::string(name) + ": would be too large");
        }
        std::ranges::copy(more, bytes.begin() + static_cast<std::ptrdiff_t>(size));
        size += more.size();
        exists = true;
        ++version;
    }

    void clear() {
        size = 0;
        exists = false;
        ++version;
    }
};

struct SharedMemory::Region {
    static constexpr auto names =
        std::to_array<std::string_view>({stateFile, defaultsFile, processesFile, logFile});
    std::array<Entry, names.size()> entries;
};

SharedMemory::SharedMemory() : lockFile_(unnamedFile()) {
    void* const memory = mmap(nullptr, sizeof(Region), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        complainOf("mmap");
    }
    region_ = new (memory) Region;
}

SharedMemory::~SharedMemory() {
    munmap(region_, sizeof(Region));
    close(lockFile_);
    if (copy_ && copyOwner_ == getpid()) {
        std::error_code ignored;
        std::filesystem::remove_all(*copy_, ignored);
    }
}

SharedMemory::Entry& SharedMemory::entry(const char* name) const {
    const auto found = std::ranges::find(Region::names, std::string_view(name));
    return region_->entries.at(static_cast<std::size_t>(found - Region::names.begin()));
}

std::string SharedMemory::directoryForPrograms() {
    if (!copy_ || copyOwner_ != getpid()) {
        copy_ = newTemporaryDirectory();
        copyOwner_ = getpid();
    }
    const StateDirectory directory(*copy_);
    directory.replaceAll({{defaultsFile, read(defaultsFile)}, {stateFile, read(stateFile)}});
    return *copy_;
}

void SharedMemory::locked(const std::function<void()>& action) const {
    if (lockDepth_++ == 0) {
        setLock(lockFile_, F_WRLCK);
    }
    const auto unlock = [this] {
        if (--lockDepth_ == 0) {
            setLock(lockFile_, F_UNLCK);
        }
    };
    try {
        action();
    } catch (...) {
        unlock();
        throw;
    }
    unlock();
}

bool SharedMemory::exists(const char* name) const {
    return entry(name).exists;
}

nlohmann::json SharedMemory::read(const char* name) const {
    nlohmann::json content;
    locked([&] {
        if (exists(name)) {
            content = nlohmann::json::from_cbor(entry(name).content());
        }
    });
    return content;
}

std::vector<std::string> SharedMemory::readLines(const char* name) const {
    std::vector<std::string> lines;
    locked([&] {
        const std::string_view text = entry(name).content();
        std::size_t begin = 0;
        for (auto end = text.find('\n'); end != std::string_view::npos;
             end = text.find('\n', begin)) {
            lines.emplace_back(text.substr(begin, end - begin));
            begin = end + 1;
        }
    });
    return lines;
}

void SharedMemory::replaceAll(std::initializer_list<NewContent> entries) const {
    locked([&] {
        for (const NewContent& written : entries) {
            std::string bytes;
            nlohmann::json::to_cbor(written.content, bytes);
            entry(written.name).clear();
            entry(written.name).add(bytes, written.name);
        }
    });
}

void SharedMemory::append(const char* name, const std::string& lines) const {
    locked([&] { entry(name).add(lines, name); });
}

void SharedMemory::requireAppendable(const char* /*name*/) const {}

void SharedMemory::remove(const char* name) const {
    locked([&] { entry(name).clear(); });
}

StateStore::Version SharedMemory::versionOf(const char* name) const {
    return {entry(name).version};
}

} // namespace simulated_mac
