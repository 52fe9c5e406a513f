#include "MacProgram/Tests/DamagedPrograms.h"

#include "MacProgram/Tests/TinyClass.h"
#include "MacProgram/Tests/TinyUnwinding.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace mac_program {
namespace {

using Damage = std::function<void(TinyProgram&)>;

struct Row {
    const char* name;
    const char* complaint;
    Damage damage;
};

std::vector<DamagedProgram> made(const std::vector<Row>& rows) {
    std::vector<DamagedProgram> programs;
    for (const Row& row : rows) {
        TinyProgram program;
        row.damage(program);
        programs.push_back({row.name, program.file(), row.complaint});
    }
    return programs;
}

ByteVector firstBytes(std::size_t count) {
    ByteVector file = TinyProgram().file();
    file.resize(count);
    return file;
}

template <class Value>
ByteVector withField(std::size_t offset, Value value) {
    ByteVector file = TinyProgram().file();
    std::memcpy(file.data() + offset, &value, sizeof value);
    return file;
}

constexpr std::size_t commandCountField = 16;
constexpr std::size_t firstCommandSize = 36;

// The command of 18 numbers, one of which is something else than 0.
TinyCommand dynamicSymbols(std::size_t field, std::uint32_t value) {
    TinyCommand command = {0xB, ByteVector(72)};
    std::memcpy(command.contents.data() + 4 * field, &value, sizeof value);
    return command;
}

// Segments of which the last pages would be the first ones of all.
void moveToTheLastAddresses(TinyProgram& program) {
    constexpr std::uint64_t last = 0xFFFFFFFFFFFFF000;
    program.code().address = last - 0x1000;
    program.data().address = last - 0x1000;
    program.data().size = 0x3000;
    program.tables().address = last;
    program.tables().size = 0x2000;
}

std::vector<Row> headers() {
    return {
        {"another_magic", "it is no program for x86_64",
         [](TinyProgram& program) { program.magic = 0xFEEDFACE; }},
        {"another_processor", "it is no program for x86_64",
         [](TinyProgram& program) { program.processor = 0x0100000C; }},
        {"a_library", "it is no executable", [](TinyProgram& program) { program.fileKind = 6; }},
        {"not_position_independent", "the header's flags 0x85 do not fit",
         [](TinyProgram& program) { program.flags = 0x85; }},
        {"weak_definitions", "the header's flags 0x208085 do not fit",
         [](TinyProgram& program) { program.flags |= 0x8000; }},
        {"an_unknown_command", "load command 0x80000034 is not known here",
         [](TinyProgram& program) { program.more = {{0x80000034, ByteVector(8)}}; }},
        {"a_run_path", "load command 0x8000001c is not known here",
         [](TinyProgram& program) { program.more = {{0x8000001C, ByteVector(8)}}; }},
        {"another_loader", "it asks for the loader '/usr/lib/other'",
         [](TinyProgram& program) { program.loader = "/usr/lib/other"; }},
        {"another_platform", "it is not for macOS",
         [](TinyProgram& program) { program.platform = 2; }},
        {"a_library_name_outside_its_command", "names in load commands reach outside the file",
         [](TinyProgram& program) { program.more = {{0xC, {0xFF, 0, 0, 0, 0, 0, 0, 0}}}; }},
        {"a_library_name_without_an_end", "names in load commands end too early",
         [](TinyProgram& program) { program.more = {{0xC, {12, 0, 0, 0, 'n', 'a', 'm', 'e'}}}; }},
        {"a_symbol_table_outside_the_file", "tables of load commands reach outside the file",
         [](TinyProgram& program) {
             program.more = {{0x2, {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}}};
         }},
        {"binding_outside_the_file", "binding instructions reach outside the file",
         [](TinyProgram& program) {
             program.leftOut = {0x80000022};
             program.more = {{0x80000022, {0, 0, 0, 0x7F, 8, 0, 0, 0}}};
         }},
        {"another_model_of_the_processor", "it is for a model of x86_64 that is not known here",
         [](TinyProgram& program) { program.model = 8; }},
        {"an_unknown_capability", "it is for a model of x86_64 that is not known here",
         [](TinyProgram& program) { program.model = 0x40000003; }},
        {"two_beginnings", "load command 0x80000028 is there twice",
         [](TinyProgram& program) { program.more = {{0x80000028, ByteVector(16)}}; }},
        {"two_bindings", "load command 0x80000022 is there twice",
         [](TinyProgram& program) { program.more = {{0x80000022, ByteVector(40)}}; }},
        {"two_platforms", "load command 0x32 is there twice",
         [](TinyProgram& program) { program.more = {{0x32, {1, 0, 0, 0, 0, 0, 0, 0}}}; }},
        {"no_beginning_command", "load command 0x80000028 is missing",
         [](TinyProgram& program) { program.leftOut = {0x80000028}; }},
        {"no_binding_command", "load command 0x80000022 is missing",
         [](TinyProgram& program) { program.leftOut = {0x80000022}; }},
        {"no_platform", "load command 0x32 is missing",
         [](TinyProgram& program) { program.leftOut = {0x32}; }},
        {"no_loader", "load command 0xe is missing",
         [](TinyProgram& program) { program.leftOut = {0xE}; }},
        {"indirect_symbols_outside_the_file", "indirect symbols reach outside the file",
         [](TinyProgram& program) { program.more = {dynamicSymbols(13, 0x10000)}; }},
        {"relocations_of_other_symbols", "the program has relocations, which are not known here",
         [](TinyProgram& program) { program.more = {dynamicSymbols(15, 1)}; }},
        {"relocations_of_its_own", "the program has relocations, which are not known here",
         [](TinyProgram& program) { program.more = {dynamicSymbols(17, 1)}; }},
        {"relocations_of_a_section", "section __text has relocations, which are not known here",
         [](TinyProgram& program) { program.code().sections[0].relocations = 1; }},
    };
}

std::vector<Row> segments() {
    return {
        {"segments_that_overlap_in_memory", "__TEXT and __DATA overlap",
         [](TinyProgram& program) { program.data().address = program.code().address; }},
        {"segments_that_overlap_in_the_file", "__TEXT and __DATA overlap",
         [](TinyProgram& program) { program.data().fileOffset = 0; }},
        {"a_segment_outside_the_file", "__DATA reaches outside the file",
         [](TinyProgram& program) { program.data().fileOffset = 0x7000000000000000; }},
        {"a_segment_that_ends_outside_the_file", "__LINKEDIT reaches outside the file",
         [](TinyProgram& program) { program.tables().fileSize = 0x800; }},
        {"a_segment_that_ends_past_all_addresses", "the sizes of __DATA do not fit",
         [](TinyProgram& program) { program.data().size = ~std::uint64_t{0}; }},
        {"a_segment_whose_last_page_is_past_all_addresses", "the sizes of __DATA do not fit",
         [](TinyProgram& program) { program.data().address = 0xFFFFFFFFFFFFF000; }},
        {"segments_around_the_end_of_all_addresses", "the sizes of __DATA do not fit",
         moveToTheLastAddresses},
        {"a_hole_past_all_addresses", "the sizes of __PAGEZERO do not fit",
         [](TinyProgram& program) { program.segments[0].size = ~std::uint64_t{0}; }},
        {"a_hole_that_ends_past_all_addresses", "the sizes of __PAGEZERO do not fit",
         [](TinyProgram& program) { program.segments[0].address = 0xFFFFFFFF00000000; }},
        {"a_segment_smaller_than_in_the_file", "the sizes of __DATA do not fit",
         [](TinyProgram& program) { program.data().size = 0x800; }},
        {"a_segment_in_the_middle_of_a_page", "__DATA does not begin on a page",
         [](TinyProgram& program) { program.data().address += 8; }},
        {"a_segment_far_away", "the segments lie too far apart",
         [](TinyProgram& program) { program.tables().address = 0x7FFFFFFFF000; }},
        {"two_segments_of_one_name", "there are two segments __DATA",
         [](TinyProgram& program) { program.tables().name = "__DATA"; }},
        {"no_code", "there is no segment __TEXT",
         [](TinyProgram& program) {
             program.code().name = "__CODE";
             program.code().sections = {};
         }},
        {"no_tables", "there is no segment __LINKEDIT",
         [](TinyProgram& program) { program.tables().name = "__TABLES"; }},
        {"code_that_may_be_written", "__TEXT may be written and executed",
         [](TinyProgram& program) { program.code().protection = 7; }},
        {"an_unknown_protection", "the protection of __DATA does not fit",
         [](TinyProgram& program) { program.data().protection = 0x13; }},
        {"unknown_segment_flags", "the flags of __DATA are not known here",
         [](TinyProgram& program) { program.data().flags = 0x8; }},
        {"contents_that_cannot_be_read", "__DATA can never be read",
         [](TinyProgram& program) { program.data().protection = 0; }},
        {"a_beginning_outside_the_code", "it does not begin inside its code",
         [](TinyProgram& program) { program.entryOffset = 0x1000; }},
        {"no_beginning", "it does not begin inside its code",
         [](TinyProgram& program) { program.entryOffset = 0; }},
        {"an_unknown_section", "section __DATA,__mod_init_func is not known here",
         [](TinyProgram& program) {
             program.data().sections = {{"__mod_init_func", 9, 0, ByteVector(8)}};
         }},
        {"a_section_of_another_kind", "section __DATA,__data is not known here",
         [](TinyProgram& program) { program.data().sections = {{"__data", 9, 0, ByteVector(8)}}; }},
        {"sections_that_overlap", "sections __data and __const overlap",
         [](TinyProgram& program) {
             program.data().sections = {{"__const", 0, 7, ByteVector(8)},
                                        {"__data", 0, 0, ByteVector(8)}};
         }},
        {"a_section_outside_its_segment", "section __DATA,__data reaches outside its segment",
         [](TinyProgram& program) {
             program.data().sections = {{"__data", 0, 0x1000, ByteVector(8)}};
         }},
        {"a_section_past_the_segments_file",
         "section __DATA,__data is elsewhere in the file than in memory",
         [](TinyProgram& program) {
             program.data().fileSize = 8;
             program.data().sections = {{"__data", 0, 8, ByteVector(8)}};
         }},
    };
}

std::vector<Row> instructions() {
    return {
        {"an_unknown_rebase_instruction", "rebase instruction 0x90 is not known here",
         [](TinyProgram& program) { program.rebasing = {0x90}; }},
        {"rebasing_no_pointer", "something else than a pointer is to be rebased",
         [](TinyProgram& program) { program.rebasing = {0x12}; }},
        {"rebasing_code",
         "a pointer is to be written to 0x100000000, where the program may not write",
         [](TinyProgram& program) { program.rebasing = {0x21, 0x00, 0x51}; }},
        {"rebasing_past_the_end",
         "a pointer is to be written to 0x100001ff9, where the program may not write",
         [](TinyProgram& program) { program.rebasing = {0x22, 0xF9, 0x1F, 0x51}; }},
        {"rebasing_in_no_segment", "rebase instructions name a segment that is not there",
         [](TinyProgram& program) { program.rebasing = {0x24, 0x00, 0x51}; }},
        // 2^63 times the same pointer: each time the place goes back by as much as it has moved.
        {"rebasing_for_ever", "there are more pointers to rebase than fit",
         [](TinyProgram& program) {
             program.rebasing = {0x22, 0x00, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
                                 0x7F, 0xF8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01};
         }},
        {"a_number_without_an_end", "rebase instructions end too early",
         [](TinyProgram& program) { program.rebasing = {0x22, 0x80}; }},
        {"a_number_of_too_many_bits", "rebase instructions hold a number of more than 64 bits",
         [](TinyProgram& program) {
             program.rebasing = ByteVector(20, 0x80);
             program.rebasing[0] = 0x22;
         }},
        {"a_tenth_byte_of_which_bits_are_lost",
         "rebase instructions hold a number of more than 64 bits",
         [](TinyProgram& program) {
             program.rebasing = {0x22, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x02};
         }},
        {"an_addend_of_which_bits_are_lost", "bind instructions hold a number of more than 64 bits",
         [](TinyProgram& program) {
             program.binding = {0x60, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x7E};
         }},
        {"an_unknown_bind_instruction", "bind instruction 0xd0 is not known here",
         [](TinyProgram& program) { program.binding = {0xD0}; }},
        {"binding_no_pointer", "something else than a pointer is to be bound",
         [](TinyProgram& program) { program.binding = {0x52}; }},
        {"binding_to_any_library", "bind instruction 0x30 is not known here",
         [](TinyProgram& program) { program.binding = {0x3E}; }},
        {"binding_to_a_missing_library", "bind instructions name a library that is not there",
         [](TinyProgram& program) { program.binding = bindingOf("_exit", 2); }},
        {"binding_to_itself", "bind instructions name a library that is not there",
         [](TinyProgram& program) { program.binding = bindingOf("_exit", 0); }},
        {"binding_in_no_segment", "bind instructions name a segment that is not there",
         [](TinyProgram& program) { program.binding = {0x7F, 0x00}; }},
        {"binding_nothing", "bind instructions name no symbol",
         [](TinyProgram& program) { program.binding = {0x72, 0x00, 0x90}; }},
        {"binding_code",
         "a pointer is to be written to 0x100000000, where the program may not write",
         [](TinyProgram& program) { program.binding = {0x11, 0x40, 'a', 0, 0x71, 0x00, 0x90}; }},
        {"binding_a_definition_of_its_own", "the flags of a are not known here",
         [](TinyProgram& program) { program.binding = {0x11, 0x48, 'a', 0}; }},
        {"a_symbol_without_an_end", "bind instructions end too early",
         [](TinyProgram& program) {
             program.binding = {0x11, 0x40, 'a'};
             program.lazyBinding = {};
         }},
        {"a_symbol_of_any_library", "any library may define _anybodys, and none does",
         [](TinyProgram& program) { program.weakBinding = bindingOf("_anybodys"); }},
        {"an_unknown_instruction_for_later", "bind instruction 0xd0 is not known here",
         [](TinyProgram& program) { program.lazyBinding = {0x00, 0xD0}; }},
    };
}

void append(std::vector<DamagedProgram>& all, std::vector<DamagedProgram> more) {
    for (DamagedProgram& program : more) {
        all.push_back(std::move(program));
    }
}

ByteVector universal() {
    const ByteVector slice = TinyProgram().file();
    return universalFile(slice, 0x01000007, 0x1000, static_cast<std::uint32_t>(slice.size()), 11);
}

void putBigEndian(ByteVector& file, std::size_t offset, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        file[offset++] = static_cast<std::uint8_t>(value >> shift);
    }
}

