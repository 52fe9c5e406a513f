#include "Veilpane/Inventory/RegistryNames.h"

#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

namespace veilpane::test {

namespace {

using simulated_mac::Mac;

using RegistryNames = SimulatedMacTest;

std::string sceneOfTwinMonitors(std::string_view nodes) {
    return scene({R"({ "id": 1, "main": true, "vendor": 1552, "model": 5 })",
                  R"({ "id": 2, "vendor": 44048, "model": 7 })",
                  R"({ "id": 3, "vendor": 44048, "model": 7 })"},
                 {registry(nodes)});
}

TEST_F(RegistryNames, a_product_name_is_a_text_or_the_best_language_of_a_table) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> rows = {
        {R"("Studio")", "Studio"},
        {R"("显示器 😀")", "显示器 😀"},
        {R"("")", std::nullopt},
        {R"("St\u0000dio")", std::string("St\0dio", 6)},
        {R"("\u0000")", std::string(1, '\0')},
        {R"({ "en": "\u0000\u65ad" })", std::string("\0断", 4)},
        {R"({ "en_US": "Studio", "de": "Atelier" })", "Studio"},
        {R"({ "zh_CN": "", "en": "Plain" })", "Plain"},
        {R"({ "zh_CN": "", "de": "Atelier", "en": "Plain" })", "Plain"},
        {R"({ "zh-Hans": "二", "zh_CN": "一", "en_US": "US" })", "一"},
        {R"({ "zh-Hans": "二", "en_US": "US", "en": "E" })", "二"},
        {R"({ "en": "E", "en_US": "US" })", "US"},
        {R"({ "": "Nameless", "de": "Atelier", "en": "Studio" })", "Studio"},
        {R"({ "": "Nameless", "fr": "Atelier" })", "Nameless"},
        {R"({ "de": "", "fr": "Atelier" })", "Atelier"},
        {R"({ "de": "", "fr": "" })", std::nullopt},
        {R"({ "en_US": "Studio", "de": 7 })", std::nullopt},
        {R"({})", std::nullopt},
        {"7", std::nullopt},
        {"true", std::nullopt},
        {R"({ "data": "41424344" })", std::nullopt},
    };
    for (const auto& [value, expected] : rows) {
        boot(sceneOfTwinMonitors(
            R"({ "class": "AppleDisplay", "properties": { "DisplayVendorID": 44048,
                 "DisplayProductID": 7, "DisplayProductName": )" +
            value + " } }"));
        EXPECT_EQ(iokitDisplayName(2), expected) << value;
        EXPECT_EQ(simulated_mac::ledger::outstanding(), "") << value;
    }
}

std::string monitor(const std::string& className, const std::string& vendor,
                    const std::string& product, const std::string& name) {
    std::string properties;
    const auto add = [&properties](const char* key, const std::string& value) {
        if (!value.empty()) {
            properties +=
                (properties.empty() ? "" : ", ") + ("\"" + std::string(key)) + "\": " + value;
        }
    };
    add("DisplayVendorID", vendor);
    add("DisplayProductID", product);
    add("DisplayProductName", name);
    return R"({ "class": ")" + className + R"(", "properties": { )" + properties + " } }";
}

TEST_F(RegistryNames, an_entry_needs_vendor_product_and_name) {
    const std::vector<std::string> passedOver = {
        monitor("IODisplay", "", "7", "\"No vendor\""),
        monitor("IODisplay", "44048", "", "\"No product\""),
        monitor("IODisplay", "1", "7", "\"Other vendor\""),
        monitor("IODisplay", "44048", "8", "\"Other product\""),
        monitor("IODisplay", "44048", "7", ""),
        monitor("IODisplay", "44048", "7", "\"\""),
    };
    for (const std::string& node : passedOver) {
        boot(sceneOfTwinMonitors(node));
        EXPECT_EQ(iokitDisplayName(2), std::nullopt) << node;
        // Later entries of the same class are still looked at.
        boot(sceneOfTwinMonitors(node + ", " + monitor("IODisplay", "44048", "7", "\"Right\"")));
        EXPECT_EQ(iokitDisplayName(2), "Right") << node;
    }
}

TEST_F(RegistryNames, an_entry_without_a_vendor_is_not_asked_for_its_product) {
    boot(sceneOfTwinMonitors(monitor("IODisplay", "", "7", "\"No vendor\"")));
    EXPECT_EQ(iokitDisplayName(2), std::nullopt);
    EXPECT_EQ(calls({"IORegistryEntryCreateCFProperty"}).size(), 1u);
}

TEST_F(RegistryNames, classes_are_searched_in_a_fixed_order_whatever_the_registrys) {
    const std::string chip = monitor("AppleCLCD2", "44048", "7", "\"Chip\"");
    const std::string display = monitor("AppleDisplay", "44048", "7", "\"Display\"");
    const std::string connect = monitor("IODisplayConnect", "44048", "7", "\"Connect\"");
    boot(sceneOfTwinMonitors(chip + ", " + display + ", " + connect));
    EXPECT_EQ(iokitDisplayName(2), "Connect");
    boot(sceneOfTwinMonitors(chip + ", " + display));
    EXPECT_EQ(iokitDisplayName(2), "Display");
    boot(sceneOfTwinMonitors(chip));
    EXPECT_EQ(iokitDisplayName(2), "Chip");
    boot(sceneOfTwinMonitors(monitor("IOFramebuffer", "44048", "7", "\"Not searched\"")));
    EXPECT_EQ(iokitDisplayName(2), std::nullopt);
}

TEST_F(RegistryNames, a_class_whose_search_fails_is_passed_over) {
    Mac& mac = boot(sceneOfTwinMonitors(monitor("AppleCLCD2", "44048", "7", "\"Chip\"")));
    mac.failCall(fails("IOServiceGetMatchingServices").with(-1));
    mac.failCall(fails("IOServiceGetMatchingServices").nth(2).withNull());
    EXPECT_EQ(iokitDisplayName(2), "Chip");
    EXPECT_EQ(calls({"IOServiceGetMatchingServices"}).size(), 3u);
}

// Half of a surrogate pair ends the conversion.
TEST_F(RegistryNames, a_name_that_utf8_cannot_express_is_none) {
    Mac& mac = boot(sceneOfTwinMonitors(monitor("IODisplay", "44048", "7", "\"Studio\"")));
    mac.failCall(fails("CFStringGetBytes").every().with(3));
    EXPECT_EQ(iokitDisplayName(2), std::nullopt);
}

TEST_F(RegistryNames, two_monitors_of_one_kind_get_the_first_entrys_name) {
    boot(sceneOfTwinMonitors(monitor("IODisplay", "44048", "7", "\"Left\"") + ", " +
                             monitor("IODisplay", "44048", "7", "\"Right\"")));
    EXPECT_EQ(iokitDisplayName(2), "Left");
    EXPECT_EQ(iokitDisplayName(3), "Left");
}

TEST_F(RegistryNames, a_vendor_stored_as_data_matches) {
    boot(sceneOfTwinMonitors(monitor("IODisplay", R"({ "data": "10AC0000" })",
                                     R"({ "data": "07000000" })", "\"Data\"")));
    EXPECT_EQ(iokitDisplayName(2), "Data");
}

} // namespace

} // namespace veilpane::test
