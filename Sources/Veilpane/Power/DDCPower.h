#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace veilpane {

/// A DDC command that did not reach the monitor.
class DDCError : public std::runtime_error {
public:
    enum class Reason { noFramebuffer, sendFailed, noI2CInterface, openFailed, notSupported };

    static DDCError noFramebuffer(CGDirectDisplayID displayID);
    /// `code` is the transport's result code, not an I/O Kit status.
    static DDCError sendFailed(std::int32_t code);
    static DDCError noI2CInterface();
    static DDCError openFailed();
    /// For callers that have decided already that a display cannot be driven.
    static DDCError notSupported();

    DDCError(const DDCError&) = default;
    DDCError& operator=(const DDCError&) = default;
    // Defined in one file, which then has the only type information: there is nothing for a Mac's
    // loader to look for in other libraries.
    ~DDCError() override;

    [[nodiscard]] Reason reason() const { return reason_; }
    /// The display that has no framebuffer; absent for any other reason.
    [[nodiscard]] std::optional<CGDirectDisplayID> displayID() const { return displayID_; }
    /// The transport's code of a failed sending; absent for any other reason.
    [[nodiscard]] std::optional<std::int32_t> code() const { return code_; }

    /// The user-facing text.
    [[nodiscard]] std::string description() const { return what(); }

private:
    DDCError(Reason reason, const std::string& description);

    Reason reason_;
    std::optional<CGDirectDisplayID> displayID_;
    std::optional<std::int32_t> code_;
};

/// DDC/CI commands to a display's monitor. Each sends once, without a retry or a delay.
namespace DDC {

/// Sets a VCP feature. Throws DDCError.
void setVCP(std::uint8_t code, std::uint16_t value, CGDirectDisplayID displayID);

/// Wakes the monitor or puts it in standby. Throws DDCError.
void setPower(bool on, CGDirectDisplayID displayID);

/// Throws the DDCError that a result of the transport (DDCResult) stands for, unless the message
/// was sent. One that is not known is a failed sending, with its code.
void requireSent(std::int32_t result, CGDirectDisplayID displayID);

} // namespace DDC

} // namespace veilpane
