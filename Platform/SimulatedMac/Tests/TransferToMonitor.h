#pragma once

#include <IOKit/IOKitLib.h>

extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

#include <cstdint>
#include <functional>
#include <ostream>

namespace simulated_mac {

/// What a transfer over I2C reports: the call, and the request's own result.
struct Transfer {
    static constexpr IOReturn untouched = 0x55;

    IOReturn returned = 0;
    IOReturn result = 0;

    bool operator==(const Transfer&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const Transfer& transfer) {
        return stream << transfer.returned << ", result " << transfer.result;
    }
};

/// Sets a VCP feature of the monitor on the first bus of the framebuffer at `place` among all.
/// `change` can make another request of it.
Transfer setFeature(uint8_t code, uint8_t value,
                    const std::function<void(IOI2CRequest&)>& change = {}, int place = 0);
Transfer setBrightness(uint8_t value, const std::function<void(IOI2CRequest&)>& change = {});

} // namespace simulated_mac
