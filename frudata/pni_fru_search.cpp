#include <algorithm>
#include <cstring>
#include <optional>

#include "frudata/layout.h"
#include "frudata/module_search.h"
#include "frudata/pni_fru.h"
#include "frudata/record_cursor.h"
#include "frudata/record_frame.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

// A cursor that has just entered the module at `index`, every module before it walked without a
// fault; nothing when that fails.
std::optional<CRecordCursor> enterModule(CByteView image, std::uint8_t index) noexcept {
    RecordFrame frame;
    if (locateFrame(image, frame) != FrameFault::none) {
        return std::nullopt;
    }
    CRecordCursor cursor(image, frame);
    while (cursor.NextModule()) {
        if (cursor.Module().position == index) {
            return cursor;
        }
        if (!cursor.ModuleFitsItsPlace()) {
            return std::nullopt;
        }
    }
    return std::nullopt;
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

const std::uint8_t* pni_findPniModuleArea(const std::uint8_t* data, std::size_t size,
                                          std::uint8_t moduleIndex, bool checkEndOfList) noexcept {
    PNI_TRACE(5, "\nCPniFruData         : pni_findPniModuleArea() Find module %d", moduleIndex);
    if (data == nullptr || size == 0) {
        PNI_TRACE(2,
                  "\nCPniFruData         : pni_findPniModuleArea() : ERROR - Invalid parameters!");
    }
    const auto offset = CModuleSearch(CByteView(data, size), checkEndOfList).Find(moduleIndex);
    return offset ? data + *offset : nullptr;
}

std::uint8_t pni_getPortCount(const std::uint8_t* data, std::size_t size,
                              std::uint8_t moduleIndex) noexcept {
    const auto cursor = enterModule(CByteView(data, size), moduleIndex);
    return cursor ? cursor->Module().portCount : std::uint8_t{0};
}

std::uint8_t pni_getPortFunctionCount(const std::uint8_t* data, std::size_t size,
                                      std::uint8_t moduleIndex, std::uint8_t portIndex) noexcept {
    const auto cursor = enterPort(CByteView(data, size), moduleIndex, portIndex);
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
    auto cursor = enterPort(CByteView(data, size), moduleIndex, portIndex);
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
        CByteView(data, size)
            .Inside(start, std::min({function.Size(), Addresses::readAtMost, bufferSize}));
    std::copy(block.begin(), block.end(), buffer);
    return PNI_SUCCESS;
}

}  // namespace em_pni
