#include "Veilpane/Power/DisplayPower.h"

#include "CDdc/ddc.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DDCPower.h"
#include "Veilpane/Power/DisplayDisconnect.h"
#include "Veilpane/WindowServer/DisplayLists.h"
#include "Veilpane/WindowServer/SkyLight.h"

#include <optional>
#include <utility>

namespace veilpane {

namespace {

bool isUnderBlackout(CGDirectDisplayID displayID) {
    return BlackoutController::shared().isBlackedOut(displayID);
}

void releaseBlackout(CGDirectDisplayID displayID) {
    BlackoutController::shared().restore(displayID);
}

// A monitor that DDC put in standby shows nothing until it is woken.
void wakeMonitor(CGDirectDisplayID displayID) {
    if (ddc_can_control(displayID) == 0) {
        return;
    }
    try {
        DDC::setPower(true, displayID);
    } catch (const DDCError&) {
        // The display is on as far as the Mac goes; its own button does the rest.
    }
}

// Asked for twice: a disconnect that fails may take seconds, in which the display may become main.
std::optional<PowerResult> refusalForMain(CGDirectDisplayID displayID) {
    if (CGDisplayIsMain(displayID) == 0) {
        return std::nullopt;
    }
    return PowerResult{PowerMethod::disconnect, false, "主屏禁止关闭，已阻止"};
}

PowerResult reconnect(CGDirectDisplayID displayID) {
    if (const auto enabled = DisplayDisconnect::setEnabled(true, displayID); !enabled) {
        return {PowerMethod::disconnect, false, "重连失败：" + enabled.error().description()};
    }
    releaseBlackout(displayID);
    return {PowerMethod::disconnect, true, "已重新连接显示器"};
}

PowerResult endBlackout(CGDirectDisplayID displayID) {
    releaseBlackout(displayID);
    wakeMonitor(displayID);
    return {PowerMethod::blackout, true, "已解除 BlackOut，显示器恢复显示"};
}

PowerResult switchOn(CGDirectDisplayID displayID) {
    if (!SkyLight::isAvailable()) {
        releaseBlackout(displayID);
        return {PowerMethod::blackout, true, "已恢复显示"};
    }
    const auto enabled = DisplayDisconnect::setEnabled(true, displayID);
    releaseBlackout(displayID);
    if (!enabled) {
        return {PowerMethod::blackout, true,
                "SLS 重连失败（" + enabled.error().description() + "），已恢复软件显示"};
    }
    wakeMonitor(displayID);
    return {PowerMethod::disconnect, true, "已重新连接显示器（SLS）"};
}

PowerResult blackOut(CGDirectDisplayID displayID) {
    BlackoutController::shared().blackout(displayID);
    if (!isUnderBlackout(displayID)) {
        return {PowerMethod::blackout, false, "无法在该显示器上启动 BlackOut"};
    }
    return {PowerMethod::blackout, true, "BlackOut：镜像 + Gamma 归零（软件兜底）"};
}

PowerResult turnOffFallback(CGDirectDisplayID displayID) {
    if (ddc_can_control(displayID) == 0) {
        return blackOut(displayID);
    }
    try {
        DDC::setPower(false, displayID);
        return {PowerMethod::ddc, true, "DDC 已发送 Power Off"};
    } catch (const DDCError& error) {
        PowerResult result = blackOut(displayID);
        result.message = "DDC 失败（" + error.description() + "），改用" + result.message;
        return result;
    }
}

PowerResult fallBackAfter(const DisconnectError& error, CGDirectDisplayID displayID) {
    if (auto refusal = refusalForMain(displayID)) {
        return std::move(*refusal);
    }
    PowerResult result = turnOffFallback(displayID);
    result.message = "SLS 断开失败（" + error.description() + "），改用" +
                     std::string(title(result.method)) + "：" + result.message;
    return result;
}

// The display that is to go is counted too, so that one remains.
bool anotherDisplayIsActive() {
    const auto active = activeDisplays(switchingCapacity);
    return active && active->size() >= 2;
}

PowerResult switchOff(CGDirectDisplayID displayID) {
    if (!SkyLight::isAvailable()) {
        return turnOffFallback(displayID);
    }
    if (!anotherDisplayIsActive()) {
        return {PowerMethod::disconnect, false, "拒绝断开：只剩这一台活动显示器"};
    }
    if (const auto disabled = DisplayDisconnect::setEnabled(false, displayID); !disabled) {
        return fallBackAfter(disabled.error(), displayID);
    }
    releaseBlackout(displayID);
    return {PowerMethod::disconnect, true, "已断开显示器（SLS，系统设置中将消失）"};
}

} // namespace

PowerResult DisplayPower::setPower(bool on, CGDirectDisplayID displayID) {
    if (!on) {
        if (auto refusal = refusalForMain(displayID)) {
            return std::move(*refusal);
        }
    }
    if (DisplayDisconnect::isDisconnectedByUs(displayID)) {
        return on ? reconnect(displayID)
                  : PowerResult{PowerMethod::disconnect, true, "显示器已断开"};
    }
    if (!on) {
        return switchOff(displayID);
    }
    return isUnderBlackout(displayID) ? endBlackout(displayID) : switchOn(displayID);
}

std::string DisplayPower::statusLine(CGDirectDisplayID displayID) {
    if (DisplayDisconnect::isDisconnectedByUs(displayID)) {
        return "状态：已断开（系统设置不可见）";
    }
    if (isUnderBlackout(displayID)) {
        return "状态：软件关屏中";
    }
    if (CGDisplayIsMain(displayID) != 0) {
        return "状态：主屏 · 始终开启";
    }
    if (SkyLight::isAvailable()) {
        return "状态：可 SLS 断开";
    }
    if (ddc_can_control(displayID) != 0) {
        return "状态：DDC 可用";
    }
    return "状态：仅软件 BlackOut";
}

} // namespace veilpane
