#pragma once

#include <string>

/// Writes one line to standard output, ended by a line feed.
void printLine(const std::string& line);

/// How the command line writes booleans: "true" and "false".
[[nodiscard]] std::string boolText(bool value);
