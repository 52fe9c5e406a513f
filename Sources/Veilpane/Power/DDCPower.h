#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <stdexcept>
#include <string>

/// A DDC command that did not reach the monitor.
class DDCError : public std::runtime_error {
public:
    static DDCError noFramebuffer(CGDirectDisplayID displayID);
    /// `code` is the transport's result code, not an I/O Kit status.
    static DDCError sendFailed(std::int32_t code);
    static DDCError noI2CInterface();
    static DDCError openFailed();
    /// For callers that have decided already that a display cannot be driven.
    static DDCError notSupported();

    /// The user-facing text.
    [[nodiscard]] std::string description() const { return what(); }

private:
    using std::runtime_error::runtime_error;
};

/// DDC/CI commands to a display's monitor. Each sends once, without a retry or a delay.
namespace DDC {

/// Sets a VCP feature. Throws DDCError.
void setVCP(std::uint8_t code, std::uint16_t value, CGDirectDisplayID displayID);

/// Wakes the monitor or puts it in standby. Throws DDCError.
void setPower(bool on, CGDirectDisplayID displayID);

} // namespace DDC
