#include "frudata/module_search.h"

#include "frudata/record_frame.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

// What a module search says of a frame in which there is nothing to search.
const char* searchFault(FrameFault fault) noexcept {
    switch (fault) {
        case FrameFault::shorterThanHeader:
        case FrameFault::noInternalUseArea:
            return "No OemInternalUseArea!";
        case FrameFault::badInternalUseArea:
            return "Invaid OemInternalUseArea format!";
        case FrameFault::noModules:
            return "No Modules!";
        case FrameFault::headerOutside:
        case FrameFault::badRecordType:
            return "No OemPniMultiRecord!";
        case FrameFault::badFormatVersion:
            return "Invalid Record Format Version!";
        case FrameFault::recordOutside:
            return "No PniCommonArea!";
        case FrameFault::badSubtype:
            return "Invalid NETWORK_INVENTORY_MODULE_SUBTYPE!";
        case FrameFault::none:
            break;
    }
    return "";
}

// Passes over the functions of a port; one that does not fit its place ends the list.
void passPort(CRecordCursor& cursor) noexcept {
    PNI_TRACE(5,
              "\nCPniFruData         : pni_findPniModuleArea() Jump to Function Common Area "
              "(+%u)",
              cursor.Port().recordLen);
    while (cursor.NextFunction()) {
        PNI_TRACE(5, "\nCPniFruData         : pni_findPniModuleArea() Jump to next Module (+%u)",
                  static_cast<unsigned>(cursor.Function().Size()));
    }
    if (cursor.Fault() == WalkFault::function) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniModuleArea() ERROR - Invalid function "
                  "format (module %d port %d func %d)!",
                  cursor.Module().position, cursor.Port().position, cursor.Function().Position());
        cursor.GiveUpList();
    }
}

}  // namespace

CModuleSearch::CModuleSearch(CByteView image, bool checkEndOfList) noexcept
    : checkEndOfList_(checkEndOfList) {
    RecordFrame frame;
    if (const FrameFault fault = locateFrame(image, frame); fault != FrameFault::none) {
        PNI_TRACE(2, "\nCPniFruData         : pni_findPniModuleArea() ERROR - %s",
                  searchFault(fault));
        return;
    }
    cursor_.emplace(image, frame);
    if (!cursor_->NextModule()) {
        cursor_.reset();
    }
}

std::optional<std::size_t> CModuleSearch::Find(std::uint8_t moduleIndex) noexcept {
    while (cursor_) {
        const PNI_MODULE_AREA& module = cursor_->Module();
        PNI_TRACE(5, "\nCPniFruData         : pni_findPniModuleArea() Checking module %d",
                  module.position);
        if (module.position == moduleIndex) {
            PNI_TRACE(3, "\nCPniFruData         : pni_findPniModuleArea() Module found.");
            return module.offset;
        }
        if (!PassModule() || !cursor_->NextModule()) {
            cursor_.reset();
        }
    }
    return std::nullopt;
}

// False when the walk would leave the image or the module is not where its end mark says.
bool CModuleSearch::PassModule() noexcept {
    PNI_TRACE(5, "\nCPniFruData         : pni_findPniModuleArea() Jump to Port Area (+%u)",
              cursor_->Module().recordLen);
    while (cursor_->NextPort()) {
        passPort(*cursor_);
    }
    if (cursor_->Fault() == WalkFault::port) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniModuleArea() ERROR - Invalid port format "
                  "(module %d port %d)!",
                  cursor_->Module().position, cursor_->Port().position);
        cursor_->GiveUpList();
    }
    if (cursor_->Fault() != WalkFault::none) {
        return false;
    }
    if (checkEndOfList_ && !cursor_->ModuleFitsItsPlace()) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniModuleArea() ERROR - Invalid module "
                  "format (module %d)!",
                  cursor_->Module().position);
        return false;
    }
    return true;
}

}  // namespace em_pni
