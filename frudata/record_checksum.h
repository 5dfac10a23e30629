// Repair of the checksums of a record after a change.
#pragma once

#include "platform/bytes.h"

namespace em_pni {

// Each returns false and changes nothing when the covered bytes are not wholly inside the image.

bool mendInternalUseAreaChecksum(CByteEditor image) noexcept;
// Mends the checksum of the record data, then the checksum of the header, which covers it.
bool mendRecordChecksum(CByteEditor image) noexcept;

}  // namespace em_pni