ByteVector withModelInTable(std::uint32_t model) {
    ByteVector file = universal();
    putBigEndian(file, 12, model);
    return file;
}

// For another processor, at a place of this one's.
ByteVector withSecondSlice(std::uint32_t offset) {
    ByteVector file = universal();
    putBigEndian(file, 4, 2);
    std::size_t field = 28;
    for (const std::uint32_t value : {0x0100000CU, 0U, offset, 0x100U, 11U}) {
        putBigEndian(file, field, value);
        field += 4;
    }
    return file;
}

std::vector<DamagedProgram> damagedBytes() {
    const ByteVector slice = TinyProgram().file();
    const auto size = static_cast<std::uint32_t>(slice.size());
    constexpr std::uint32_t intel = 0x01000007;
    return {
        {"a_single_byte", {0xCF}, "the file's first bytes end too early"},
        {"half_a_header", firstBytes(30), "the header's fields end too early"},
        {"half_of_the_commands", firstBytes(200), "load commands reach outside the file"},
        {"fewer_commands_than_counted", withField(commandCountField, std::uint32_t{1000}),
         "load commands end too early"},
        {"more_commands_than_counted", withField(commandCountField, std::uint32_t{3}),
         "there are more load commands than the header says"},
        {"a_command_of_no_size", withField(firstCommandSize, std::uint32_t{0}),
         "the size of load command 0x19 does not fit"},
        {"a_command_larger_than_all", withField(firstCommandSize, std::uint32_t{0x10000}),
         "the size of load command 0x19 does not fit"},
        {"a_segment_command_too_small", withField(firstCommandSize, std::uint32_t{64}),
         "load commands end too early"},
        {"a_universal_file_that_ends_at_once",
         {0xCA, 0xFE, 0xBA, 0xBE},
         "the file's first bytes end too early"},
        {"a_slice_outside_the_file", universalFile(slice, intel, 0x1000, size + 1, 12),
         "slices reach outside the file"},
        {"a_slice_at_another_place", universalFile(slice, intel, 0x1001, size - 1, 12),
         "slices are not aligned as the file says"},
        {"a_slice_for_another_processor", universalFile(slice, 0x0100000C, 0x1000, size, 12),
         "there is no slice for x86_64"},
        {"a_slice_that_is_something_else",
         universalFile(ByteVector(0x1000), intel, 0x1000, 0x1000, 12),
         "it is no program for x86_64"},
        {"a_slice_for_another_model", withModelInTable(8),
         "it is for a model of x86_64 that is not known here"},
        {"a_slice_for_two_models", withModelInTable(0x80000003),
         "the slice's header and the file's table tell different models"},
        {"a_slice_over_the_table", universalFile(slice, intel, 0, 0x1000, 12), "slices overlap"},
        {"slices_that_overlap", withSecondSlice(0x1800), "slices overlap"},
    };
}

