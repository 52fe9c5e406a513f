#include "Registry/RegistryProperties.h"

#include "Registry/RegistryEntries.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

namespace veilpane::test {

namespace {

using simulated_mac::Mac;

using RegistryProperties = SimulatedMacTest;

/// The entry of a registry that holds just one node, with the property "Value".
IORef onlyEntry(const std::string& value) {
    Mac::boot(
        scene({R"({ "id": 1 })"},
              {registry(R"({ "class": "IODisplay", "properties": { "Value": )" + value + " } }")}));
    return nextEntry(matchingServices("IODisplay"));
}

TEST_F(RegistryProperties, a_property_reads_as_an_unsigned_word) {
    const std::vector<std::pair<std::string, std::optional<std::uint32_t>>> rows = {
        {"7", 7},
        {"0", 0},
        {"4294967295", 4294967295},
        {"2147483648", 2147483648},
        {"-1", 4294967295},
        {"4294967298", 2},
        {"62892014646337", 62892014646337 & 0xFFFFFFFF},
        {"2.75", 2},
        {"1e300", 4294967295},
        {"-1e300", 0},
        {"true", 1},
        {"false", 0},
        {R"({ "data": "10AC0000" })", 44048},
        {R"({ "data": "10AC0000FFFF" })", 44048},
        {R"({ "data": "FFFFFFFF" })", 4294967295},
        {R"({ "data": "10AC00" })", std::nullopt},
        {R"({ "data": "" })", std::nullopt},
        {R"("7")", std::nullopt},
        {R"({ "en": "7" })", std::nullopt},
    };
    for (const auto& [value, expected] : rows) {
        const IORef entry = onlyEntry(value);
        EXPECT_EQ(registryUInt32(entry.get(), CFSTR("Value")), expected) << value;
        EXPECT_EQ(registryUInt32(entry.get(), CFSTR("Other")), std::nullopt) << value;
    }
}

TEST_F(RegistryProperties, a_number_reads_as_a_signed_or_a_truncated_word) {
    struct Row {
        const char* value;
        std::uint32_t asSigned;
        std::uint32_t truncated;
    };
    const std::vector<Row> rows = {
        {"7", 7, 7},
        {"-1", 4294967295, 4294967295},
        {"2147483647", 2147483647, 2147483647},
        {"2147483648", 2147483648, 2147483648},
        {"4294967298", 2, 2},
    };
    for (const auto& [value, asSigned, truncated] : rows) {
        const IORef entry = onlyEntry(value);
        const auto property = copyRegistryProperty(entry.get(), CFSTR("Value"));
        ASSERT_TRUE(isNumber(property.get())) << value;
        EXPECT_EQ(signedWord(property.get()), asSigned) << value;
        EXPECT_EQ(truncatedWord(property.get()), truncated) << value;
    }
}

TEST_F(RegistryProperties, a_search_that_fails_or_finds_nothing_has_no_next_entry) {
    Mac& mac = boot();
    EXPECT_FALSE(nextEntry(matchingServices("NoSuchClass")));
    mac.failCall(fails("IOServiceGetMatchingServices").with(-1));
    EXPECT_FALSE(nextEntry(matchingServices("IOFramebuffer")));
    const IORef framebuffer = nextEntry(matchingServices("IOFramebuffer"));
    ASSERT_TRUE(framebuffer);
    mac.failCall(fails("IORegistryEntryGetChildIterator").with(-1));
    EXPECT_FALSE(nextEntry(childrenOf(framebuffer.get())));
    EXPECT_FALSE(nextEntry({}));
}

} // namespace

} // namespace veilpane::test
