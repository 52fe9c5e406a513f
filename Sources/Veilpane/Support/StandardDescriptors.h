#pragma once

/// Opens /dev/null in the place of a closed standard input, output or error. Otherwise the next
/// file or connection that is opened would take its number, and what is meant for standard error
/// would go there.
void openMissingStandardDescriptors();
