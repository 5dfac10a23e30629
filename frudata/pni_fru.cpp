#include "frudata/pni_fru.h"

#include "frudata/layout.h"
#include "frudata/record_cursor.h"
#include "frudata/record_frame.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using CommonHeader = layout::IPMI_FRU_COMMON_HEADER;
using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;
using Header = layout::OEM_PNI_MULTIRECORD_HEADER;

// Every number and end mark of the record's modules, ports and functions fits its place.
bool isWalkable(CByteView image, const RecordFrame& frame) noexcept {
    CRecordCursor cursor(image, frame);
    while (cursor.NextModule()) {
        if (!cursor.ModuleFitsItsPlace()) {
            return false;
        }
    }
    return cursor.Fault() == WalkFault::none;
}

std::uint32_t validateHeaders(CByteView image) noexcept {
    if (!image.Has(0, CommonHeader::size)) {
        return PNI_INSUFFICENT_DATA_ERR;
    }
    if (image.Sum(0, CommonHeader::size) != 0) {
        return PNI_CHECKSUM_ERR;
    }
    // An offset of 0 is not refused here: the common header is then no valid internal use area.
    const std::size_t area = internalUseAreaOffset(image);
    if (!image.Has(area, InternalUseArea::size)) {
        return PNI_PARAMETER_ERR;
    }
    if (image.Sum(area, InternalUseArea::size) != 0) {
        return PNI_CHECKSUM_ERR;
    }
    if (!isInternalUseAreaFormat(image, area) ||
        image.U8(area + InternalUseArea::moduleCount) == 0) {
        return PNI_FORMAT_ERR;
    }
    const std::size_t header = multirecordHeaderOffset(image, area);
    if (!image.Has(header, Header::size)) {
        return PNI_INSUFFICENT_DATA_ERR;
    }
    return image.Sum(header, Header::size) == 0 ? PNI_SUCCESS : PNI_CHECKSUM_ERR;
}

}  // namespace

const char* pniResultText(std::uint32_t code) noexcept {
    static constexpr const char* texts[] = {
        "SUCCESS",         "INIT_ERR", "CHECKSUM_ERR", "FORMAT_ERR",           "PARAMETER_ERR",
        "UNSUPPORTED_ERR", "MISC_ERR", "MEMORY_ERR",   "INSUFFICENT_DATA_ERR",
    };
    return code < std::size(texts) ? texts[code] : "UNKNOWN ERROR";
}

std::uint32_t pniValidateFru(const std::uint8_t* data, std::size_t size) noexcept {
    if (data == nullptr) {
        return PNI_PARAMETER_ERR;
    }
    const CByteView image(data, size);
    if (const std::uint32_t code = validateHeaders(image); code != PNI_SUCCESS) {
        return code;
    }
    RecordFrame frame;
    const FrameFault fault = locateFrame(image, frame);
    if (fault == FrameFault::recordOutside) {
        return PNI_INSUFFICENT_DATA_ERR;
    }
    if (fault != FrameFault::none && fault != FrameFault::badSubtype) {
        return PNI_FORMAT_ERR;
    }
    const std::uint8_t checksum = image.U8(frame.multirecordHeader + Header::recordChecksum);
    const std::uint8_t dataSum = image.Sum(frame.commonArea, frame.recordLength);
    if (static_cast<std::uint8_t>(checksum + dataSum) != 0) {
        return PNI_CHECKSUM_ERR;
    }
    return fault == FrameFault::none && isWalkable(image, frame) ? PNI_SUCCESS : PNI_FORMAT_ERR;
}

// Does not look at the content of the area.
const std::uint8_t* pni_findOemInternalUseArea(const std::uint8_t* data,
                                               std::size_t size) noexcept {
    if (data == nullptr || size == 0) {
        PNI_TRACE(3,
                  "\nCPniFruData         : pni_findOemInternalUseArea() : WARNING ! Invalid "
                  "parameters.");
        return nullptr;
    }
    const CByteView image(data, size);
    if (!image.Has(0, CommonHeader::size)) {
        return nullptr;
    }
    const std::size_t area = internalUseAreaOffset(image);
    if (area == 0) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findOemInternalUseArea() : ERROR ! No IPMI Internal "
                  "Use Area.");
        return nullptr;
    }
    if (!image.Has(area, InternalUseArea::size)) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findOemInternalUseArea() : ERROR ! No IPMI Internal "
                  "Use Area (Invalid FruData)");
        return nullptr;
    }
    return data + area;
}

