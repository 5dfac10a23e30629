#include "frudata/pni_fru.h"

#include <algorithm>
#include <cstring>

#include "platform/trace.h"

namespace em_pni {
namespace {

// The texts of a module search about an image without a record.
const char* searchFault(FrameFault fault) noexcept {
    switch (fault) {
        case FrameFault::shorterThanHeader:
        case FrameFault::noInternalUseArea:
        case FrameFault::areaOutside:
            return "No OemInternalUseArea!";
        case FrameFault::badAreaFormat:
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
        case FrameFault::badCommonChecksum:
        case FrameFault::badAreaChecksum:
        case FrameFault::badHeaderChecksum:
        case FrameFault::badRecordChecksum:
        case FrameFault::none:
            break;
    }
    return "";
}

// Passes over the functions of a port. A function that does not fit its place ends the list.
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

// Returns a cursor that has just entered the module. Returns no value when the image has no such
// module or an element in front of it does not fit its place.
std::optional<CRecordCursor> enterModule(CByteView image, std::uint8_t index) noexcept {
    std::optional<CRecordCursor> entered;
    forEachModule(image, [&](const CRecordCursor& cursor) {
        if (cursor.Module().position == index) {
            entered = cursor;
        }
        return entered || !cursor.ModuleFitsItsPlace();
    });
    return entered;
}

std::optional<CRecordCursor> enterPort(CByteView image, std::uint8_t moduleIndex,
                                       std::uint8_t portIndex) noexcept {
    auto cursor = enterModule(image, moduleIndex);
    while (cursor && cursor->NextPort()) {
        if (cursor->Port().position == portIndex) {
            return cursor;
        }
    }
    return std::nullopt;
}

}  // namespace

const char* pniResultText(std::uint32_t code) noexcept {
    static constexpr const char* texts[] = {
        "SUCCESS",         "INIT_ERR", "CHECKSUM_ERR", "FORMAT_ERR",           "PARAMETER_ERR",
        "UNSUPPORTED_ERR", "MISC_ERR", "MEMORY_ERR",   "INSUFFICENT_DATA_ERR",
    };
    return code < std::size(texts) ? texts[code] : "UNKNOWN ERROR";
}

std::uint32_t pniFrameResult(FrameFault fault) noexcept {
    switch (fault) {
        case FrameFault::none:
            return PNI_SUCCESS;
        case FrameFault::badCommonChecksum:
        case FrameFault::badAreaChecksum:
        case FrameFault::badHeaderChecksum:
        case FrameFault::badRecordChecksum:
            return PNI_CHECKSUM_ERR;
        case FrameFault::areaOutside:
            return PNI_PARAMETER_ERR;
        case FrameFault::shorterThanHeader:
        case FrameFault::headerOutside:
        case FrameFault::recordOutside:
            return PNI_INSUFFICENT_DATA_ERR;
        case FrameFault::noInternalUseArea:
        case FrameFault::badAreaFormat:
        case FrameFault::noModules:
        case FrameFault::badRecordType:
        case FrameFault::badFormatVersion:
        case FrameFault::badSubtype:
            break;
    }
    return PNI_FORMAT_ERR;
}

// Each change validates the whole record: the walk is inlined here (flatten), which -O2 does not
// do.
[[gnu::flatten]] std::uint32_t pniValidateFru(const std::uint8_t* data, std::size_t size) noexcept {
    if (data == nullptr) {
        return PNI_PARAMETER_ERR;
    }
    const CByteView image(data, size);
    const RecordFrame frame = locateFrame(image, FrameChecks::checksums);
    if (frame.fault != FrameFault::none) {
        return pniFrameResult(frame.fault);
    }
    CRecordCursor cursor(image, frame);
    const bool isMisplaced = forEachModule(
        cursor, [](const CRecordCursor& atModule) { return !atModule.ModuleFitsItsPlace(); });
    return isMisplaced || cursor.Fault() != WalkFault::none ? PNI_FORMAT_ERR : PNI_SUCCESS;
}

const std::uint8_t* pni_findOemInternalUseArea(const std::uint8_t* data,
                                               std::size_t size) noexcept {
    if (data == nullptr || size == 0) {
        PNI_TRACE(3,
                  "\nCPniFruData         : pni_findOemInternalUseArea() : WARNING ! Invalid "
                  "parameters.");
        return nullptr;
    }
    const RecordFrame frame = locateFrame({data, size}, FrameChecks::headers);
    if (frame.fault == FrameFault::noInternalUseArea) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findOemInternalUseArea() : ERROR ! No IPMI Internal "
                  "Use Area.");
    } else if (frame.fault == FrameFault::areaOutside) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findOemInternalUseArea() : ERROR ! No IPMI Internal "
                  "Use Area (Invalid FruData)");
    }
    return frame.fault > FrameFault::areaOutside ? data + frame.internalUseArea : nullptr;
}

