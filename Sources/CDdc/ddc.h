#pragma once

#include "Ownership/IORef.h"

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>

// DDC/CI over the I2C bus of a display's framebuffer. The module keeps no state: every call
// searches the registry anew, opens the bus, sends at most one message and closes it again.
//
// Only displays driven through IOFramebuffer services have such a bus. Apple silicon has none of
// them, so there every look-up comes back empty.

/// What became of a Set VCP Feature message.
enum DDCResult : std::int32_t {
    DDCResultSent = 0,
    DDCResultNoFramebuffer = 1,
    DDCResultNoI2CInterface = 2,
    DDCResultOpenFailed = 3,
    DDCResultSendFailed = 4,
};

/// Sends one Set VCP Feature message to the display's monitor: one attempt, no reply read. `value`
/// goes out as it is; what range makes sense depends on the code and the monitor, 0 to 100 for the
/// brightness. Returns a DDCResult.
std::int32_t ddc_set_vcp(CGDirectDisplayID display, std::uint8_t code, std::uint16_t value);

/// Wakes the monitor or puts it in standby. Returns a DDCResult.
std::int32_t ddc_set_power(CGDirectDisplayID display, bool on);

/// 1 when the display has a framebuffer with an I2C interface, else 0. Nothing is opened or sent,
/// so a 1 does not mean that a monitor would answer.
int ddc_can_control(CGDirectDisplayID display);

/// The framebuffer service behind a display; empty when it cannot be told which one it is.
[[nodiscard]] veilpane::IORef copy_framebuffer_for_display(CGDirectDisplayID display);

/// The first I2C interface of a framebuffer; empty when it has none.
[[nodiscard]] veilpane::IORef copy_i2c_interface(io_service_t framebuffer);
