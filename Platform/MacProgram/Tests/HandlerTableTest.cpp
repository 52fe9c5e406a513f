// A table of handlers is read no further than it reaches, and only into its own function.

#include "MacProgram/Unwinding/HandlerTable.h"

#include "MacProgram/File/BadProgram.h"

#include <gtest/gtest.h>
#include <vector>

namespace mac_program {
namespace {

using Table = std::vector<std::uint8_t>;

constexpr FunctionRange function = {0x1000, 0x1100};

// Two calls: one from 0x10 on with a landing place at 0x80 and an action for the first type, one
// from 0x20 on that an exception passes. The type's pointer lies 8 bytes behind its entry.
const Table good = {0xFF, 0x9B, 17,   0x01, 9,    // no beginning; types; offsets; calls
                    0x10, 0x10, 0x80, 0x01, 0x01, // 0x80 takes two bytes
                    0x20, 0x10, 0x00, 0x00,       //
                    0x01, 0x00,                   // the first type, no more actions
                    8,    0,    0,    0};

/// With one byte changed.
Table with(std::size_t place, std::uint8_t value) {
    Table table = good;
    table[place] = value;
    return table;
}

Landing landingIn(const Table& table, std::uint64_t place, bool isCaught = true) {
    return HandlerTable(table, reinterpret_cast<std::uint64_t>(table.data()), function)
        .landingFor(place, [&](const void*) { return isCaught; });
}

std::string complaintAboutTable(const Table& table, std::uint64_t place = 0x1015) {
    try {
        (void)landingIn(table, place, false);
        return "";
    } catch (const BadProgram& bad) {
        return bad.what();
    }
}

TEST(HandlerTable, a_handler_takes_what_its_type_catches) {
    const Landing landing = landingIn(good, 0x1015);
    EXPECT_EQ(landing.place, 0x1080U);
    EXPECT_EQ(landing.selector, 1);
    EXPECT_TRUE(landing.isHandler);
}

TEST(HandlerTable, a_handler_leaves_what_its_type_does_not_catch) {
    EXPECT_EQ(landingIn(good, 0x1015, false).place, 0U);
    EXPECT_EQ(landingIn(good, 0x1025).place, 0U);
}

TEST(HandlerTable, a_types_pointer_lies_where_its_entry_says) {
    const void* asked = nullptr;
    (void)HandlerTable(good, reinterpret_cast<std::uint64_t>(good.data()), function)
        .landingFor(0x1015, [&](const void* type) {
            asked = type;
            return true;
        });
    EXPECT_EQ(asked, good.data() + 24);
}

TEST(HandlerTable, what_is_damaged_is_refused) {
    const std::pair<Table, const char*> rows[] = {
        {{}, "tables of handlers end too early"},
        {with(0, 0x00), "a table of handlers has a beginning of its own, which is not known here"},
        {with(1, 0x00), "a table of handlers has an encoding of types that is not known here"},
        {with(1, 0xFF), "a table of handlers has an encoding that is not known here"},
        {with(2, 18), "tables of handlers reach outside the file"},
        {with(3, 0x02), "a table of handlers has an encoding that is not known here"},
        {with(4, 30), "tables of handlers reach outside the file"},
        {with(4, 3), "tables of handlers end too early"},
        {with(5, 0xFF), "a table of handlers leads outside its function"},
        {with(8, 0x02), "a table of handlers leads outside its function"},
        {with(9, 0x40), "tables of handlers reach outside the file"},
        {with(14, 0x7F), "a table of handlers has a filter, which Objective-C does not know"},
        {with(14, 0x06), "a table of handlers names a type that is not there"},
        {with(15, 0x7F), "the actions of a table of handlers lead to themselves"},
        {with(15, 0x3F), "tables of handlers reach outside the file"},
    };
    for (const auto& [table, complaint] : rows) {
        EXPECT_EQ(complaintAboutTable(table), complaint);
    }
}

TEST(HandlerTable, every_beginning_of_a_table_is_refused) {
    for (Table table = good; !table.empty();) {
        table.pop_back();
        EXPECT_NE(complaintAboutTable(table), "") << table.size() << " bytes";
    }
}

TEST(HandlerTable, a_call_in_no_row_must_not_throw) {
    EXPECT_EQ(complaintAboutTable(good, 0x1005), "an exception leaves a call that must not throw");
}

TEST(HandlerTable, a_table_outside_all_tables_is_refused) {
    const auto begin = reinterpret_cast<std::uint64_t>(good.data());
    EXPECT_THROW(HandlerTable(good, 0, function), BadProgram);
    EXPECT_THROW(HandlerTable(good, begin - 1, function), BadProgram);
    EXPECT_THROW(HandlerTable(good, begin + good.size(), function), BadProgram);
}

} // namespace
} // namespace mac_program
