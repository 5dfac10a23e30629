#include "frudata/record_cursor.h"

#include "platform/trace.h"

namespace em_pni {
namespace {

using CommonHeader = layout::IPMI_FRU_COMMON_HEADER;
using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;
using Header = layout::OEM_PNI_MULTIRECORD_HEADER;
using CommonArea = layout::PNI_COMMON_AREA;

constexpr std::size_t offsetUnit = 8;  // bytes

// Makes the checks in the order of FrameFault and notes the places on its way.
class CFrameJudge {
  public:
    CFrameJudge(CByteView image, FrameChecks checks) noexcept : image_(image), checks_(checks) {}

    RecordFrame Judge() noexcept {
        frame_.fault = AreaFault();
        if (frame_.fault == FrameFault::none) {
            frame_.fault = HeaderFault();
        }
        if (frame_.fault == FrameFault::none) {
            frame_.fault = RecordFault();
        }
        return frame_;
    }

  private:
    [[nodiscard]] bool HasBadSum(std::size_t offset, std::size_t length) const noexcept {
        return checks_ >= FrameChecks::checksums && image_.Sum(offset, length) != 0;
    }

    FrameFault AreaFault() noexcept {
        if (!image_.Has(0, CommonHeader::size)) {
            return FrameFault::shorterThanHeader;
        }
        if (HasBadSum(0, CommonHeader::size)) {
            return FrameFault::badCommonChecksum;
        }
        const std::size_t area = offsetUnit * image_.U8(CommonHeader::internalUseAreaOffset);
        if (area == 0) {
            return FrameFault::noInternalUseArea;
        }
        if (!image_.Has(area, InternalUseArea::size)) {
            return FrameFault::areaOutside;
        }
        frame_.internalUseArea = area;
        if (HasBadSum(area, InternalUseArea::size)) {
            return FrameFault::badAreaChecksum;
        }
        if (image_.U8(area + InternalUseArea::iuaFormatVersion) != 1 ||
            image_.U8(area + InternalUseArea::iuaAreaType) != 1) {
            return FrameFault::badAreaFormat;
        }
        frame_.moduleCount = image_.U8(area + InternalUseArea::moduleCount);
        if (checks_ >= FrameChecks::modules && frame_.moduleCount == 0) {
            return FrameFault::noModules;
        }
        return FrameFault::none;
    }

    FrameFault HeaderFault() noexcept {
        const std::size_t header =
            frame_.internalUseArea +
            offsetUnit * image_.U8(frame_.internalUseArea + InternalUseArea::pniRecordOffset);
        if (!image_.Has(header, Header::size)) {
            return FrameFault::headerOutside;
        }
        const std::uint8_t version = image_.U8(header + Header::recordFormatVersion);
        frame_.multirecordHeader = header;
        frame_.commonArea = header + Header::size;
        frame_.recordLength = image_.U16(header + Header::recordLength);
        frame_.formatVersion = version & Header::formatVersionMask;
        if (HasBadSum(header, Header::size)) {
            return FrameFault::badHeaderChecksum;
        }
        if (image_.U8(header + Header::recordTypeId) != Header::oemRecordType) {
            return FrameFault::badRecordType;
        }
        if (frame_.formatVersion < Header::firstVersion ||
            frame_.formatVersion > Header::lastVersion) {
            return FrameFault::badFormatVersion;
        }
        return FrameFault::none;
    }

    [[nodiscard]] FrameFault RecordFault() const noexcept {
        const std::size_t common = frame_.commonArea;
        if (!image_.Has(common, frame_.recordLength)) {
            return FrameFault::recordOutside;
        }
        // The checksum byte stands in the header, in front of the bytes that it covers.
        if (checks_ >= FrameChecks::checksums) {
            const unsigned checksum = image_.U8(frame_.multirecordHeader + Header::recordChecksum);
            if ((checksum + image_.Sum(common, frame_.recordLength)) % 256 != 0) {
                return FrameFault::badRecordChecksum;
            }
        }
        return image_.U8(common + CommonArea::subtype) ==
                       CommonArea::NETWORK_INVENTORY_MODULE_SUBTYPE
                   ? FrameFault::none
                   : FrameFault::badSubtype;
    }

    CByteView image_;
    FrameChecks checks_;
    RecordFrame frame_;
};

const char* shown(bool flag) noexcept {
    return flag ? "TRUE" : "FALSE";
}

}  // namespace

RecordFrame locateFrame(CByteView image, FrameChecks checks) noexcept {
    return CFrameJudge(image, checks).Judge();
}

void PNI_MODULE_AREA::TraceDump() const {
    PNI_TRACE(3, "\nPNI_MODULE_AREA::TraceDump() : moduleId = %u", moduleId);
    PNI_TRACE(3, "\nPNI_MODULE_AREA::TraceDump() : enable = %s", shown(enable));
    PNI_TRACE(3, "\nPNI_MODULE_AREA::TraceDump() : endOfList = %s", shown(endOfList));
    PNI_TRACE(3, "\nPNI_MODULE_AREA::TraceDump() : recordLen = %u", recordLen);
    PNI_TRACE(3, "\nPNI_MODULE_AREA::TraceDump() : portCount = %u", portCount);
}

void CPniPortArea::TraceDump() const {
    PNI_TRACE(3, "\nCPniPortArea::TraceDump() : portId = %u", portId);
    PNI_TRACE(3, "\nCPniPortArea::TraceDump() : enable = %s", shown(enable));
    PNI_TRACE(3, "\nCPniPortArea::TraceDump() : endOfList = %s", shown(endOfList));
    PNI_TRACE(3, "\nCPniPortArea::TraceDump() : recordLen = %u", recordLen);
    PNI_TRACE(3, "\nCPniPortArea::TraceDump() : pfCount = %u", pfCount);
    PNI_TRACE(3, "\nCPniPortArea::TraceDump() : wolBehaviour = %u", wolBehaviour.value_or(0));
}

CByteView CRecordCursor::ModuleHeader() const noexcept {
    const auto bytes = image_.Inside(module_.offset, module_.recordLen);
    return {bytes.data(), bytes.size()};
}

void CRecordCursor::GiveUpList() noexcept {
    if (fault_ == WalkFault::port) {
        portsEntered_ = module_.portCount;
    } else if (fault_ == WalkFault::function) {
        functionsEntered_ = port_.pfCount;
    } else {
        return;
    }
    fault_ = WalkFault::none;
}

}  // namespace em_pni