struct ClassRow {
    const char* name;
    const char* complaint;
    TinyClass tiny;
};

std::vector<DamagedProgram> damagedClasses() {
    const std::vector<ClassRow> rows = {
        {"a_class_of_unknown_flags",
         "the flags 0x200 of class TinyClass do not fit",
         {.flags = 0x200}},
        {"a_class_that_says_it_constructs",
         "the flags 0x4 of class TinyClass do not fit",
         {.flags = 0x4}},
        {"a_metaclass_among_the_classes",
         "the flags 0x1 of class TinyClass do not fit",
         {.flags = 0x1}},
        {"a_class_that_is_no_metaclass",
         "the flags 0x0 of the metaclass of TinyClass do not fit",
         {.metaclassFlags = 0}},
        {"a_metaclass_of_unknown_flags",
         "the flags 0x201 of the metaclass of TinyClass do not fit",
         {.metaclassFlags = 0x201}},
        {"a_metaclass_of_another_size",
         "the sizes of the metaclass of TinyClass do not fit",
         {.metaclassSize = 48}},
        {"an_instance_variable_that_lies_elsewhere",
         "instance variable answer does not fit",
         {.variableOffset = 12}},
        {"an_instance_variable_of_another_alignment",
         "instance variable answer does not fit",
         {.variableAlignment = 4}},
        {"an_instance_variable_of_an_unknown_alignment",
         "instance variable answer does not fit",
         {.variableAlignment = 64}},
        {"an_instance_variable_outside_the_program",
         "an instance variable's offset lies outside the program",
         {.unmoved = {TinyClass::variableOffsetPlace}}},
        {"a_class_that_begins_elsewhere",
         "instance variable answer does not fit",
         {.instanceBegin = 16}},
        {"a_class_that_begins_in_what_it_inherits",
         "the sizes of class TinyClass do not fit",
         {.instanceBegin = 0, .instanceSize = 4, .variableOffset = 0}},
        {"a_class_of_another_size",
         "the sizes of class TinyClass do not fit",
         {.instanceSize = 16}},
        {"a_class_that_inherits_nothing",
         "a reference to a class leads to none",
         {.inheritsNothing = true}},
        {"a_class_that_inherits_no_class",
         "a reference to a class leads to none",
         {.superclass = "__objc_empty_cache"}},
        {"a_class_name_outside_the_program",
         "a class's name lies outside the program",
         {.unmoved = {TinyClass::namePlace}}},
        {"a_class_that_is_there_already",
         "there is a class NSObject already",
         {.name = "NSObject"}},
        {"a_class_that_inherits_itself",
         "a reference to a class leads to none",
         {.inheritsItself = true}},
        {"methods_of_an_unknown_kind",
         "a list of methods is of a kind that is not known here",
         {.methodSize = 0x8000000C}},
        {"methods_past_the_end",
         "a list of methods lies outside the program",
         {.methodCount = 0x100000}},
        {"protocols_outside_the_program",
         "a protocol list lies outside the program",
         {.protocols = 0x300, .unmoved = {TinyClass::protocolsPlace}}},
        {"protocols_past_the_end",
         "a protocol list lies outside the program",
         {.protocols = 0xC0}}, // its methods
        {"a_protocol_outside_the_program",
         "a protocol lies outside the program",
         {.protocols = 0x230}}, // the variable's offset, and zeros
        {"a_method_outside_the_program",
         "method answer lies outside the program",
         {.unmoved = {TinyClass::implementationPlace}}},
    };
    std::vector<DamagedProgram> programs;
    for (const ClassRow& row : rows) {
        TinyProgram program;
        row.tiny.addTo(program);
        programs.push_back({row.name, program.file(), row.complaint});
    }
    return programs;
}

