#include "host/output/record_fault.h"

#include "frudata/layout.h"
#include "frudata/pni_fru.h"
#include "frudata/record_cursor.h"
#include "platform/number.h"

namespace em_pni {

namespace {

using CommonHeader = layout::IPMI_FRU_COMMON_HEADER;
using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;
using Header = layout::OEM_PNI_MULTIRECORD_HEADER;
using CommonArea = layout::PNI_COMMON_AREA;

std::string hexByte(unsigned byte) {
    return "0x" + upperHex(byte % 256, 2);
}

// A checksum byte at `place` makes the sum of `length` bytes from `begin` on 0.
RecordFault checksumFault(CByteView image, const char* what, std::size_t place, std::size_t begin,
                          std::size_t length) {
    const unsigned others = 256U + image.Sum(begin, length) -
                            (place >= begin && place < begin + length ? image.U8(place) : 0U);
    return {PNI_CHECKSUM_ERR, what, place, hexByte(512U - others % 256), hexByte(image.U8(place))};
}

RecordFault byteFault(CByteView image, const char* what, std::size_t place,
                      const std::string& expected) {
    return {0, what, place, expected, hexByte(image.U8(place))};
}

// The bytes from `begin` on do not lie inside the image. `place` states them.
RecordFault outsideFault(CByteView image, const char* what, std::size_t place, std::size_t begin,
                         std::size_t length) {
    return {0, what, place, "an end at byte " + std::to_string(image.Size()) + " or before",
            "an end at byte " + std::to_string(begin + length)};
}

// One of the first two bytes of the internal use area at `area` is not 1.
RecordFault areaFormatFault(CByteView image, std::size_t area) {
    const std::size_t version = area + InternalUseArea::iuaFormatVersion;
    if (image.U8(version) != 1) {
        return byteFault(image, "format version of the internal use area", version, hexByte(1));
    }
    return byteFault(image, "type of the internal use area", area + InternalUseArea::iuaAreaType,
                     hexByte(1));
}

RecordFault faultOfFrame(CByteView image, const RecordFrame& frame) {
    const std::size_t area = frame.internalUseArea;
    const std::size_t header = frame.multirecordHeader;
    constexpr std::size_t unit = 8;  // bytes
    switch (frame.fault) {
        case FrameFault::shorterThanHeader:
            return {0, "common header", 0, std::to_string(CommonHeader::size) + " bytes",
                    std::to_string(image.Size()) + " bytes"};
        case FrameFault::badCommonChecksum:
            return checksumFault(image, "checksum of the common header", CommonHeader::size - 1, 0,
                                 CommonHeader::size);
        case FrameFault::noInternalUseArea:
            return byteFault(image, "offset of the internal use area",
                             CommonHeader::internalUseAreaOffset, "not 0");
        case FrameFault::areaOutside:
            return outsideFault(image, "internal use area", CommonHeader::internalUseAreaOffset,
                                unit * image.U8(CommonHeader::internalUseAreaOffset),
                                InternalUseArea::size);
        case FrameFault::badAreaChecksum:
            return checksumFault(image, "checksum of the internal use area",
                                 area + InternalUseArea::iuaChecksum, area, InternalUseArea::size);
        case FrameFault::badAreaFormat:
            return areaFormatFault(image, area);
        case FrameFault::headerOutside: {
            const std::size_t place = area + InternalUseArea::pniRecordOffset;
            return outsideFault(image, "header of the record", place, area + unit * image.U8(place),
                                Header::size);
        }
        case FrameFault::badHeaderChecksum:
            return checksumFault(image, "checksum of the record's header",
                                 header + Header::headerChecksum, header, Header::size);
        case FrameFault::badRecordType:
            return byteFault(image, "type of the record", header + Header::recordTypeId,
                             hexByte(Header::oemRecordType));
        case FrameFault::badFormatVersion:
            return {
                0, "format version of the record", header + Header::recordFormatVersion,
                std::to_string(Header::firstVersion) + " to " + std::to_string(Header::lastVersion),
                std::to_string(frame.formatVersion)};
        case FrameFault::recordOutside:
            return outsideFault(image, "record", header + Header::recordLength, frame.commonArea,
                                frame.recordLength);
        case FrameFault::badRecordChecksum:
            return checksumFault(image, "checksum of the record", header + Header::recordChecksum,
                                 frame.commonArea, frame.recordLength);
        case FrameFault::badSubtype:
            return byteFault(image, "subtype of the record", frame.commonArea + CommonArea::subtype,
                             hexByte(CommonArea::NETWORK_INVENTORY_MODULE_SUBTYPE));
        case FrameFault::noModules:
            return byteFault(image, "number of modules", area + InternalUseArea::moduleCount,
                             "not 0");
        case FrameFault::none:
            break;
    }
    return {};
}

std::string endMark(bool isSet) {
    return isSet ? "the end mark" : "no end mark";
}

std::string listPlace(unsigned number, bool isLast) {
    return "number " + std::to_string(number) + " with " + endMark(isLast);
}

RecordFault faultOfWalk(const CRecordCursor& cursor) {
    const PNI_MODULE_AREA& module = cursor.Module();
    const CPniPortArea& port = cursor.Port();
    const CPniPortFunction& function = cursor.Function();
    switch (cursor.Fault()) {
        case WalkFault::outside:
            return {0, "next module, port or function", cursor.NextOffset(),
                    "a place inside the image", "the end of the image"};
        case WalkFault::port:
            return {0, "port", port.offset,
                    listPlace(port.position, port.position + 1 == module.portCount),
                    listPlace(port.portId, port.endOfList)};
        case WalkFault::function:
            return {0, "function", function.Offset(),
                    listPlace(function.Position(), function.Position() + 1 == port.pfCount),
                    listPlace(function.FunctionId(), function.EndOfList())};
        case WalkFault::none:
            break;
    }
    return {0, "module", module.offset, endMark(!module.endOfList), endMark(module.endOfList)};
}

}  // namespace

std::optional<RecordFault> findFault(CByteView image) {
    const std::uint32_t code = pniValidateFru(image.Data(), image.Size());
    if (code == PNI_SUCCESS) {
        return std::nullopt;
    }
    const RecordFrame frame = locateFrame(image, FrameChecks::checksums);
    RecordFault fault;
    if (frame.fault != FrameFault::none) {
        fault = faultOfFrame(image, frame);
    } else {
        CRecordCursor cursor(image, frame);
        forEachModule(cursor,
                      [](const CRecordCursor& atModule) { return !atModule.ModuleFitsItsPlace(); });
        fault = faultOfWalk(cursor);
    }
    fault.code = code;
    return fault;
}

std::string nameOf(const RecordFault& fault) {
    return pniResultText(fault.code);
}

std::string textOf(const RecordFault& fault) {
    return nameOf(fault) + " [" + std::to_string(fault.code) + "], " + fault.what + " at byte " +
           std::to_string(fault.offset) + ": expected " + fault.expected + ", found " + fault.found;
}

}  // namespace em_pni
