#include "frudata/record_checksum.h"

#include "frudata/layout.h"
#include "frudata/pni_fru.h"
#include "frudata/record_cursor.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;
using Header = layout::OEM_PNI_MULTIRECORD_HEADER;

std::uint8_t negated(std::uint8_t sum) noexcept {
    return static_cast<std::uint8_t>(0U - sum);
}

}  // namespace

bool mendInternalUseAreaChecksum(CByteEditor image) noexcept {
    const CByteView view = image.View();
    const std::uint8_t* const found = pni_findOemInternalUseArea(view.Data(), view.Size());
    if (found == nullptr) {
        return false;
    }
    const auto area = static_cast<std::size_t>(found - view.Data());
    const std::uint8_t sum = view.Sum(area, InternalUseArea::iuaChecksum);
    image.PutU8(area + InternalUseArea::iuaChecksum, negated(sum));
    PNI_TRACE(5, "\nCPniFruData         : UpdateInternalUseAreaChecksum() : New checksum: %u", sum);
    return true;
}

bool mendRecordChecksum(CByteEditor image) noexcept {
    const CByteView view = image.View();
    const RecordFrame frame = locateFrame(view);
    // A wrong type, version or subtype does not prevent the repair.
    if (frame.fault <= FrameFault::headerOutside ||
        !view.Has(frame.commonArea, frame.recordLength)) {
        return false;
    }
    const std::size_t header = frame.multirecordHeader;
    image.PutU8(header + Header::recordChecksum,
                negated(view.Sum(frame.commonArea, frame.recordLength)));
    const std::uint8_t sum = view.Sum(header, Header::headerChecksum);
    image.PutU8(header + Header::headerChecksum, negated(sum));
    PNI_TRACE(5, "\nCPniFruData         : UpdateOemPniRecordChecksum() : New checksum: %u", sum);
    return true;
}

}  // namespace em_pni
