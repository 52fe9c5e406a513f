#include "Veilpane/Power/DDCPower.h"

#include "CDdc/ddc.h"

namespace veilpane {

DDCError::DDCError(Reason reason, const std::string& description)
    : std::runtime_error(description), reason_(reason) {}

DDCError::~DDCError() = default;

DDCError DDCError::noFramebuffer(CGDirectDisplayID displayID) {
    DDCError error(Reason::noFramebuffer, "找不到显示器 " + std::to_string(displayID) +
                                              " 的 IOFramebuffer（该链路可能不支持 DDC）");
    error.displayID_ = displayID;
    return error;
}

DDCError DDCError::sendFailed(std::int32_t code) {
    DDCError error(Reason::sendFailed, "DDC 发送失败 (code " + std::to_string(code) + ")");
    error.code_ = code;
    return error;
}

DDCError DDCError::noI2CInterface() {
    return {Reason::noI2CInterface, "显示器未暴露 I2C/DDC 接口"};
}

DDCError DDCError::openFailed() {
    return {Reason::openFailed, "打开 I2C 失败"};
}

DDCError DDCError::notSupported() {
    return {Reason::notSupported, "该显示器不支持 DDC 电源控制"};
}

void DDC::requireSent(std::int32_t result, CGDirectDisplayID displayID) {
    switch (result) {
    case DDCResultSent:
        return;
    case DDCResultNoFramebuffer:
        throw DDCError::noFramebuffer(displayID);
    case DDCResultNoI2CInterface:
        throw DDCError::noI2CInterface();
    case DDCResultOpenFailed:
        throw DDCError::openFailed();
    default:
        throw DDCError::sendFailed(result);
    }
}

void DDC::setVCP(std::uint8_t code, std::uint16_t value, CGDirectDisplayID displayID) {
    requireSent(ddc_set_vcp(displayID, code, value), displayID);
}

void DDC::setPower(bool on, CGDirectDisplayID displayID) {
    requireSent(ddc_set_power(displayID, on), displayID);
}

} // namespace veilpane
