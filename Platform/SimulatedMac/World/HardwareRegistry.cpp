#include "SimulatedMac/World/HardwareRegistry.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>

namespace simulated_mac {
namespace {

using nlohmann::json;

/// The same in monitors of one make.
constexpr int fillerSerial = 0x01010101;
constexpr int yearOfManufacture = 2021;
constexpr int weekOfManufacture = 43;

json data(const std::string& hex) {
    return {{"data", hex}};
}

template <class... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 512> text = {};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

/// Two numbers of the block that a monitor identifies itself with are its maker and its model; the
/// year counts from 1990, and all bytes add up to 0.
std::string identificationBlock(const SceneDisplay& display) {
    std::array<uint8_t, 128> block = {0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0};
    block[8] = static_cast<uint8_t>(display.vendor >> 8);
    block[9] = static_cast<uint8_t>(display.vendor);
    block[10] = static_cast<uint8_t>(display.model);
    block[11] = static_cast<uint8_t>(display.model >> 8);
    std::fill_n(block.begin() + 12, 4, display.builtin ? 0 : 1);
    block[16] = weekOfManufacture;
    block[17] = yearOfManufacture - 1990;
    block[18] = 1;
    block[19] = 4;
    block[127] = static_cast<uint8_t>(-std::accumulate(block.begin(), block.end(), 0));
    std::string hex;
    for (const uint8_t byte : block) {
        hex += formatted("%02x", byte);
    }
    return hex;
}

// Intel: one framebuffer for each connector, each with one I2C nub, and what is plugged in below an
// IODisplayConnect. No node has a DisplayID or a product name.

std::string intelDisplayClass(const SceneDisplay& display) {
    return display.builtin ? "AppleBacklightDisplay" : "AppleDisplay";
}

json intelDisplayProperties(const SceneDisplay& display, std::size_t connector) {
    const std::string className = intelDisplayClass(display);
    const std::string path =
        formatted("IOService:/AppleACPIPlatformExpert/PCI0@0/AppleACPIPCI/IGPU@2/"
                  "AppleIntelFramebuffer@%zu/display0/%s-%x-%x",
                  connector, className.c_str(), display.vendor, display.model);
    return {{"IOClass", className},
            {"IOProviderClass", "IODisplayConnect"},
            {"DisplayVendorID", display.vendor},
            {"DisplayProductID", display.model},
            {"DisplaySerialNumber", display.builtin ? 0 : fillerSerial},
            {"IODisplayEDID", data(identificationBlock(display))},
            {"IODisplayAttributes", {{"IODisplayAttributes", data("676174760000")}}},
            {"IODisplayConnectFlags", data("00080000")},
            {"IODisplayPrefsKey", path}};
}

RegistryNode intelConnector(std::size_t connector) {
    // Bits for the kinds of transactions: none, simple, DisplayPort's own.
    const json interface = {{"IOI2CInterfaceID", 0}, {"IOI2CTransactionTypes", 0x13}};
    RegistryNode framebuffer{
        "AppleIntelFramebuffer",
        {{"IOFBDependentIndex", connector}, {"IOFBI2CInterfaceInfo", json::array({interface})}},
        1,
        std::nullopt,
        std::nullopt,
        {}};
    framebuffer.children.push_back(
        {"IOFramebufferI2CInterface", interface, 0, std::nullopt, std::nullopt, {}});
    return framebuffer;
}

std::vector<RegistryNode> intelRegistry(const std::vector<SceneDisplay>& displays) {
    std::vector<RegistryNode> connectors;
    for (const SceneDisplay& display : displays) {
        RegistryNode connector = intelConnector(connectors.size());
        connector.busDisplay = display.id;
        RegistryNode connect{"IODisplayConnect", json::object(), 0, std::nullopt, display.id, {}};
        connect.children.push_back({intelDisplayClass(display),
                                    intelDisplayProperties(display, connectors.size()),
                                    0,
                                    std::nullopt,
                                    display.id,
                                    {}});
        connector.children.push_back(std::move(connect));
        connectors.push_back(std::move(connector));
    }
    connectors.push_back(intelConnector(connectors.size()));
    return connectors;
}

// Apple silicon: one pipe for each display that the chip can drive, the built-in one first. There
// is no IOFramebuffer, no IODisplayConnect and no I2C interface.

/// Three letters of five bits each, as monitors tell their maker.
std::string makerOf(const SceneDisplay& display) {
    std::string letters;
    for (const int shift : {10, 5, 0}) {
        letters += static_cast<char>('@' + (display.vendor >> shift & 0x1F));
    }
    return letters;
}

/// Some built-in panels tell nothing of themselves.
json panelAttributes(const SceneDisplay& display) {
    if (display.vendor == 0 && display.model == 0) {
        return json::object();
    }
    return {{"ManufacturerID", "00-10-fa"},
            {"LegacyManufacturerID", display.vendor},
            {"ProductID", display.model}};
}

json monitorAttributes(const SceneDisplay& display) {
    json attributes = {{"ManufacturerID", makerOf(display)},
                       {"LegacyManufacturerID", display.vendor},
                       {"ProductID", display.model},
                       {"SerialNumber", fillerSerial},
                       {"AlphanumericSerialNumber", formatted("SN%06u", display.id)},
                       {"YearOfManufacture", yearOfManufacture},
                       {"WeekOfManufacture", weekOfManufacture}};
    if (display.registryName) {
        attributes["ProductName"] = *display.registryName;
    }
    return attributes;
}

/// The same for two monitors of one kind.
std::string identifierOf(const SceneDisplay& display) {
    return formatted("%04X%02X%02X-0000-0000-%02X%02X-0104A5351E78", display.vendor & 0xFFFF,
                     display.model & 0xFF, display.model >> 8 & 0xFF, weekOfManufacture,
                     yearOfManufacture - 1990);
}

RegistryNode pipe(const std::string& device, json properties) {
    properties["IONameMatched"] = device + ",t600x";
    RegistryNode node{"AppleARMIODevice", {{"name", device}}, 0, std::nullopt, std::nullopt, {}};
    node.children.push_back(
        {"AppleCLCD2", std::move(properties), 0, std::nullopt, std::nullopt, {}});
    return node;
}

json builtInProperties(const SceneDisplay& display) {
    return {{"DisplayAttributes", {{"ProductAttributes", panelAttributes(display)}}}};
}

json externalProperties(const SceneDisplay& display, std::size_t place) {
    return {{"external", true},
            {"EDID UUID", identifierOf(display)},
            {"IOMFBUUID", identifierOf(display)},
            {"Transport", {{"Upstream", "DP"}, {"Downstream", "DP"}}},
            {"DisplayAttributes",
             {{"PortID", place * 16}, {"ProductAttributes", monitorAttributes(display)}}}};
}

std::vector<RegistryNode> appleSiliconRegistry(const std::vector<SceneDisplay>& displays) {
    const auto builtIn = std::ranges::find_if(displays, &SceneDisplay::builtin);
    std::vector<RegistryNode> pipes;
    pipes.push_back(
        pipe("disp0", builtIn == displays.end() ? json::object() : builtInProperties(*builtIn)));
    for (const SceneDisplay& display : displays) {
        if (!display.builtin) {
            const std::size_t place = pipes.size() - 1;
            pipes.push_back(
                pipe("dispext" + std::to_string(place), externalProperties(display, place)));
        }
    }
    pipes.push_back(pipe("dispext" + std::to_string(pipes.size() - 1), json::object()));
    return pipes;
}

} // namespace

std::vector<RegistryNode> hardwareRegistry(Hardware hardware,
                                           const std::vector<SceneDisplay>& displays) {
    return hardware == Hardware::intel ? intelRegistry(displays) : appleSiliconRegistry(displays);
}

} // namespace simulated_mac