// Checks the format of the internal use area and the record type, no checksum and no version.
const std::uint8_t* pni_findPniFruMultirecordHeader(const std::uint8_t* data,
                                                    std::size_t size) noexcept {
    PNI_TRACE(2, "\nCPniFruData         : Searching for the PNI multi record header ...");
    if (data == nullptr || size == 0) {
        PNI_TRACE(3,
                  "\nCPniFruData         : pni_findPniFruMultirecordHeader() : WARNING ! Invalid "
                  "parameters.");
        return nullptr;
    }
    const CByteView image(data, size);
    if (!image.Has(0, CommonHeader::size)) {
        PNI_TRACE(3,
                  "\nCPniFruData         : pni_findPniFruMultirecordHeader() : ERROR ! No "
                  "IPMI_FRU_COMMON_HEADER!");
        return nullptr;
    }
    const std::size_t area = internalUseAreaOffset(image);
    if (!image.Has(area, InternalUseArea::size)) {
        PNI_TRACE(3,
                  "\nCPniFruData         : pni_findPniFruMultirecordHeader() : ERROR ! Invaid "
                  "OEM_INTERNAL_USE_AREA (Invalid FruData)!");
        return nullptr;
    }
    if (!isInternalUseAreaFormat(image, area)) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniFruMultirecordHeader() ERROR ! Invaid "
                  "OemInternalUseArea format!");
        return nullptr;
    }
    const std::size_t header = multirecordHeaderOffset(image, area);
    if (!image.Has(header, Header::size)) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniFruMultirecordHeader() : ERROR ! Invaid "
                  "OEM_PNI_MULTIRECORD_HEADER (Invalid FruData)!");
        return nullptr;
    }
    return image.U8(header + Header::recordTypeId) == Header::oemRecordType ? data + header
                                                                            : nullptr;
}

// Checks the format version and that the record lies inside; not the subtype.
const std::uint8_t* pni_findPniCommonArea(const std::uint8_t* data, std::size_t size) noexcept {
    const std::uint8_t* const found = pni_findPniFruMultirecordHeader(data, size);
    PNI_TRACE(2, "\nCPniFruData         : Searching for the PNI common area ...");
    if (found == nullptr) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniCommonArea() : ERROR! Could not find "
                  "Multirecord Header.");
        return nullptr;
    }
    const CByteView image(data, size);
    const auto header = static_cast<std::size_t>(found - data);
    if (!isAcceptedFormatVersion(image.U8(header + Header::recordFormatVersion))) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniCommonArea() : ERROR! Invalid multirecord "
                  "record format version!");
        return nullptr;
    }
    if (!image.Has(header, Header::size + image.U16(header + Header::recordLength))) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniCommonArea() : ERROR! No PNI_COMMON_AREA "
                  "(Invalid FruData)");
        return nullptr;
    }
    return found + Header::size;
}

std::uint32_t pni_getRecordFormatVersion(const std::uint8_t* data, std::size_t size,
                                         std::uint8_t* version) noexcept {
    if (version == nullptr) {
        return PNI_PARAMETER_ERR;
    }
    const CByteView image(data, size);
    if (!image.Has(0, CommonHeader::size)) {
        return PNI_FORMAT_ERR;
    }
    const std::size_t area = internalUseAreaOffset(image);
    if (!image.Has(area, InternalUseArea::size) || !isInternalUseAreaFormat(image, area)) {
        return PNI_FORMAT_ERR;
    }
    const std::size_t header = multirecordHeaderOffset(image, area);
    if (!image.Has(header, Header::size) ||
        image.U8(header + Header::recordTypeId) != Header::oemRecordType) {
        return PNI_FORMAT_ERR;
    }
    *version = image.U8(header + Header::recordFormatVersion) & Header::formatVersionMask;
    return PNI_SUCCESS;
}

std::uint8_t pni_getModuleCount(const std::uint8_t* data, std::size_t size) noexcept {
    const CByteView image(data, size);
    if (!image.Has(0, CommonHeader::size)) {
        return 0;
    }
    const std::size_t area = internalUseAreaOffset(image);
    if (area == 0 || !image.Has(area, InternalUseArea::size) ||
        !isInternalUseAreaFormat(image, area)) {
        return 0;
    }
    return image.U8(area + InternalUseArea::moduleCount);
}

}  // namespace em_pni
