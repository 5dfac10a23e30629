// Records for the fuzz targets: made of any bytes, or mended until they are valid.
#pragma once

#include "fuzz/fuzz_input.h"

namespace em_pni::fuzz {

// A whole valid image of any format version and shape, at most 64 KiB.
Bytes buildRecord(CFuzzInput& input);
// One module area; format versions 10 to 12.
Bytes buildModule(CFuzzInput& input, unsigned version, unsigned id, bool last);

// Mends checksums, a record length that points outside, and the numbers and end marks of modules,
// ports and functions, as far as there is a record.
void mendRecord(Bytes& image);

}  // namespace em_pni::fuzz
