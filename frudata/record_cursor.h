// The one walk over modules, ports and port functions.
//
//     CRecordCursor cursor(image, frame);
//     while (cursor.NextModule()) {
//         while (cursor.NextPort()) {
//             while (cursor.NextFunction()) { ... }
//         }
//     }
//     if (cursor.Fault() != WalkFault::none) { ... }
//
// The walk stays inside the image, whatever the image says, and ends: every list has at most 255
// elements, and an element whose number does not fit its place stops it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "frudata/layout.h"
#include "frudata/port_function.h"
#include "frudata/record_frame.h"
#include "platform/bytes.h"

namespace em_pni {

// The header of a module, read from an image.
struct PNI_MODULE_AREA {
    std::size_t offset = 0;     // in the image
    std::uint8_t position = 0;  // in the record, from 0
    std::uint8_t moduleId = 0;  // 0 = onboard
    bool enable = false;
    bool endOfList = false;
    std::uint8_t recordLen = 0;  // bytes
    std::uint8_t portCount = 0;

    void TraceDump() const;
};

// Reads the header of the module at `offset`, which must be inside the image.
inline PNI_MODULE_AREA moduleHeader(CByteView image, std::size_t offset,
                                    std::uint8_t position) noexcept {
    using Area = layout::PNI_MODULE_AREA;
    PNI_MODULE_AREA module{.offset = offset, .position = position};
    if (const auto header = image.Whole(offset, Area::walked); !header.empty()) {
        const std::uint8_t flags = header[Area::flags];
        module.moduleId = flags & layout::moduleIdMask;
        module.enable = (flags & layout::enableBit) != 0;
        module.endOfList = (flags & layout::endOfListBit) != 0;
        module.recordLen = header[Area::recordLen];
        module.portCount = header[Area::portCount];
    }
    return module;
}

// The header of a port.
struct CPniPortArea {
    std::size_t offset = 0;     // in the image
    std::uint8_t position = 0;  // in the module, from 0
    std::uint8_t portId = 0;
    bool enable = false;
    bool endOfList = false;
    std::uint8_t recordLen = 0;  // bytes
    std::uint8_t pfCount = 0;
    std::optional<std::uint8_t> wolBehaviour;  // none when the header or the image ends before it

    void TraceDump() const;
};

enum class WalkFault {
    none,
    outside,   // the next element would lie outside the image, whole or in part
    port,      // number or end mark of a port does not fit its place
    function,  // number or end mark of a function does not fit its place
};

// A small value: a copy walks on from the same place.
class CRecordCursor {
  public:
    CRecordCursor(CByteView image, const RecordFrame& frame) noexcept
        : image_(image),
          moduleCount_(frame.moduleCount),
          formatVersion_(frame.formatVersion),
          next_(frame.commonArea + layout::PNI_COMMON_AREA::size) {}

    // Each enters the next element of its list, passing over what is left inside the current one;
    // false at the end of the list or at a fault, which then stays.
    bool NextModule() noexcept;
    bool NextPort() noexcept;
    bool NextFunction() noexcept;

    // The elements entered last; at a port or function fault the failing one.
    [[nodiscard]] const PNI_MODULE_AREA& Module() const noexcept { return module_; }
    [[nodiscard]] const CPniPortArea& Port() const noexcept { return port_; }
    [[nodiscard]] const CPniPortFunction& Function() const noexcept { return function_; }

    // Whether the module's end mark is set exactly when it is the last one.
    [[nodiscard]] bool ModuleFitsItsPlace() const noexcept {
        return module_.endOfList == (module_.position + 1 == moduleCount_);
    }
    // The bytes of the module's header, as far as they are inside the image.
    [[nodiscard]] CByteView ModuleHeader() const noexcept;

    [[nodiscard]] std::uint8_t FormatVersion() const noexcept { return formatVersion_; }
    // Image offset right behind what has been walked so far; it may lie outside.
    [[nodiscard]] std::size_t NextOffset() const noexcept { return next_; }

    [[nodiscard]] WalkFault Fault() const noexcept { return fault_; }
    // Behind a port or function fault: gives up the rest of the list in which it happened and takes
    // the failing place as the beginning of what follows that list.
    void GiveUpList() noexcept;

  private:
    CByteView image_;
    std::uint8_t moduleCount_;
    std::uint8_t formatVersion_;
    std::size_t next_;  // image offset of the next element, whatever it is
    unsigned modulesEntered_ = 0;
    unsigned portsEntered_ = 0;      // of the current module
    unsigned functionsEntered_ = 0;  // of the current port
    PNI_MODULE_AREA module_;
    CPniPortArea port_;
    CPniPortFunction function_;
    WalkFault fault_ = WalkFault::none;
};

inline bool CRecordCursor::NextModule() noexcept {
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

inline bool CRecordCursor::NextPort() noexcept {
    using Area = layout::PNI_PORT_AREA;
    while (NextFunction()) {
    }
    if (fault_ != WalkFault::none || portsEntered_ == module_.portCount) {
        return false;
    }
    const auto header = image_.Whole(next_, Area::walked);
    if (header.empty()) {
        fault_ = WalkFault::outside;
        return false;
    }
    const std::uint8_t flags = header[Area::flags];
    port_ = {.offset = next_,
             .position = static_cast<std::uint8_t>(portsEntered_),
             .portId = static_cast<std::uint8_t>(flags & layout::portIdMask),
             .enable = (flags & layout::enableBit) != 0,
             .endOfList = (flags & layout::endOfListBit) != 0,
             .recordLen = header[Area::recordLen],
             .pfCount = header[Area::pfCount],
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

inline bool CRecordCursor::NextFunction() noexcept {
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

}  // namespace em_pni
