#include <algorithm>
#include <limits>
#include <stdexcept>

#include "frudata/layout.h"
#include "frudata/pni_fru_data.h"
#include "frudata/record_cursor.h"
#include "platform/bytes.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;
using Header = layout::OEM_PNI_MULTIRECORD_HEADER;

// The module keeps the length of an image in 16 bits, and the record its own as well.
constexpr std::size_t maxImage = std::numeric_limits<std::uint16_t>::max();
constexpr std::size_t maxModules = std::numeric_limits<std::uint8_t>::max();
constexpr unsigned idsTried = 32;

struct ModulePlace {
    std::size_t begin = 0;  // image offsets
    std::size_t end = 0;
    std::uint8_t moduleId = 0;
};

// A record whose walk has found no fault.
struct WalkedRecord {
    RecordFrame frame;
    std::vector<ModulePlace> modules;

    explicit WalkedRecord(CByteView image) {
        if (locateFrame(image, frame) != FrameFault::none) {
            return;
        }
        modules.reserve(frame.moduleCount);
        CRecordCursor cursor(image, frame);
        while (cursor.NextModule()) {
            const PNI_MODULE_AREA& module = cursor.Module();
            if (!modules.empty()) {
                modules.back().end = module.offset;
            }
            modules.push_back({module.offset, module.offset, module.moduleId});
        }
        if (!modules.empty()) {
            modules.back().end = cursor.NextOffset();
        }
    }

    [[nodiscard]] std::size_t End() const noexcept {
        return frame.commonArea + std::size_t{frame.recordLength};
    }
    [[nodiscard]] std::size_t ModulesEnd() const noexcept {
        return modules.empty() ? frame.commonArea + layout::PNI_COMMON_AREA::size
                               : modules.back().end;
    }
};

CByteView viewOf(const std::vector<std::uint8_t>& image) noexcept {
    return {image.data(), image.size()};
}

// Writes another number of modules and record length; checksums and end marks are not touched.
void putCounts(std::vector<std::uint8_t>& image, const RecordFrame& frame, std::size_t modules,
               std::size_t length) noexcept {
    CByteEditor editor(image);
    editor.PutU8(frame.internalUseArea + InternalUseArea::moduleCount,
                 static_cast<std::uint8_t>(modules));
    editor.PutU16(frame.multirecordHeader + Header::recordLength,
                  static_cast<std::uint16_t>(length));
}

void requireRoom(const WalkedRecord& record, std::size_t streamSize) {
    if (record.ModulesEnd() > record.End()) {
        throw std::logic_error("The last module reaches behind the record.");
    }
    if (record.modules.size() == maxModules) {
        throw std::logic_error("The record cannot count another module.");
    }
    if (streamSize > maxImage || record.End() > maxImage - streamSize) {
        throw std::logic_error("The record would become too long.");
    }
}

}  // namespace

std::uint8_t CPniFruData::GetNextAvailableModuleId(std::uint8_t locationId) const {
    const std::vector<std::uint8_t> used = GetModuleIds();
    for (unsigned id = locationId; id < locationId + idsTried; ++id) {
        if (std::find(used.begin(), used.end(), id) == used.end()) {
            return static_cast<std::uint8_t>(id);
        }
    }
    throw std::logic_error(
        "CPniFruData::GetNextAvailableModuleId() : No available module id found?");
}

bool CPniFruData::AddPniModule(std::vector<std::uint8_t>& stream) {
    if (!IsValid()) {
        PNI_TRACE(1, "\nCPniFruData         : AddPniModule() : ERROR! Fru structure not valid.");
        return false;
    }
    PNI_TRACE(3,
              "\nCPniFruData         : AddPniModule() : Adding module [%u bytes] to current Pni "
              "structure [%u bytes].",
              static_cast<unsigned>(stream.size()), static_cast<unsigned>(GetSize()));
    if (stream.empty()) {
        PNI_TRACE(1, "\nCPniFruData         : AddPniModule() : ERROR! Invalid parameters.");
        return false;
    }
    PNI_TRACE(5, "\nCPniFruData         : AddPniModule() : Start logic...");
    CWriteGuard guard(lock_);
    if ((stream.front() & layout::moduleIdMask) == 0) {
        PNI_TRACE(1, "AddPniModule() - Requested adding onboard adapter (location id == 0)");
        // Unlike everywhere else the lock stays taken: that is how callers know this operation.
        guard.LeaveLocked();
        return false;
    }
    try {
        return InsertModule(stream);
    } catch (const std::exception& exception) {
        PNI_TRACE(1,
                  "\nCPniFruData         : AddPniModule() : ERROR! Exception when adding new "
                  "module: '%s'",
                  exception.what());
        return false;
    }
}

