#pragma once

#include "MacProgram/File/ByteReader.h"

namespace mac_program {

/// The program for this process's processor in a universal file, or the whole file when it is no
/// universal one. Throws BadProgram when there is none, or when the file's own table of contents
/// does not fit it.
Bytes sliceForThisProcessor(Bytes file);

} // namespace mac_program
