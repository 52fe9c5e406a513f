#include "Veilpane/Power/DDCPower.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

#include <functional>
#include <limits>
#include <type_traits>

namespace veilpane::test {

namespace {

using simulated_mac::Mac;

using DDCPower = SimulatedMacTest;

std::string textThrownBy(const std::function<void()>& action) {
    try {
        action();
    } catch (const DDCError& error) {
        return error.description();
    }
    return "nothing thrown";
}

TEST_F(DDCPower, every_error_has_its_text) {
    EXPECT_EQ(DDCError::noFramebuffer(2).description(),
              "找不到显示器 2 的 IOFramebuffer（该链路可能不支持 DDC）");
    EXPECT_EQ(DDCError::noFramebuffer(4294967295).description(),
              "找不到显示器 4294967295 的 IOFramebuffer（该链路可能不支持 DDC）");
    EXPECT_EQ(DDCError::sendFailed(4).description(), "DDC 发送失败 (code 4)");
    EXPECT_EQ(DDCError::sendFailed(-7).description(), "DDC 发送失败 (code -7)");
    EXPECT_EQ(DDCError::noI2CInterface().description(), "显示器未暴露 I2C/DDC 接口");
    EXPECT_EQ(DDCError::openFailed().description(), "打开 I2C 失败");
    EXPECT_EQ(DDCError::notSupported().description(), "该显示器不支持 DDC 电源控制");
}

TEST_F(DDCPower, an_error_can_be_asked_for_its_reason_and_what_goes_with_it) {
    using Reason = DDCError::Reason;
    const DDCError noFramebuffer = DDCError::noFramebuffer(7);
    EXPECT_EQ(noFramebuffer.reason(), Reason::noFramebuffer);
    EXPECT_EQ(noFramebuffer.displayID(), 7u);
    EXPECT_EQ(noFramebuffer.code(), std::nullopt);
    const DDCError sendFailed = DDCError::sendFailed(-1);
    EXPECT_EQ(sendFailed.reason(), Reason::sendFailed);
    EXPECT_EQ(sendFailed.displayID(), std::nullopt);
    EXPECT_EQ(sendFailed.code(), -1);
    EXPECT_EQ(DDCError::noI2CInterface().reason(), Reason::noI2CInterface);
    EXPECT_EQ(DDCError::openFailed().reason(), Reason::openFailed);
    EXPECT_EQ(DDCError::notSupported().reason(), Reason::notSupported);
}

// A case without its payload, or a text of one's own, would be an error that nobody can act on.
TEST_F(DDCPower, an_error_is_made_by_its_factories_only) {
    static_assert(!std::is_constructible_v<DDCError, DDCError::Reason>);
    static_assert(!std::is_constructible_v<DDCError, std::string>);
    static_assert(!std::is_constructible_v<DDCError, DDCError::Reason, std::string>);
    static_assert(!std::is_default_constructible_v<DDCError>);
}

TEST_F(DDCPower, a_sent_command_throws_nothing) {
    Mac& mac = boot();
    EXPECT_NO_THROW(DDC::setVCP(0x10, 7, 2));
    EXPECT_NO_THROW(DDC::setPower(false, 2));
    EXPECT_EQ(mac.display(2).brightness, 7);
    EXPECT_EQ(mac.display(2).power, "standby");
    EXPECT_NO_THROW(DDC::setPower(true, 2));
    EXPECT_EQ(mac.display(2).power, "on");
}

TEST_F(DDCPower, each_result_code_becomes_its_error) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {scene({plain2}, {registry("")}),
         "找不到显示器 2 的 IOFramebuffer（该链路可能不支持 DDC）"},
        {scene({plain2}), "显示器未暴露 I2C/DDC 接口"},
        {scene({R"({ "id": 2, "ddc": { "open": 1 } })"}), "打开 I2C 失败"},
        {scene({R"({ "id": 2, "ddc": { "send": 1 } })"}), "DDC 发送失败 (code 4)"},
        {scene({R"({ "id": 2, "ddc": { "result": 1 } })"}), "DDC 发送失败 (code 4)"},
    };
    for (const auto& [described, text] : rows) {
        boot(described);
        EXPECT_EQ(textThrownBy([] { DDC::setVCP(0x10, 0, 2); }), text) << described;
        EXPECT_EQ(textThrownBy([] { DDC::setPower(true, 2); }), text) << described;
    }
}

TEST_F(DDCPower, a_result_that_is_not_known_is_a_failed_sending) {
    for (const std::int32_t result : {5, -1, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(textThrownBy([result] { DDC::requireSent(result, 2); }),
                  "DDC 发送失败 (code " + std::to_string(result) + ")");
    }
    EXPECT_NO_THROW(DDC::requireSent(0, 2));
}

TEST_F(DDCPower, the_largest_display_id_is_written_unsigned) {
    boot(scene({}, {registry("")}));
    EXPECT_EQ(textThrownBy([] { DDC::setPower(true, 4294967295); }),
              "找不到显示器 4294967295 的 IOFramebuffer（该链路可能不支持 DDC）");
}

} // namespace

} // namespace veilpane::test
