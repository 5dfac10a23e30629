// The way through a record: its header chain, and the walk over its modules, ports and functions.
//
//     forEachFunction(image, [](const CRecordCursor& cursor) { ... cursor.Function() ... });
//
// Both stay inside the image, whatever its bytes are. Each walk ends: a list has at most 255
// elements, and an element whose number or end mark does not fit its place stops the walk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

#include "frudata/layout.h"
#include "frudata/port_function.h"
#include "platform/bytes.h"

namespace em_pni {

// Faults of the header chain in the order of the checks: a fault that is greater than another one
// means that the check for the other one passed.
enum class FrameFault {
    shorterThanHeader,  // the image does not hold a common header
    badCommonChecksum,
    noInternalUseArea,  // internalUseAreaOffset is 0
    areaOutside,        // the internal use area is not wholly inside the image
    badAreaChecksum,
    badAreaFormat,  // the internal use area is not format 1, type 1
    noModules,
    headerOutside,  // the multi-record header is not wholly inside the image
    badHeaderChecksum,
    badRecordType,
    badFormatVersion,
    recordOutside,  // recordLength reaches behind the image
    badRecordChecksum,
    badSubtype,
    none,
};

// What locateFrame checks. Each value includes the values before it.
enum class FrameChecks {
    headers,    // places, types and versions
    modules,    // that the record has a module
    checksums,  // the checksums of the headers and of the record
};

// The places that the header chain states, as far as the chain has no fault.
struct RecordFrame {
    FrameFault fault = FrameFault::none;  // the first one
    std::size_t internalUseArea = 0;      // image offset; set when fault > areaOutside
    std::uint8_t moduleCount = 0;         // set when fault > badAreaFormat
    std::size_t multirecordHeader = 0;    // image offset; this and the rest are set when
    std::size_t commonArea = 0;           // fault > headerOutside
    std::uint16_t recordLength = 0;       // bytes from commonArea on
    std::uint8_t formatVersion = 0;       // 10, 11 or 12 when fault > badFormatVersion
};

// The only judge of the header chain. Writes no trace.
RecordFrame locateFrame(CByteView image, FrameChecks checks = FrameChecks::modules) noexcept;

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

// Reads the header of the module at `offset`. Fields outside the image read as 0.
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

// The header of a port, read from an image.
struct CPniPortArea {
    std::size_t offset = 0;     // in the image
    std::uint8_t position = 0;  // in the module, from 0
    std::uint8_t portId = 0;
    bool enable = false;
    bool endOfList = false;
    std::uint8_t recordLen = 0;  // bytes
    std::uint8_t pfCount = 0;
    std::optional<std::uint8_t> wolBehaviour;  // no value when the header or image ends before it

    void TraceDump() const;
};

enum class WalkFault {
    none,
    outside,   // the next element does not lie wholly inside the image
    port,      // number or end mark of a port does not fit its place
    function,  // number or end mark of a function does not fit its place
};

// Borrows the image. A copy of the cursor walks on from the same place.
class CRecordCursor {
  public:
    // `frame` must be without a fault.
    CRecordCursor(CByteView image, const RecordFrame& frame) noexcept
        : image_(image),
          moduleCount_(frame.moduleCount),
          formatVersion_(frame.formatVersion),
          next_(frame.commonArea + layout::PNI_COMMON_AREA::size) {}

    // Each enters the next element of its list and passes over the rest of the current element.
    // Each returns false at the end of the list and at a fault. A fault stays.
    bool NextModule() noexcept;
    bool NextPort() noexcept;
    bool NextFunction() noexcept;

    // The elements entered last. After a port or function fault: the element with the fault.
    [[nodiscard]] const PNI_MODULE_AREA& Module() const noexcept { return module_; }
    [[nodiscard]] const CPniPortArea& Port() const noexcept { return port_; }
    [[nodiscard]] const CPniPortFunction& Function() const noexcept { return function_; }

    // Whether the end mark of the module is set exactly when it is the last module. The walk itself
    // does not check it.
    [[nodiscard]] bool ModuleFitsItsPlace() const noexcept {
        return module_.endOfList == (module_.position + 1 == moduleCount_);
    }
    // The recordLen bytes of the module's header, as far as they are inside the image.
    [[nodiscard]] CByteView ModuleHeader() const noexcept;

    [[nodiscard]] std::uint8_t FormatVersion() const noexcept { return formatVersion_; }
    // Image offset right behind the elements entered so far. It may lie outside the image.
    [[nodiscard]] std::size_t NextOffset() const noexcept { return next_; }

    [[nodiscard]] WalkFault Fault() const noexcept { return fault_; }
    // After a port or function fault: skips the rest of the list with the fault. What follows that
    // list is then taken to begin at the element with the fault.
    void GiveUpList() noexcept;

  private:
    CByteView image_;
    std::uint8_t moduleCount_;
    std::uint8_t formatVersion_;
    std::size_t next_;  // image offset of the next element of any kind
    unsigned modulesEntered_ = 0;
    unsigned portsEntered_ = 0;      // of the current module
    unsigned functionsEntered_ = 0;  // of the current port
    PNI_MODULE_AREA module_;
    CPniPortArea port_;
    CPniPortFunction function_;
    WalkFault fault_ = WalkFault::none;
};

// The walks below call `visit(cursor)` for each element. A visitor that returns bool stops the walk
// with true. Each walk returns whether the visitor stopped it.

template <class Visit>
bool stopsAt(CRecordCursor& cursor, Visit& visit) {
    if constexpr (std::is_void_v<std::invoke_result_t<Visit&, CRecordCursor&>>) {
        visit(cursor);
        return false;
    } else {
        return visit(cursor);
    }
}

// Visits the modules that the cursor has not entered yet.
template <class Visit>
bool forEachModule(CRecordCursor& cursor, Visit visit) {
    while (cursor.NextModule()) {
        if (stopsAt(cursor, visit)) {
            return true;
        }
    }
    return false;
}

// Visits the functions of the cursor's module that the cursor has not entered yet.
template <class Visit>
bool forEachFunction(CRecordCursor& cursor, Visit visit) {
    while (cursor.NextPort()) {
        while (cursor.NextFunction()) {
            if (stopsAt(cursor, visit)) {
                return true;
            }
        }
    }
    return false;
}

// Visits the modules of the record in an image. An image without a record has none.
template <class Visit>
bool forEachModule(CByteView image, Visit visit) {
    const RecordFrame frame = locateFrame(image);
    if (frame.fault != FrameFault::none) {
        return false;
    }
    CRecordCursor cursor(image, frame);
    return forEachModule(cursor, visit);
}

// Visits the functions of the record in an image. An image without a record has none.
template <class Visit>
bool forEachFunction(CByteView image, Visit visit) {
    return forEachModule(
        image, [&visit](CRecordCursor& cursor) { return forEachFunction(cursor, visit); });
}

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
