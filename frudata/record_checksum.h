// The checksums of a record, mended after a change.
#pragma once

#include "platform/bytes.h"

namespace em_pni {

// Both do nothing, and say so by false, when what they cover is not wholly inside the image.
bool mendInternalUseAreaChecksum(CByteEditor image) noexcept;
// The record's checksum, then that of its header, which covers it.
bool mendRecordChecksum(CByteEditor image) noexcept;

}  // namespace em_pni
