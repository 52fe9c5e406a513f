#pragma once

namespace mac_program {

/// The table of characters that a Mac's `<ctype.h>` reads directly, of the C locale.
const void* characterTable();

} // namespace mac_program
