#include "Safety/Forked.h"

#include "SimulatedMac/World/Mac.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace safety {

struct Forked::Page {
    std::size_t size = 0;
    std::array<char, std::size_t{1} << 20> text; ///< reserved, not used, until it is written
};

Forked::Forked() {
    void* const memory =
        mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "mmap");
    }
    page_ = new (memory) Page;
}

Forked::~Forked() {
    munmap(page_, sizeof(Page));
}

Forked::End Forked::run(const std::function<std::string()>& body) {
    start(body);
    return end();
}

void Forked::start(const std::function<std::string()>& body) {
    page_->size = 0;
    child_ = fork();
    if (child_ < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child_ == 0) {
        alarm(secondsToHang);
        const std::string text = body();
        page_->size = std::min(text.size(), page_->text.size());
        std::copy_n(text.begin(), page_->size, page_->text.begin());
        simulated_mac::Mac::shutDown();
        _exit(0);
    }
}

Forked::End Forked::end() {
    int status = 0;
    while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
    }
    return {std::string(page_->text.data(), page_->size),
            WIFSIGNALED(status) ? WTERMSIG(status) : 0,
            WIFEXITED(status) ? WEXITSTATUS(status) : 0};
}

} // namespace safety
