#include "frudata/address_targets.h"

#include "frudata/layout.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

std::uint32_t codeOf(FrameFault fault, bool isEmpty) noexcept {
    switch (fault) {
        case FrameFault::none:
            return PNI_SUCCESS;
        case FrameFault::shorterThanHeader:
            return isEmpty ? PNI_PARAMETER_ERR : PNI_INSUFFICENT_DATA_ERR;
        case FrameFault::noInternalUseArea:
            return PNI_PARAMETER_ERR;
        case FrameFault::headerOutside:
        case FrameFault::recordOutside:
            return PNI_INSUFFICENT_DATA_ERR;
        default:
            return PNI_FORMAT_ERR;
    }
}

}  // namespace

std::vector<AddressTarget> findAddressTargets(
    CByteView image, const std::function<bool(const CRecordCursor&)>& isWanted,
    std::uint32_t& code) {
    std::vector<AddressTarget> targets;
    RecordFrame frame;
    code = codeOf(locateFrame(image, frame), image.Size() == 0);
    if (code != PNI_SUCCESS) {
        return targets;
    }
    CRecordCursor cursor(image, frame);
    bool fits = true;
    while (fits && cursor.NextModule()) {
        while (cursor.NextPort()) {
            while (cursor.NextFunction()) {
                const CPniPortFunction& function = cursor.Function();
                const auto offset = function.U8(layout::PNI_PORT_FUNCTION::addressOffset);
                if (offset && isWanted(cursor)) {
                    targets.push_back({function, cursor.Module().moduleId, cursor.Port().position,
                                       function.Offset() + *offset});
                }
            }
        }
        fits = cursor.ModuleFitsItsPlace();
    }
    if (!fits || cursor.Fault() != WalkFault::none) {
        code = PNI_FORMAT_ERR;
        targets.clear();
    }
    return targets;
}

bool traceAssignment(const char* operation, std::uint32_t code) {
    PNI_TRACE(2, "\nCPniFruData         : %s() : %s", operation, pniResultText(code));
    return code == PNI_SUCCESS;
}

}  // namespace em_pni
