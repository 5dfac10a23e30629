// Records for the fuzz targets: built from any bytes, or repaired until they are valid.
#pragma once

#include "fuzz/fuzz_input.h"

namespace em_pni::fuzz {

// Builds a valid image of any format version and shape, at most 64 KiB.
Bytes buildRecord(CFuzzInput& input);
// Builds one module area for format version 10, 11 or 12.
Bytes buildModule(CFuzzInput& input, unsigned version, unsigned id, bool last);

// Repairs checksums, a record length that reaches outside, and the numbers and end marks of
// modules, ports and functions. Does what it can when the image holds no record.
void mendRecord(Bytes& image);

}  // namespace em_pni::fuzz