struct UnwindingRow {
    const char* name;
    const char* complaint;
    TinyUnwinding tiny;
};

// The data begins 0x1000 after the code.
std::vector<DamagedProgram> damagedUnwinding() {
    const char* const outside = "a function of __unwind_info lies outside the code";
    const char* const unpaired = "a function has a personality or handlers, but not both";
    const char* const unused = "__unwind_info has a table of handlers that no function has";
    const char* const noPersonality = "a personality of a function is none that is known here";
    const char* const outOfOrder = "the tables of handlers of __unwind_info are out of order";
    const std::vector<UnwindingRow> rows = {
        {"a_function_before_the_code", outside, {.begin = 0x7FF}},
        {"a_function_past_the_code", outside, {.end = 0x807}},
        {"a_function_of_4_gigabytes", outside, {.end = 0xFFFFFFFF}},
        {"a_function_without_instructions",
         "the functions of __unwind_info are out of order",
         {.end = 0x800}},
        {"a_page_of_an_unknown_kind",
         "a page of __unwind_info is of a kind that is not known here",
         {.pageKind = 4}},
        {"an_encoding_that_is_not_there",
         "__unwind_info names an encoding that is not there",
         {.pageKind = 3}},
        {"a_page_after_the_last_one",
         "the pages of __unwind_info do not end as they should",
         {.lastPage = 52}},
        {"an_unknown_encoding", "unwinding encoding 0x0 is not known here", {.encoding = 0}},
        {"seven_saved_registers",
         "unwinding encoding 0x2081c00 is not known here",
         {.encoding = 0x02081C00}},
        {"the_middle_of_a_function",
         "a function of __unwind_info does not begin where it begins",
         {.encoding = 0x81000000}},
        {"a_personality_that_is_not_there",
         "__unwind_info names a personality that is not there",
         {.encoding = 0x11000000}},
        {"a_personality_outside_the_program",
         "a personality of a function lies outside the program",
         {.encoding = 0x11000000, .personalities = {0x10000}}},
        {"a_personality_that_is_no_function",
         noPersonality,
         {.encoding = 0x11000000, .personalities = {0x1000}}},
        {"handlers_that_are_not_there",
         "__unwind_info lacks a function's table of handlers",
         {.encoding = 0x41000000}},
        {"handlers_without_a_personality",
         unpaired,
         {.encoding = 0x41000000, .handlers = {{0x800, 0xF00}}}},
        {"handlers_of_no_function", unused, {.handlers = {{0x800, 0xF00}}}},
        {"handlers_of_a_function_that_is_not_there", unused, {.handlers = {{0x900, 0xF00}}}},
        {"two_tables_of_handlers",
         "a function of __unwind_info has two tables of handlers",
         {.handlers = {{0x800, 0xF00}, {0x800, 0xF00}}}},
        {"half_a_table_of_handlers", outOfOrder, {.handlers = {{0x800, 0xF00}}, .handlersCut = 4}},
        {"tables_of_handlers_that_end_before_they_begin", outOfOrder, {.handlersCut = 8}},
    };
    std::vector<DamagedProgram> programs;
    for (const UnwindingRow& row : rows) {
        TinyProgram program;
        row.tiny.addTo(program);
        programs.push_back({row.name, program.file(), row.complaint});
    }
    return programs;
}

