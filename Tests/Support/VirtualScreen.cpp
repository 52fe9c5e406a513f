#include "Support/VirtualScreen.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void becomeServer(int displayNumberEnd) {
    // It must not outlive a test that crashes.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    const std::string descriptor = std::to_string(displayNumberEnd);
    execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "1280x800x24",
           "-nolisten", "tcp", "-noreset", nullptr);
    _exit(127);
}

// The server writes its display number when it is ready.
std::string displayNumber(int end) {
    std::string number;
    for (char character = 0; read(end, &character, 1) == 1 && character != '\n';) {
        number += character;
    }
    return number;
}

constexpr const char* readyDisplay = "VEILPANE_TEST_DISPLAY";

} // namespace

VirtualScreen::VirtualScreen() {
    if (const char* const ready = std::getenv(readyDisplay)) {
        display_ = ready;
        use();
        return;
    }
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    server_ = fork();
    if (server_ == 0) {
        close(ends[0]);
        becomeServer(ends[1]);
    }
    close(ends[1]);
    const std::string number = displayNumber(ends[0]);
    close(ends[0]);
    if (number.empty()) {
        throw std::runtime_error("Xvfb does not start; is it installed?");
    }
    display_ = ":" + number;
    setenv("DISPLAY", display_.c_str(), 1);
}

VirtualScreen::~VirtualScreen() {
    if (server_ != 0) {
        kill(server_, SIGTERM);
        waitpid(server_, nullptr, 0);
    }
}

void VirtualScreen::use() const {
    setenv(readyDisplay, display_.c_str(), 1);
    setenv("DISPLAY", display_.c_str(), 1);
}
