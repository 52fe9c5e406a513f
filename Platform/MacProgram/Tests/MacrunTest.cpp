// macrun as it is started: what it refuses is one line, what it runs ends as the program says.

#include "EndToEnd/ProgramRun.h"
#include "MacProgram/Tests/DamagedPrograms.h"
#include "MacProgram/Tests/TinyClass.h"
#include "MacProgram/Tests/TinyUnwinding.h"

#include <fstream>
#include <gtest/gtest.h>

namespace mac_program {
namespace {

constexpr int refusal = 70;

class Macrun : public testing::Test {
protected:
    std::string write(const ByteVector& bytes) {
        const std::string file = folder_.path() / "program";
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        return file;
    }
    ProgramRun run(const std::string& file, std::vector<std::string> arguments = {},
                   const std::map<std::string, std::string>& more = {}) {
        arguments.insert(arguments.begin(), file);
        std::map<std::string, std::string> environment = mac_.environment();
        environment.insert(more.begin(), more.end());
        return runProgram(MACRUN_EXECUTABLE, arguments, environment);
    }
    ProgramRun run(const TinyProgram& program) { return run(write(program.file())); }
    [[nodiscard]] std::string pathOf(const std::string& name) const {
        return folder_.path() / name;
    }

private:
    TemporaryDirectory folder_;
    MacOnDisk mac_;
};

class RefusedProgram : public Macrun, public testing::WithParamInterface<DamagedProgram> {};

TEST_P(RefusedProgram, is_one_line) {
    const std::string file = write(GetParam().file);
    EXPECT_EQ(run(file),
              (ProgramRun{refusal, "", "macrun: " + file + ": " + GetParam().complaint + "\n"}));
}

const auto nameOfProgram = [](const auto& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(Files, RefusedProgram, testing::ValuesIn(damagedFiles()), nameOfProgram);
INSTANTIATE_TEST_SUITE_P(Contents, RefusedProgram, testing::ValuesIn(damagedContents()),
                         nameOfProgram);

TEST_F(Macrun, without_a_file_it_tells_its_usage) {
    EXPECT_EQ(runProgram(MACRUN_EXECUTABLE, {}, {}),
              (ProgramRun{2, "", "usage: macrun FILE [ARGUMENT...]\n"}));
}

TEST_F(Macrun, a_file_that_cannot_be_read_is_one_line_with_the_reason) {
    const std::string large = pathOf("large");
    std::ofstream(large, std::ios::binary) << "x";
    std::filesystem::resize_file(large, std::uintmax_t{1} << 40);
    const std::pair<std::string, const char*> rows[] = {
        {pathOf("missing"), "cannot be read: No such file or directory"},
        {pathOf(std::string(300, 'a')), "cannot be read: File name too long"},
        {pathOf(""), "cannot be read: Is a directory"},
        {"/dev/null", "is no ordinary file"},
        {write({}), "is empty"},
        {large, "is too large"}};
    for (const auto& [file, reason] : rows) {
        EXPECT_EQ(run(file), (ProgramRun{refusal, "", "macrun: " + file + ": " + reason + "\n"}));
    }
}

TEST_F(Macrun, a_file_that_does_not_fit_into_memory_is_one_line) {
    const std::string file = pathOf("large");
    std::ofstream(file, std::ios::binary) << "x";
    std::filesystem::resize_file(file, std::uintmax_t{1} << 30);
    const ProgramRun run = runProgram(
        "/bin/sh", {"-c", "ulimit -v 1000000; exec \"$0\" \"$1\"", MACRUN_EXECUTABLE, file}, {});
    EXPECT_EQ(run, (ProgramRun{refusal, "", "macrun: " + file + ": there is not enough memory\n"}));
}

TEST_F(Macrun, a_program_for_64_bit_libraries_is_run) {
    TinyProgram program;
    program.model = 0x80000003;
    EXPECT_EQ(run(program).status, 42);
}

TEST_F(Macrun, a_pointer_may_lead_to_a_segments_end) {
    TinyProgram program;
    program.data().sections = {{"__data", 0, 0, {0, 0x30, 0, 0, 1, 0, 0, 0}}};
    program.rebasing = {0x11, 0x22, 0x00, 0x51};
    EXPECT_EQ(run(program).status, 42);
}

TEST_F(Macrun, a_program_ends_with_the_status_of_its_main) {
    EXPECT_EQ(run(TinyProgram()).status, 42);
}

TEST_F(Macrun, a_program_in_a_universal_file_is_run) {
    const ByteVector slice = TinyProgram().file();
    const auto size = static_cast<std::uint32_t>(slice.size());
    EXPECT_EQ(run(write(universalFile(slice, 0x01000007, 0x1000, size, 12))).status, 42);
}

TEST_F(Macrun, main_gets_the_arguments_without_macrun) {
    TinyProgram program;
    program.run({0x89, 0xF8, 0xC3}); // movl %edi, %eax; ret
    EXPECT_EQ(run(write(program.file()), {"one", "two"}).status, 3);
}

// pushq %rax, which aligns the stack; movl $7, %edi; call through the first pointer of the data
const ByteVector callWithSeven = {0x50, 0xBF, 7, 0, 0, 0, 0xFF, 0x15, 0xF4, 0x07, 0, 0};

TEST_F(Macrun, an_import_is_bound_and_called) {
    TinyProgram program;
    program.binding = bindingOf("_exit");
    program.run(callWithSeven);
    EXPECT_EQ(run(program).status, 7);
}

TEST_F(Macrun, a_pointer_into_the_program_moves_with_it) {
    TinyProgram program;
    // movq 0x7f9(%rip), %rax (the data's first pointer); movl (%rax), %eax; ret
    program.run({0x48, 0x8B, 0x05, 0xF9, 0x07, 0, 0, 0x8B, 0x00, 0xC3});
    program.data().sections = {{"__data", 0, 0, {0x08, 0x10, 0, 0, 1, 0, 0, 0, 33, 0, 0, 0}}};
    program.rebasing = {0x11, 0x22, 0x00, 0x51, 0x00};
    EXPECT_EQ(run(program).status, 33);
}

TEST_F(Macrun, a_program_with_a_class_of_its_own_is_run) {
    TinyProgram program;
    TinyClass().addTo(program);
    EXPECT_EQ(run(program).status, 42);
}

TEST_F(Macrun, a_program_with_a_frame_of_its_own_is_run) {
    TinyProgram program;
    TinyUnwinding().addTo(program);
    EXPECT_EQ(run(program).status, 42);
}

TEST_F(Macrun, the_code_cannot_be_written_to) {
    TinyProgram program;
    program.run({0x88, 0x05, 0, 0, 0, 0, 0xC3}); // movb %al, (%rip)
    EXPECT_EQ(run(program).status, 128 + SIGSEGV);
}

TEST_F(Macrun, what_an_import_does_not_know_is_one_line) {
    TinyProgram program;
    program.binding = bindingOf("_signal");
    program.run(callWithSeven);
    const std::string file = write(program.file());
    EXPECT_EQ(run(file),
              (ProgramRun{refusal, "", "macrun: " + file + ": signal 7 is not known here\n"}));
}

TEST_F(Macrun, called_imports_are_told_when_a_file_for_them_is_named) {
    TinyProgram program;
    program.binding = bindingOf("_exit");
    const std::string file = write(program.file());
    const std::map<std::string, std::string> wish = {{"MACRUN_CALLED_IMPORTS", pathOf("calls")}};
    EXPECT_EQ(run(file, {}, wish).status, 42);
    EXPECT_EQ(contentOf(pathOf("calls")), "bound _exit\n");
    program.run(callWithSeven);
    EXPECT_EQ(run(write(program.file()), {}, wish).status, 7);
    EXPECT_EQ(contentOf(pathOf("calls")), "bound _exit\ncalled _exit\n");
}

} // namespace
} // namespace mac_program
