#include "frudata/record_frame.h"

#include "frudata/layout.h"

namespace em_pni {

using CommonHeader = layout::IPMI_FRU_COMMON_HEADER;
using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;
using Header = layout::OEM_PNI_MULTIRECORD_HEADER;
using CommonArea = layout::PNI_COMMON_AREA;

bool isAcceptedFormatVersion(std::uint8_t recordFormatVersion) noexcept {
    return (recordFormatVersion & 0x0E) == 0x0A || (recordFormatVersion & 0x0F) == 0x0C;
}

std::size_t internalUseAreaOffset(CByteView image) noexcept {
    return std::size_t{8} * image.U8(CommonHeader::internalUseAreaOffset);
}

std::size_t multirecordHeaderOffset(CByteView image, std::size_t internalUseArea) noexcept {
    return internalUseArea +
           std::size_t{8} * image.U8(internalUseArea + InternalUseArea::pniRecordOffset);
}

bool isInternalUseAreaFormat(CByteView image, std::size_t internalUseArea) noexcept {
    return image.U8(internalUseArea + InternalUseArea::iuaFormatVersion) == 1 &&
           image.U8(internalUseArea + InternalUseArea::iuaAreaType) == 1;
}

FrameFault locateFrame(CByteView image, RecordFrame& frame) noexcept {
    if (!image.Has(0, CommonHeader::size)) {
        return FrameFault::shorterThanHeader;
    }
    frame.internalUseArea = internalUseAreaOffset(image);
    if (frame.internalUseArea == 0 || !image.Has(frame.internalUseArea, InternalUseArea::size)) {
        return FrameFault::noInternalUseArea;
    }
    if (!isInternalUseAreaFormat(image, frame.internalUseArea)) {
        return FrameFault::badInternalUseArea;
    }
    frame.moduleCount = image.U8(frame.internalUseArea + InternalUseArea::moduleCount);
    if (frame.moduleCount == 0) {
        return FrameFault::noModules;
    }
    frame.multirecordHeader = multirecordHeaderOffset(image, frame.internalUseArea);
    if (!image.Has(frame.multirecordHeader, Header::size)) {
        return FrameFault::headerOutside;
    }
    if (image.U8(frame.multirecordHeader + Header::recordTypeId) != Header::oemRecordType) {
        return FrameFault::badRecordType;
    }
    const std::uint8_t version = image.U8(frame.multirecordHeader + Header::recordFormatVersion);
    if (!isAcceptedFormatVersion(version)) {
        return FrameFault::badFormatVersion;
    }
    frame.formatVersion = version & Header::formatVersionMask;
    frame.recordLength = image.U16(frame.multirecordHeader + Header::recordLength);
    frame.commonArea = frame.multirecordHeader + Header::size;
    if (!image.Has(frame.commonArea, frame.recordLength)) {
        return FrameFault::recordOutside;
    }
    if (image.U8(frame.commonArea + CommonArea::subtype) !=
        CommonArea::NETWORK_INVENTORY_MODULE_SUBTYPE) {
        return FrameFault::badSubtype;
    }
    return FrameFault::none;
}

}  // namespace em_pni
