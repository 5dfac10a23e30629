// Free functions over the bytes of a FRU image. They take any bytes, read none outside, never throw
// and never lock; what is not there is null, 0 or a result code. docs/record.md has the format.
#pragma once

#include <cstddef>
#include <cstdint>

namespace em_pni {

// Results of validation and of the other functions that return a code.
enum PniResult : std::uint32_t {
    PNI_SUCCESS = 0,
    PNI_INIT_ERR = 1,
    PNI_CHECKSUM_ERR = 2,
    PNI_FORMAT_ERR = 3,
    PNI_PARAMETER_ERR = 4,
    PNI_UNSUPPORTED_ERR = 5,
    PNI_MISC_ERR = 6,
    PNI_MEMORY_ERR = 7,
    PNI_INSUFFICENT_DATA_ERR = 8,
};

// "SUCCESS", "CHECKSUM_ERR", ...; "UNKNOWN ERROR" for any other code.
const char* pniResultText(std::uint32_t code) noexcept;

// Checks the whole image: headers, lengths, checksums, and that every module, port and function
// stands where its number and end mark say. The first failure counts. A record whose last length
// points behind the record or the image is valid as long as nothing is read there.
std::uint32_t pniValidateFru(const std::uint8_t* data, std::size_t size) noexcept;

// Pointers into the image; each states in pni_fru.cpp how much it checks on its way.
const std::uint8_t* pni_findOemInternalUseArea(const std::uint8_t* data, std::size_t size) noexcept;
const std::uint8_t* pni_findPniFruMultirecordHeader(const std::uint8_t* data,
                                                    std::size_t size) noexcept;
const std::uint8_t* pni_findPniCommonArea(const std::uint8_t* data, std::size_t size) noexcept;

// The module at this position of the record. A port or function on the way that does not fit its
// place ends its list, and the search goes on behind it; a module on the way whose end mark does
// not fit ends the search when `checkEndOfList` is set.
const std::uint8_t* pni_findPniModuleArea(const std::uint8_t* data, std::size_t size,
                                          std::uint8_t moduleIndex, bool checkEndOfList) noexcept;

// The low four bits of the record's format version.
std::uint32_t pni_getRecordFormatVersion(const std::uint8_t* data, std::size_t size,
                                         std::uint8_t* version) noexcept;

// Counts, 0 where the walk to them fails.
std::uint8_t pni_getModuleCount(const std::uint8_t* data, std::size_t size) noexcept;
std::uint8_t pni_getPortCount(const std::uint8_t* data, std::size_t size,
                              std::uint8_t moduleIndex) noexcept;
std::uint8_t pni_getPortFunctionCount(const std::uint8_t* data, std::size_t size,
                                      std::uint8_t moduleIndex, std::uint8_t portIndex) noexcept;

// Copies the address block of a Fibre Channel function into `buffer`: at most 96 bytes, at most as
// many as the function is long, the buffer holds and the image has; the rest of the buffer is set
// to zero. PNI_UNSUPPORTED_ERR for another technology, PNI_PARAMETER_ERR without a buffer or for a
// function that is too short or not found.
std::uint32_t pni_readAddressBlock(const std::uint8_t* data, std::size_t size,
                                   std::uint8_t moduleIndex, std::uint8_t portIndex,
                                   std::uint8_t functionIndex, std::uint8_t* buffer,
                                   std::size_t bufferSize) noexcept;

}  // namespace em_pni
