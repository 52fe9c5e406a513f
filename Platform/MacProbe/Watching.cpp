#include "MacProbe/Watching.h"

#include "MacProbe/Arrangement.h"
#include "MacProbe/CommandLine.h"
#include "Veilpane/WindowServer/SkyLight.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <poll.h>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace macprobe {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

volatile std::sig_atomic_t sessionEnds = 0;

void noteEndOfSession(int) {
    sessionEnds = 1;
}

// Whatever is meant for a person's own programs is not meant for this one, apart from the end of
// the session, before which it hurries.
void outliveTheTerminal() {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE}) {
        std::signal(signal, SIG_IGN);
    }
    std::signal(SIGTERM, noteEndOfSession);
}

enum class Sign { none, life, dismissal, endOfFile };

// A signal that comes just before the waiting is seen when the slice is over.
constexpr milliseconds slice(100);

Sign signWithin(int input, milliseconds time) {
    pollfd waiting = {input, POLLIN, 0};
    if (poll(&waiting, 1, static_cast<int>(std::min(time, slice).count())) <= 0) {
        return Sign::none;
    }
    std::array<char, 64> signs = {};
    const ssize_t count = read(input, signs.data(), signs.size());
    if (count <= 0) {
        return Sign::endOfFile;
    }
    const std::string_view told(signs.data(), static_cast<std::size_t>(count));
    return told.contains(dismissal) ? Sign::dismissal : Sign::life;
}

/// Whether the other process has said itself that all is well.
bool isDismissed(int input, milliseconds withoutLife) {
    auto end = Clock::now() + withoutLife;
    bool isOpen = true;
    while (sessionEnds == 0 && Clock::now() < end) {
        const auto left =
            std::chrono::duration_cast<milliseconds>(end - Clock::now()) + milliseconds(1);
        if (!isOpen) {
            std::this_thread::sleep_for(std::min(left, slice));
            continue;
        }
        const Sign sign = signWithin(input, left);
        if (sign == Sign::dismissal) {
            return true;
        }
        isOpen = sign != Sign::endOfFile;
        end = sign == Sign::life ? Clock::now() + withoutLife : end;
    }
    return false;
}

// A process that hangs must not go on switching when the display is back. It is this one's parent
// for as long as it lives.
void endWatched(pid_t watched, milliseconds most) {
    const auto end = Clock::now() + most;
    if (getppid() == watched) {
        kill(watched, SIGKILL);
    }
    while (getppid() == watched && Clock::now() < end) {
        std::this_thread::sleep_for(milliseconds(1));
    }
}

int bringBackAtLast(CGDirectDisplayID display, const Arrangement& before,
                    const Patience& patience) {
    for (int attempt = 0; attempt < patience.attempts; ++attempt) {
        if (bringBack(display, before)) {
            return exitDone;
        }
        std::this_thread::sleep_for(patience.betweenAttempts);
    }
    return exitFailed;
}

} // namespace

int watchOver(CGDirectDisplayID display, int input, int output, const Patience& patience) {
    const pid_t watched = getppid();
    outliveTheTerminal();
    const Arrangement before = Arrangement::now();
    const bool canBringBack = contains(before.online, display) &&
                              veilpane::SkyLight::configureDisplayEnabled() != nullptr;
    if (!canBringBack || write(output, &watcherIsReady, 1) != 1) {
        return exitFailed;
    }
    if (isDismissed(input, patience.withoutLife)) {
        return exitDone;
    }
    endWatched(watched, patience.withoutLife);
    return bringBackAtLast(display, before, patience);
}

} // namespace macprobe