const std::uint8_t* pni_findPniFruMultirecordHeader(const std::uint8_t* data,
                                                    std::size_t size) noexcept {
    PNI_TRACE(2, "\nCPniFruData         : Searching for the PNI multi record header ...");
    if (data == nullptr || size == 0) {
        PNI_TRACE(3,
                  "\nCPniFruData         : pni_findPniFruMultirecordHeader() : WARNING ! Invalid "
                  "parameters.");
        return nullptr;
    }
    const RecordFrame frame = locateFrame({data, size}, FrameChecks::headers);
    switch (frame.fault) {
        case FrameFault::shorterThanHeader:
            PNI_TRACE(3,
                      "\nCPniFruData         : pni_findPniFruMultirecordHeader() : ERROR ! No "
                      "IPMI_FRU_COMMON_HEADER!");
            break;
        case FrameFault::areaOutside:
            PNI_TRACE(3,
                      "\nCPniFruData         : pni_findPniFruMultirecordHeader() : ERROR ! Invaid "
                      "OEM_INTERNAL_USE_AREA (Invalid FruData)!");
            break;
        case FrameFault::noInternalUseArea:
        case FrameFault::badAreaFormat:
            PNI_TRACE(2,
                      "\nCPniFruData         : pni_findPniFruMultirecordHeader() ERROR ! Invaid "
                      "OemInternalUseArea format!");
            break;
        case FrameFault::headerOutside:
            PNI_TRACE(2,
                      "\nCPniFruData         : pni_findPniFruMultirecordHeader() : ERROR ! Invaid "
                      "OEM_PNI_MULTIRECORD_HEADER (Invalid FruData)!");
            break;
        default:
            break;  // a wrong record type has no line
    }
    return frame.fault > FrameFault::badRecordType ? data + frame.multirecordHeader : nullptr;
}

const std::uint8_t* pni_findPniCommonArea(const std::uint8_t* data, std::size_t size) noexcept {
    const bool hasHeader = pni_findPniFruMultirecordHeader(data, size) != nullptr;
    PNI_TRACE(2, "\nCPniFruData         : Searching for the PNI common area ...");
    const RecordFrame frame = locateFrame({data, size}, FrameChecks::headers);
    if (!hasHeader) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniCommonArea() : ERROR! Could not find "
                  "Multirecord Header.");
    } else if (frame.fault == FrameFault::badFormatVersion) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniCommonArea() : ERROR! Invalid multirecord "
                  "record format version!");
    } else if (frame.fault == FrameFault::recordOutside) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniCommonArea() : ERROR! No PNI_COMMON_AREA "
                  "(Invalid FruData)");
    }
    return frame.fault > FrameFault::recordOutside ? data + frame.commonArea : nullptr;
}

const std::uint8_t* pni_findPniModuleArea(const std::uint8_t* data, std::size_t size,
                                          std::uint8_t moduleIndex, bool checkEndOfList) noexcept {
    PNI_TRACE(5, "\nCPniFruData         : pni_findPniModuleArea() Find module %d", moduleIndex);
    if (data == nullptr || size == 0) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniModuleArea() : ERROR - Invalid parameters!");
    }
    const auto offset = CModuleSearch({data, size}, checkEndOfList).Find(moduleIndex);
    return offset ? data + *offset : nullptr;
}

std::uint32_t pni_getRecordFormatVersion(const std::uint8_t* data, std::size_t size,
                                         std::uint8_t* version) noexcept {
    if (version == nullptr) {
        return PNI_PARAMETER_ERR;
    }
    const RecordFrame frame = locateFrame({data, size}, FrameChecks::headers);
    if (frame.fault <= FrameFault::badRecordType) {
        return PNI_FORMAT_ERR;
    }
    *version = frame.formatVersion;
    return PNI_SUCCESS;
}

std::uint8_t pni_getModuleCount(const std::uint8_t* data, std::size_t size) noexcept {
    return locateFrame({data, size}, FrameChecks::headers).moduleCount;
}

std::uint8_t pni_getPortCount(const std::uint8_t* data, std::size_t size,
                              std::uint8_t moduleIndex) noexcept {
    const auto cursor = enterModule({data, size}, moduleIndex);
    return cursor ? cursor->Module().portCount : std::uint8_t{0};
}

std::uint8_t pni_getPortFunctionCount(const std::uint8_t* data, std::size_t size,
                                      std::uint8_t moduleIndex, std::uint8_t portIndex) noexcept {
    const auto cursor = enterPort({data, size}, moduleIndex, portIndex);
    return cursor ? cursor->Port().pfCount : std::uint8_t{0};
}

std::uint32_t pni_readAddressBlock(const std::uint8_t* data, std::size_t size,
                                   std::uint8_t moduleIndex, std::uint8_t portIndex,
                                   std::uint8_t functionIndex, std::uint8_t* buffer,
                                   std::size_t bufferSize) noexcept {
    using Addresses = layout::FC_ADDRESSES;
    if (buffer == nullptr) {
        return PNI_PARAMETER_ERR;
    }
    const CByteView image(data, size);
    auto cursor = enterPort(image, moduleIndex, portIndex);
    do {
        if (!cursor || !cursor->NextFunction()) {
            return PNI_PARAMETER_ERR;
        }
    } while (cursor->Function().Position() != functionIndex);
    const CPniPortFunction& function = cursor->Function();
    if (function.Technology() != FunctionTechnology::fc) {
        return PNI_UNSUPPORTED_ERR;
    }
    if (function.Size() < Addresses::minimumFunction) {
        return PNI_PARAMETER_ERR;
    }
    std::memset(buffer, 0, bufferSize);
    const std::size_t start =
        function.Offset() + function.U8(layout::PNI_PORT_FUNCTION::addressOffset).value_or(0);
    const auto block =
        image.Inside(start, std::min({function.Size(), Addresses::readAtMost, bufferSize}));
    std::copy(block.begin(), block.end(), buffer);
    return PNI_SUCCESS;
}

CModuleSearch::CModuleSearch(CByteView image, bool checkEndOfList) noexcept
    : checkEndOfList_(checkEndOfList) {
    const RecordFrame frame = locateFrame(image);
    if (frame.fault != FrameFault::none) {
        PNI_TRACE(2, "\nCPniFruData         : pni_findPniModuleArea() ERROR - %s",
                  searchFault(frame.fault));
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

// Returns false when the walk would leave the image, or when the end mark of the module is checked
// and wrong.
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
