// Functions over the bytes of a FRU image. They take any bytes, read nothing outside the image,
// never throw and take no lock. What they do not find is null, 0 or a result code. docs/record.md
// has the format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "frudata/record_cursor.h"
#include "platform/bytes.h"

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

// The result of validation for a fault of the header chain.
std::uint32_t pniFrameResult(FrameFault fault) noexcept;

// Checks the whole image: headers, lengths, checksums, and the number and end mark of each module,
// port and function. Returns the code of the first fault. Two records are valid although a length
// in them is odd: one whose lists reach behind recordLength but not behind the image, and one whose
// last function states a length behind the image.
std::uint32_t pniValidateFru(const std::uint8_t* data, std::size_t size) noexcept;

// The functions below return pointers into the image.

// Does not check the content of the area.
const std::uint8_t* pni_findOemInternalUseArea(const std::uint8_t* data, std::size_t size) noexcept;
// Checks the format of the internal use area and the record type. Does not check checksums, the
// number of modules and the format version.
const std::uint8_t* pni_findPniFruMultirecordHeader(const std::uint8_t* data,
                                                    std::size_t size) noexcept;
// Checks also the format version, and that the record lies inside the image. Does not check the
// subtype.
const std::uint8_t* pni_findPniCommonArea(const std::uint8_t* data, std::size_t size) noexcept;
// The module at this position of the record. CModuleSearch says what is checked on the way.
const std::uint8_t* pni_findPniModuleArea(const std::uint8_t* data, std::size_t size,
                                          std::uint8_t moduleIndex, bool checkEndOfList) noexcept;

// The low four bits of the record's format version, accepted or not. Returns PNI_PARAMETER_ERR for
// a null `version`, and PNI_FORMAT_ERR when pni_findPniFruMultirecordHeader finds no header.
std::uint32_t pni_getRecordFormatVersion(const std::uint8_t* data, std::size_t size,
                                         std::uint8_t* version) noexcept;

// Counts. They are 0 when an element on the way to them does not fit its place.
std::uint8_t pni_getModuleCount(const std::uint8_t* data, std::size_t size) noexcept;
std::uint8_t pni_getPortCount(const std::uint8_t* data, std::size_t size,
                              std::uint8_t moduleIndex) noexcept;
std::uint8_t pni_getPortFunctionCount(const std::uint8_t* data, std::size_t size,
                                      std::uint8_t moduleIndex, std::uint8_t portIndex) noexcept;

// Copies the address block of a Fibre Channel function into `buffer`. The copy ends with the
// function's length, the image, the buffer, or after 96 bytes; the rest of the buffer becomes 0.
// Returns PNI_UNSUPPORTED_ERR for another technology, and PNI_PARAMETER_ERR for a null buffer and
// for a function that is too short or not found.
std::uint32_t pni_readAddressBlock(const std::uint8_t* data, std::size_t size,
                                   std::uint8_t moduleIndex, std::uint8_t portIndex,
                                   std::uint8_t functionIndex, std::uint8_t* buffer,
                                   std::size_t bufferSize) noexcept;

// Finds modules by their positions and traces its way. Borrows the image; the flags of the modules
// may change meanwhile. Each search goes on where the one before ended, so a search for all modules
// in their order is one walk.
class CModuleSearch {
  public:
    // Traces the fault when the image holds no record. With `checkEndOfList` the search ends at a
    // module whose end mark does not fit its place.
    CModuleSearch(CByteView image, bool checkEndOfList) noexcept;

    // Returns the image offset of the module at this position. The position must not be smaller
    // than that of the call before. A port or function on the way that does not fit its place ends
    // its list, and the search goes on at that element.
    std::optional<std::size_t> Find(std::uint8_t moduleIndex) noexcept;

  private:
    bool PassModule() noexcept;

    std::optional<CRecordCursor> cursor_;  // in a module; no value when the search has ended
    bool checkEndOfList_;
};

}  // namespace em_pni
