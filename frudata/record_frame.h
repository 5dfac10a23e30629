// Where the parts of a record stand in an image, found without a trace and without judging more
// than what is needed to find them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/bytes.h"

namespace em_pni {

struct RecordFrame {
    std::size_t internalUseArea = 0;  // image offsets
    std::size_t multirecordHeader = 0;
    std::size_t commonArea = 0;
    std::uint16_t recordLength = 0;  // bytes from commonArea on
    std::uint8_t moduleCount = 0;
    std::uint8_t formatVersion = 0;  // 10, 11 or 12
};

// The first thing that is wrong, in the order in which it is looked at.
enum class FrameFault {
    none,
    shorterThanHeader,   // not even a common header
    noInternalUseArea,   // offset 0 or outside the image
    badInternalUseArea,  // not format 1, type 1
    noModules,
    headerOutside,
    badRecordType,
    badFormatVersion,
    recordOutside,  // recordLength reaches behind the image
    badSubtype,
};

bool isAcceptedFormatVersion(std::uint8_t recordFormatVersion) noexcept;

// Image offset of the internal use area, as the common header says. Needs a common header.
std::size_t internalUseAreaOffset(CByteView image) noexcept;
// Image offset of the multi-record header. Needs the internal use area header.
std::size_t multirecordHeaderOffset(CByteView image, std::size_t internalUseArea) noexcept;
bool isInternalUseAreaFormat(CByteView image, std::size_t internalUseArea) noexcept;

// Fills `frame` as far as it gets.
FrameFault locateFrame(CByteView image, RecordFrame& frame) noexcept;

}  // namespace em_pni