// The data's first pointer is the function's personality, bound to a symbol of `library`.
void addPersonality(TinyProgram& program, const char* library, const char* symbol) {
    TinyUnwinding{.encoding = 0x51000000, .personalities = {0x1000}, .handlers = {{0x800, 0xF00}}}
        .addTo(program);
    program.libraries = {library};
    program.binding = bindingOf(symbol);
}

// One that is asked for through `accessor`, in a space of 8 bytes.
void addThreadLocal(TinyProgram& program, const char* accessor, std::uint8_t key,
                    std::uint8_t offset) {
    ByteVector descriptor(24);
    descriptor[8] = key;
    descriptor[16] = offset;
    program.data().sections = {{"__thread_vars", 19, 0, descriptor},
                               {"__thread_bss", 18, 24, ByteVector(8)}};
    program.binding = bindingOf(accessor);
}

} // namespace

std::vector<DamagedProgram> damagedFiles() {
    std::vector<DamagedProgram> all = damagedBytes();
    for (const auto& rows : {headers(), segments(), instructions()}) {
        append(all, made(rows));
    }
    return all;
}

std::vector<DamagedProgram> damagedContents() {
    std::vector<DamagedProgram> all = damagedClasses();
    append(all, damagedUnwinding());
    append(
        all,
        made({
            {"an_import_that_is_not_known",
             "_launch of /usr/lib/libSystem.B.dylib is not known here",
             [](TinyProgram& program) { program.binding = bindingOf("_launch"); }},
            {"an_import_that_may_be_missing",
             "_launch of /usr/lib/libSystem.B.dylib is not known here",
             [](TinyProgram& program) {
                 program.binding = bindingOf("_launch");
                 program.binding[1] |= 1;
             }},
            {"an_import_of_another_library", "_exit of /usr/lib/libobjc.A.dylib is not known here",
             [](TinyProgram& program) {
                 program.libraries = {"/usr/lib/libobjc.A.dylib"};
                 program.binding = bindingOf("_exit");
             }},
            {"an_unknown_library", "library /usr/lib/libz.dylib is not known here",
             [](TinyProgram& program) {
                 program.libraries = {"/usr/lib/libz.dylib"};
                 program.binding = bindingOf("_exit");
             }},
            {"a_class_of_another_library", "class NSView is not known here",
             [](TinyProgram& program) { program.binding = bindingOf("_OBJC_CLASS_$_NSView"); }},
            {"a_class_outside_the_program", "a class lies outside the program",
             [](TinyProgram& program) {
                 program.data().sections = {{"__objc_classlist", 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}}};
             }},
            {"half_a_class_list", "__objc_classlist ends in the middle of an element",
             [](TinyProgram& program) {
                 program.data().sections = {{"__objc_classlist", 0, 0, ByteVector(12)}};
             }},
            {"a_class_without_a_description", "a class's description lies outside the program",
             [](TinyProgram& program) {
                 // A pointer to the zeros behind it, moved along with the program.
                 program.data().sections = {
                     {"__objc_classlist", 0, 0, {0x10, 0x10, 0, 0, 1, 0, 0, 0}}};
                 program.rebasing = {0x22, 0x00, 0x51};
             }},
            {"a_selector_outside_the_program", "a selector lies outside the program",
             [](TinyProgram& program) {
                 program.data().sections = {{"__objc_selrefs", 5, 0, ByteVector(8)}};
             }},
            {"a_literal_of_an_unknown_kind", "a literal is of a kind that is not known here",
             [](TinyProgram& program) {
                 program.data().sections = {{"__cfstring", 0, 0, ByteVector(32)}};
             }},
            {"objective_c_of_another_version",
             "its Objective-C is of a kind that is not known here",
             [](TinyProgram& program) {
                 program.data().sections = {{"__objc_imageinfo", 0, 0, {9, 0, 0, 0, 0, 0, 0, 0}}};
             }},
            {"thread_locals_that_are_too_large", "its thread-local variables are too large",
             [](TinyProgram& program) {
                 program.data().size = 0x4000;
                 program.tables().address += 0x4000;
                 program.data().sections = {{"__thread_bss", 18, 0x1000, ByteVector(0x1400)}};
             }},
            {"a_pointer_outside_the_program",
             "the pointer at 0x100001008 leads outside the program",
             [](TinyProgram& program) {
                 program.data().sections = {{"__data", 0, 8, {1, 0x30, 0, 0, 1, 0, 0, 0}}};
                 program.rebasing = {0x11, 0x22, 0x08, 0x51};
             }},
            {"two_sections_of_one_name", "there are two sections __cfstring",
             [](TinyProgram& program) {
                 program.data().sections = {{"__cfstring", 0, 0, ByteVector(32)},
                                            {"__cfstring", 0, 32, ByteVector(32)}};
             }},
            {"a_thread_local_of_an_unknown_kind", "a thread-local variable does not fit",
             [](TinyProgram& program) { addThreadLocal(program, "_exit", 0, 0); }},
            {"a_thread_local_that_is_known_already", "a thread-local variable does not fit",
             [](TinyProgram& program) { addThreadLocal(program, "__tlv_bootstrap", 1, 0); }},
            {"a_thread_local_past_all_others", "a thread-local variable does not fit",
             [](TinyProgram& program) { addThreadLocal(program, "__tlv_bootstrap", 0, 8); }},
            {"a_personality_of_something_else",
             "a personality of a function is none that is known here",
             [](TinyProgram& program) {
                 addPersonality(program, "/usr/lib/libSystem.B.dylib", "_exit");
             }},
            {"handlers_outside_their_section", "a table of handlers lies outside __gcc_except_tab",
             [](TinyProgram& program) {
                 addPersonality(program, "/usr/lib/libobjc.A.dylib", "___objc_personality_v0");
             }},
            {"a_literal_of_no_text", "a literal is no UTF-16",
             [](TinyProgram& program) {
                 ByteVector literal(34);
                 literal[8] = 0xD0; // of UTF-16
                 literal[9] = 0x07;
                 literal[24] = 1;
                 literal[33] = 0xD8; // one half of a pair
                 // The pointer to the text that follows.
                 const ByteVector text = {0x20, 0x10, 0, 0, 1, 0, 0, 0};
                 std::copy(text.begin(), text.end(), literal.begin() + 16);
                 program.data().sections = {
                     {"__cfstring", 0, 0, {literal.begin(), literal.begin() + 32}},
                     {"__data", 0, 32, {literal.begin() + 32, literal.end()}}};
                 program.rebasing = {0x11, 0x22, 0x10, 0x51};
             }},
            {"no_unwinding", "there is no __unwind_info",
             [](TinyProgram& program) { program.code().sections.pop_back(); }},
            {"unwinding_of_another_version", "the version of __unwind_info is not known here",
             [](TinyProgram& program) { program.code().sections.back().contents[0] = 2; }},
            {"half_of_the_unwinding", "the entries of __unwind_info reach outside the file",
             [](TinyProgram& program) { program.code().sections.back().contents.resize(20); }},
            {"unwinding_outside_its_table", "the entries of __unwind_info reach outside the file",
             [](TinyProgram& program) { program.code().sections.back().contents[4] = 0xFF; }},
        }));
    return all;
}

} // namespace mac_program