// Under the write lock.
bool CPniFruData::InsertModule(std::vector<std::uint8_t>& stream) {
    requireRoom(WalkedRecord(viewOf(image_)), stream.size());
    const std::uint8_t flags = stream.front();
    const std::uint8_t id = GetNextAvailableModuleId(flags & layout::moduleIdMask);
    stream.front() =
        static_cast<std::uint8_t>((flags & ~layout::moduleIdMask) | (id & layout::moduleIdMask));
    CPniFruData copy(*this);
    copy.CropToValidSize();
    const WalkedRecord before(viewOf(copy.image_));
    CByteEditor(copy.image_).Insert(before.ModulesEnd(), stream);
    putCounts(copy.image_, before.frame, before.modules.size() + 1,
              before.frame.recordLength + stream.size());
    copy.UpdateAfterModuleChange();
    // A stream that is more or less than one module leaves a record whose walk ends elsewhere.
    const bool isOneModule =
        WalkedRecord(viewOf(copy.image_)).ModulesEnd() == before.ModulesEnd() + stream.size();
    return TakeWhen(copy.IsValid() && isOneModule, copy, "AddPniModule");
}

bool CPniFruData::RemoveModule(std::uint8_t index) {
    PNI_TRACE(5, "\nCPniFruData         : RemoveModule() : Start.");
    if (!IsValid()) {
        PNI_TRACE(1, "\nCPniFruData         : RemoveModule() : ERROR! Fru structure not valid.");
        return false;
    }
    try {
        const std::uint16_t size = GetModuleSize(index);
        const std::vector<std::uint8_t> ids = GetModuleIds();
        if (ids.at(index) != 0) {
            const CWriteGuard guard(lock_);
            PNI_TRACE(3,
                      "\nCPniFruData         : RemoveModule() : Removing module [%u bytes] from "
                      "current Pni structure [%u bytes].",
                      size, static_cast<unsigned>(image_.size()));
            return EraseModule(index);
        }
    } catch (const std::exception& exception) {
        PNI_TRACE(1,
                  "\nCPniFruData         : RemoveModule() : ERROR! Exception when removing "
                  "module: '%s'",
                  exception.what());
        return false;
    }
    throw std::logic_error(
        "RemoveModule() - Requested removing onboard adapter (location id == 0)");
}

// Under the write lock.
bool CPniFruData::EraseModule(std::uint8_t index) {
    CPniFruData copy(*this);
    const WalkedRecord before(viewOf(copy.image_));
    const ModulePlace place = before.modules.at(index);
    // The last function may say that it is longer than the record, of which nothing is there.
    const std::size_t end =
        place.end == before.ModulesEnd() ? std::min(place.end, before.End()) : place.end;
    if (place.begin > end || end > before.End()) {
        throw std::logic_error("The module reaches behind the record.");
    }
    CByteEditor(copy.image_).Erase(place.begin, end - place.begin);
    putCounts(copy.image_, before.frame, before.modules.size() - 1,
              before.frame.recordLength - (end - place.begin));
    copy.UpdateAfterModuleChange();
    return TakeWhen(copy.IsValid(), copy, "RemoveModule");
}

void CPniFruData::UpdateAfterModuleChange() {
    UpdateInternalUseAreaChecksum();
    UpdateEndOfListBit();
    UpdateOemPniRecordChecksum();
}

// Makes the changed copy this image. Under the write lock.
bool CPniFruData::TakeWhen(bool isValid, CPniFruData& changed, const char* operation) {
    if (!isValid) {
        PNI_TRACE(1, "\nCPniFruData         : %s() : ERROR! Updated PNI structure is NOT valid.",
                  operation);
        return false;
    }
    PNI_TRACE(2, "\nCPniFruData         : %s() : OK - Updated PNI structure is still valid.",
              operation);
    image_.swap(changed.image_);
    return true;
}

}  // namespace em_pni
