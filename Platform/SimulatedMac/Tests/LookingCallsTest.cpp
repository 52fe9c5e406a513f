// The calls that tell of a Mac without changing it, and the one that restores what is kept.

#include "SimulatedMac/World/MacState.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

#include <array>
#include <cerrno>
#include <string>
#include <sys/sysctl.h>

namespace {

using simulated_mac::Mac;

class LookingCalls : public SimulatedMacTest {};

TEST_F(LookingCalls, a_display_that_is_online_has_a_size_and_the_length_of_its_tables) {
    Mac& mac =
        boot(scene({R"({ "id": 1, "main": true, "pixels": [1512, 982], "gammaCapacity": 1024 })",
                    R"({ "id": 2, "pixels": [800, 600] })", R"({ "id": 3, "gamma": false })"}));
    EXPECT_EQ(CGDisplayPixelsWide(1), 1512U);
    EXPECT_EQ(CGDisplayPixelsHigh(1), 982U);
    EXPECT_EQ(CGDisplayGammaTableCapacity(1), 1024U);
    EXPECT_EQ(CGDisplayGammaTableCapacity(3), 0U);
    mac.unplug(2);
    EXPECT_EQ(CGDisplayPixelsWide(2), 0U);
    EXPECT_EQ(CGDisplayGammaTableCapacity(2), 0U);
}

TEST_F(LookingCalls, a_mirror_names_its_master_and_a_master_none) {
    boot(scene({main1, mirror2, plain3}));
    EXPECT_EQ(CGDisplayMirrorsDisplay(2), 1U);
    EXPECT_EQ(CGDisplayMirrorsDisplay(1), kCGNullDirectDisplay);
    EXPECT_EQ(CGDisplayMirrorsDisplay(9), kCGNullDirectDisplay);
}

void mirror(CGDirectDisplayID display, CGDirectDisplayID master, CGConfigureOption option) {
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), kCGErrorSuccess);
    ASSERT_EQ(CGConfigureDisplayMirrorOfDisplay(config, display, master), kCGErrorSuccess);
    ASSERT_EQ(CGCompleteDisplayConfiguration(config, option), kCGErrorSuccess);
}

TEST_F(LookingCalls, restoring_what_is_kept_ends_what_was_configured_for_the_session) {
    boot(scene({main1, plain2, plain3}));
    mirror(2, 1, kCGConfigurePermanently);
    mirror(3, 1, kCGConfigureForSession);
    CGRestorePermanentDisplayConfiguration();
    EXPECT_EQ(CGDisplayMirrorsDisplay(2), 1U);
    EXPECT_EQ(CGDisplayMirrorsDisplay(3), kCGNullDirectDisplay);
}

std::string systemText(const char* name, std::size_t size) {
    std::array<char, 32> text = {};
    return sysctlbyname(name, text.data(), &size, nullptr, 0) == 0 ? std::string(text.data()) : "-";
}

TEST_F(LookingCalls, the_system_tells_its_version_and_processor_where_the_scene_does) {
    boot(scene({main1}, {R"("macOS": "14.5", "processor": "arm64")"}));
    EXPECT_EQ(systemText("kern.osproductversion", 32), "14.5");
    EXPECT_EQ(systemText("hw.machine", 6), "arm64");
    EXPECT_EQ(systemText("hw.machine", 5), "-");
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(systemText("kern.hostname", 32), "-");
    EXPECT_EQ(errno, ENOENT);
    boot(scene({main1}));
    EXPECT_EQ(systemText("hw.machine", 32), "-");
}

TEST_F(LookingCalls, a_node_tells_its_class_and_one_number_for_all_references) {
    boot(scene({main1},
               {registry(R"({ "class": "AMDFramebuffer" }, { "class": "IODisplayConnect" })")}));
    std::array<std::uint64_t, 2> numbers = {};
    for (std::uint64_t& number : numbers) {
        io_iterator_t services = IO_OBJECT_NULL;
        ASSERT_EQ(IOServiceGetMatchingServices(kIOMainPortDefault,
                                               IOServiceMatching("IOFramebuffer"), &services),
                  kIOReturnSuccess);
        const io_object_t service = IOIteratorNext(services);
        io_name_t name = {};
        EXPECT_EQ(IOObjectGetClass(service, name), kIOReturnSuccess);
        EXPECT_STREQ(name, "AMDFramebuffer");
        EXPECT_EQ(IORegistryEntryGetRegistryEntryID(service, &number), kIOReturnSuccess);
        IOObjectRelease(service);
        IOObjectRelease(services);
    }
    EXPECT_EQ(numbers[0], numbers[1]);
    EXPECT_NE(numbers[0], 0U);
}

TEST_F(LookingCalls, a_node_that_names_its_display_is_that_displays_port) {
    Mac& mac = boot(scene({R"({ "id": 1, "main": true, "servicePort": true })",
                           R"({ "id": 2, "servicePort": true })"},
                          {registry(R"({ "class": "IOFramebuffer", "display": 2, "i2cBuses": 1,
                               "children": [ { "class": "IODisplayConnect" } ] })")}));
    const simulated_mac::RegistryNode& framebuffer = mac.scene().registry.front();
    EXPECT_EQ(framebuffer.busDisplay, 2U);
    EXPECT_EQ(framebuffer.children.front().display, 2U);
    mac.plugAs(2, 7);
    (void)mac.state();
    EXPECT_EQ(mac.scene().registry.front().connectorOf, 7U);
}

TEST_F(LookingCalls, the_online_list_keeps_the_scenes_order_unless_main_comes_first) {
    const auto displays = {std::string_view(R"({ "id": 2 })"), main1};
    EXPECT_EQ(boot(scene(displays)).state().online(), (std::vector<std::uint32_t>{2, 1}));
    EXPECT_EQ(boot(scene(displays, {R"("onlineOrder": "main-first")"})).state().online(),
              (std::vector<std::uint32_t>{1, 2}));
}

} // namespace
