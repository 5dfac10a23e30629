// Why the record in an image is not valid.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/bytes.h"

namespace em_pni {

struct RecordFault {
    std::uint32_t code = 0;  // PniResult
    std::string what;        // the thing that is wrong: "checksum of the record"
    std::size_t offset = 0;  // in the image, of the byte that states it
    std::string expected;
    std::string found;
};

// The first fault in the order of validation. No value = the image is valid.
std::optional<RecordFault> findFault(CByteView image);

// "CHECKSUM_ERR"; "SUCCESS" for code 0.
std::string nameOf(const RecordFault& fault);

// "CHECKSUM_ERR [2], checksum of the record at byte 20: expected 0x2B, found 0x2C".
std::string textOf(const RecordFault& fault);

}  // namespace em_pni
