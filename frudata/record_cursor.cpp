#include "frudata/record_cursor.h"

#include "frudata/layout.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

const char* shown(bool flag) noexcept {
    return flag ? "TRUE" : "FALSE";
}

bool hasBit(std::uint8_t flags, std::uint8_t bit) noexcept {
    return (flags & bit) != 0;
}

}  // namespace

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

PNI_MODULE_AREA moduleHeader(CImageView image, std::size_t offset, std::uint8_t position) noexcept {
    using Area = layout::PNI_MODULE_AREA;
    const std::uint8_t flags = image.U8(offset + Area::flags);
    return {.offset = offset,
            .position = position,
            .moduleId = static_cast<std::uint8_t>(flags & layout::moduleIdMask),
            .enable = hasBit(flags, layout::enableBit),
            .endOfList = hasBit(flags, layout::endOfListBit),
            .recordLen = image.U8(offset + Area::recordLen),
            .portCount = image.U8(offset + Area::portCount)};
}

CRecordCursor::CRecordCursor(CImageView image, const RecordFrame& frame) noexcept
    : image_(image),
      moduleCount_(frame.moduleCount),
      formatVersion_(frame.formatVersion),
      next_(frame.commonArea + layout::PNI_COMMON_AREA::size) {}

bool CRecordCursor::NextModule() noexcept {
    using Area = layout::PNI_MODULE_AREA;
    while (NextPort()) {
    }
    if (fault_ != WalkFault::none || modulesEntered_ == moduleCount_) {
        return false;
    }
    if (!image_.Has(next_, Area::walked)) {
        fault_ = WalkFault::outside;
        return false;
    }
    module_ = moduleHeader(image_, next_, static_cast<std::uint8_t>(modulesEntered_++));
    next_ += module_.recordLen;
    portsEntered_ = 0;
    return true;
}

bool CRecordCursor::NextPort() noexcept {
    using Area = layout::PNI_PORT_AREA;
    while (NextFunction()) {
    }
    if (fault_ != WalkFault::none || portsEntered_ == module_.portCount) {
        return false;
    }
    if (!image_.Has(next_, Area::walked)) {
        fault_ = WalkFault::outside;
        return false;
    }
    const std::uint8_t flags = image_.U8(next_ + Area::flags);
    port_ = {.offset = next_,
             .position = static_cast<std::uint8_t>(portsEntered_),
             .portId = static_cast<std::uint8_t>(flags & layout::portIdMask),
             .enable = hasBit(flags, layout::enableBit),
             .endOfList = hasBit(flags, layout::endOfListBit),
             .recordLen = image_.U8(next_ + Area::recordLen),
             .pfCount = image_.U8(next_ + Area::pfCount),
             .wolBehaviour = std::nullopt};
    if (port_.recordLen > Area::wolBehaviour && image_.Has(next_, Area::wolBehaviour + 1)) {
        port_.wolBehaviour = image_.U8(next_ + Area::wolBehaviour);
    }
    if (port_.portId != portsEntered_ ||
        port_.endOfList != (portsEntered_ + 1 == module_.portCount)) {
        functionsEntered_ = port_.pfCount;
        fault_ = WalkFault::port;
        return false;
    }
    ++portsEntered_;
    next_ += port_.recordLen;
    functionsEntered_ = 0;
    return true;
}

bool CRecordCursor::NextFunction() noexcept {
    using Area = layout::PNI_PORT_FUNCTION;
    if (fault_ != WalkFault::none || functionsEntered_ == port_.pfCount) {
        return false;
    }
    if (!image_.Has(next_, Area::walked)) {
        fault_ = WalkFault::outside;
        return false;
    }
    function_ = CPniPortFunction(image_, next_, static_cast<std::uint8_t>(functionsEntered_),
                                 formatVersion_);
    if (function_.FunctionId() != functionsEntered_ ||
        function_.EndOfList() != (functionsEntered_ + 1 == port_.pfCount)) {
        fault_ = WalkFault::function;
        return false;
    }
    ++functionsEntered_;
    next_ += function_.Size();
    return true;
}

CImageView CRecordCursor::ModuleHeader() const noexcept {
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
