#include "frudata/record_cursor.h"

#include "frudata/layout.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

const char* shown(bool flag) noexcept {
    return flag ? "TRUE" : "FALSE";
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
