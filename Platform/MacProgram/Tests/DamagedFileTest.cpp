// What is wrong with a file is found while it is read, before anything of it is used.

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Binding.h"
#include "MacProgram/File/Rebasing.h"
#include "MacProgram/File/UniversalFile.h"
#include "MacProgram/Tests/DamagedPrograms.h"

#include <gtest/gtest.h>

namespace mac_program {
namespace {

/// The complaint about a file; none for a good one.
std::string complaintAbout(const ByteVector& file) {
    try {
        const ProgramFile program = readProgramFile(sliceForThisProcessor(file));
        (void)rebasedPlaces(program);
        (void)bindings(program);
        return "";
    } catch (const BadProgram& bad) {
        return bad.what();
    }
}

class DamagedFile : public testing::TestWithParam<DamagedProgram> {};

TEST_P(DamagedFile, is_found_while_it_is_read) {
    EXPECT_EQ(complaintAbout(GetParam().file), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(Programs, DamagedFile, testing::ValuesIn(damagedFiles()),
                         [](const auto& info) { return info.param.name; });

TEST(ProgramFile, a_good_file_is_read) {
    const ByteVector file = TinyProgram().file();
    EXPECT_EQ(complaintAbout(file), "");
    const auto size = static_cast<std::uint32_t>(file.size());
    EXPECT_EQ(complaintAbout(universalFile(file, 0x01000007, 0x1000, size, 12)), "");
}

TEST(ProgramFile, every_beginning_of_a_file_is_refused) {
    ByteVector file = TinyProgram().file();
    while (!file.empty()) {
        file.pop_back();
        EXPECT_NE(complaintAbout(file), "") << file.size() << " bytes";
    }
}

// Whatever it means then, reading it stays inside it.
TEST(ProgramFile, a_changed_byte_is_read_or_refused) {
    TinyProgram program;
    program.rebasing = {0x11, 0x22, 0x00, 0x53, 0x81, 0x02, 0x08, 0x00};
    program.binding = bindingOf("_exit");
    const ByteVector file = program.file();
    constexpr std::uint8_t changes[] = {0x01, 0x80, 0xFF};
    int refused = 0;
    for (std::size_t place = 0; place < file.size(); ++place) {
        for (const std::uint8_t change : changes) {
            ByteVector changed = file;
            changed[place] ^= change;
            refused += complaintAbout(changed).empty() ? 0 : 1;
        }
    }
    EXPECT_GT(refused, 1000);
}

TEST(Rebasing, places_are_those_that_the_instructions_count_out) {
    TinyProgram program;
    // Two pointers from 8 on; 16 bytes further, twice one pointer with a gap of 8 behind it.
    program.rebasing = {0x11, 0x22, 0x08, 0x52, 0x30, 0x10, 0x80, 0x02, 0x08, 0x00};
    const ByteVector file = program.file();
    const std::uint64_t data = program.data().address;
    EXPECT_EQ(rebasedPlaces(readProgramFile(file)),
              (std::vector<std::uint64_t>{data + 8, data + 16, data + 40, data + 56}));
}

TEST(Binding, a_pointer_is_bound_to_its_library_with_its_addend) {
    TinyProgram program;
    program.libraries = {"/usr/lib/libobjc.A.dylib", "/usr/lib/libSystem.B.dylib"};
    program.binding = {0x12, 0x41, '_', 'a', 0x00, 0x51, 0x60, 0x7C, 0x72, 0x10, 0x90, 0x00};
    const ByteVector file = program.file();
    const std::vector<Binding> found = bindings(readProgramFile(file));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].place, program.data().address + 0x10);
    EXPECT_EQ(found[0].symbol, "_a");
    EXPECT_EQ(found[0].library, "/usr/lib/libSystem.B.dylib");
    EXPECT_EQ(found[0].addend, -4);
}

} // namespace
} // namespace mac_program
