#pragma once

#include <string>
#include <string_view>

namespace veilpane {

/// Opens /dev/null in the place of a closed standard input, output or error. Otherwise the next
/// file or connection that is opened would take its number, and what is meant for standard error
/// would go there.
void openMissingStandardDescriptors();

/// Writes one line to standard output, ended by a line feed.
void printLine(const std::string& line);

/// How the command line writes booleans: "true" and "false".
[[nodiscard]] std::string boolText(bool value);

/// Writes the bytes to standard error at once. A closed or full standard error is ignored. Needs an
/// autorelease pool around it.
void writeToStandardError(std::string_view bytes);

} // namespace veilpane
