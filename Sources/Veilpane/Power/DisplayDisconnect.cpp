#include "Veilpane/Power/DisplayDisconnect.h"

#include "Veilpane/Power/RememberedDisplays.h"
#include "Veilpane/WindowServer/DisplayLists.h"
#include "Veilpane/WindowServer/DisplayTransaction.h"
#include "Veilpane/WindowServer/SkyLight.h"

#include <algorithm>

namespace veilpane {

namespace {

std::unexpected<DisconnectError> failure(DisconnectError::Reason reason, std::int32_t code = 0) {
    return std::unexpected(DisconnectError{reason, code});
}

bool contains(const std::vector<CGDirectDisplayID>& displays, CGDirectDisplayID displayID) {
    return std::ranges::find(displays, displayID) != displays.end();
}

/// What the window server is asked for.
struct Change {
    SkyLight::ConfigureDisplayEnabled configure;
    bool enabled;
    CGDirectDisplayID displayID;
};

// A configuration with the change in it, to be completed.
std::expected<DisplayTransaction, DisconnectError> prepare(const Change& change) {
    auto transaction = DisplayTransaction::begin();
    if (!transaction) {
        return failure(DisconnectError::Reason::configFailed, transaction.error());
    }
    if (const CGError error =
            change.configure(transaction->get(), change.displayID, change.enabled);
        error != kCGErrorSuccess) {
        return failure(DisconnectError::Reason::slsFailed, error);
    }
    return std::move(*transaction);
}

// Some configurations are refused a permanent change but granted one for the session. The first
// configuration is spent by its failed completion, so a second one is begun. Where that is
// impossible, the first failure is the one to tell of.
std::expected<void, DisconnectError> applyForSession(const Change& change, CGError permanentError) {
    auto transaction = prepare(change);
    if (!transaction) {
        return transaction.error().reason == DisconnectError::Reason::configFailed
                   ? failure(DisconnectError::Reason::configFailed, permanentError)
                   : std::unexpected(transaction.error());
    }
    if (const CGError error = transaction->completeOrCancel(kCGConfigureForSession);
        error != kCGErrorSuccess) {
        return failure(DisconnectError::Reason::configFailed, error);
    }
    return {};
}

std::expected<void, DisconnectError> apply(const Change& change) {
    auto transaction = prepare(change);
    if (!transaction) {
        return std::unexpected(transaction.error());
    }
    if (const CGError error = transaction->complete(kCGConfigurePermanently);
        error != kCGErrorSuccess) {
        return applyForSession(change, error);
    }
    return {};
}

} // namespace

std::string DisconnectError::description() const {
    switch (reason) {
    case Reason::configFailed:
        return "显示配置失败 CGError " + std::to_string(code);
    case Reason::slsFailed:
        return "SLSConfigureDisplayEnabled 失败 CGError " + std::to_string(code);
    case Reason::unavailable:
        return "SLSConfigureDisplayEnabled 不可用（需要 Apple Silicon + SkyLight）";
    case Reason::wouldLeaveNoDisplay:
        return "拒绝断开：会没有可用显示器";
    case Reason::mainDisplayForbidden:
        return "主屏禁止关闭";
    }
    return {};
}

std::expected<void, DisconnectError> DisplayDisconnect::setEnabled(bool enabled,
                                                                   CGDirectDisplayID displayID) {
    const auto configure = SkyLight::configureDisplayEnabled();
    if (configure == nullptr) {
        return failure(DisconnectError::Reason::unavailable);
    }
    if (auto applied = apply({configure, enabled, displayID}); !applied) {
        return applied;
    }
    if (enabled) {
        RememberedDisplays::shared().forget(displayID);
    } else {
        RememberedDisplays::shared().remember(displayID);
    }
    return {};
}

std::vector<CGDirectDisplayID> DisplayDisconnect::allDisplayIDs() {
    if (auto known = knownDisplays()) {
        return std::move(*known);
    }
    return onlineDisplays(inventoryCapacity).value_or(std::vector<CGDirectDisplayID>());
}

bool DisplayDisconnect::isSoftDisconnected(CGDirectDisplayID displayID) {
    if (!contains(allDisplayIDs(), displayID)) {
        return false;
    }
    const auto online = onlineDisplays(inventoryCapacity);
    return !online || !contains(*online, displayID);
}

std::set<CGDirectDisplayID> DisplayDisconnect::ourDisconnectedIDs() {
    // As a plain function the condition would bring type information that the program shares with
    // the system's C++ library.
    RememberedDisplays::shared().keepOnly(
        [](CGDirectDisplayID displayID) { return isSoftDisconnected(displayID); });
    return RememberedDisplays::shared().all();
}

bool DisplayDisconnect::isDisconnectedByUs(CGDirectDisplayID displayID) {
    return RememberedDisplays::shared().contains(displayID) && isSoftDisconnected(displayID);
}

} // namespace veilpane
