#include "host/machine/fru_areas.h"

#include <algorithm>
#include <array>

#include "frudata/layout.h"
#include "frudata/record_cursor.h"

namespace em_pni {

namespace {

using CommonHeader = layout::IPMI_FRU_COMMON_HEADER;
using InternalUseArea = layout::OEM_INTERNAL_USE_AREA;

constexpr std::size_t unit = 8;  // bytes, of offsets and lengths
constexpr std::uint8_t formatVersion = 1;
constexpr std::uint8_t formatVersionMask = 0x0F;

// Byte 1 of an area is its length. A multi-record area is a list of records instead.
enum class AreaKind { withLength, recordList };

struct AreaField {
    std::size_t offset;  // of the field in the common header
    const char* name;
    AreaKind kind;
};

constexpr std::array<AreaField, 4> areaFields{{{2, "chassis area", AreaKind::withLength},
                                               {3, "board area", AreaKind::withLength},
                                               {4, "product area", AreaKind::withLength},
                                               {5, "multi-record area", AreaKind::recordList}}};

struct MultiRecord {
    static constexpr std::size_t flags = 1;  // bit 7: last record; bits 0-3: format version
    static constexpr std::size_t length = 2;
    static constexpr std::size_t headerSize = 5;  // its bytes add up to 0
    static constexpr std::uint8_t lastBit = 0x80;
    static constexpr std::uint8_t version = 2;
};

bool hasCommonHeader(CByteView image) {
    const CByteView header = image.Part(0, CommonHeader::size);
    return header.Size() != 0 && header.SumsToZero() &&
           (header.U8(0) & formatVersionMask) == formatVersion;
}

// The beginning of the next area that the header names, or the end of the image.
std::size_t nextBegin(CByteView image, std::size_t begin) {
    std::size_t next = std::max(image.Size(), begin + unit);
    for (std::size_t field = CommonHeader::internalUseAreaOffset; field <= areaFields.back().offset;
         ++field) {
        const std::size_t other = image.U8(field) * unit;
        if (other > begin) {
            next = std::min(next, other);
        }
    }
    return next;
}

std::size_t endOfList(CByteView image, std::size_t begin) {
    std::size_t at = begin;
    for (;;) {
        const CByteView header = image.Part(at, MultiRecord::headerSize);
        const std::uint8_t flags = header.U8(MultiRecord::flags);
        if (header.Size() == 0 || !header.SumsToZero() ||
            (flags & formatVersionMask) != MultiRecord::version) {
            return std::max(at, nextBegin(image, begin));
        }
        at += MultiRecord::headerSize + header.U8(MultiRecord::length);
        if ((flags & MultiRecord::lastBit) != 0) {
            return at;
        }
    }
}

std::size_t endOf(CByteView image, AreaKind kind, std::size_t begin) {
    if (kind == AreaKind::recordList) {
        return endOfList(image, begin);
    }
    const std::size_t length = image.U8(begin + 1) * unit;
    return length != 0 ? begin + length : nextBegin(image, begin);
}

// The first byte behind the record. Its last modules can stand behind its stated length.
std::size_t endOfRecord(CByteView image, const RecordFrame& frame) {
    CRecordCursor cursor(image, frame);
    while (cursor.NextModule()) {
    }
    return std::max(frame.commonArea + frame.recordLength, cursor.NextOffset());
}

bool overlap(const FruArea& area, std::size_t begin, std::size_t end) {
    return area.begin < end && begin < area.end;
}

}  // namespace

std::string textOf(const FruArea& area) {
    return std::string(area.name) + " (bytes " + std::to_string(area.begin) + " to " +
           std::to_string(area.end - 1) + ")";
}

std::vector<FruArea> neighbourAreas(CByteView image) {
    std::vector<FruArea> areas;
    if (!hasCommonHeader(image)) {
        return areas;
    }
    for (const AreaField& field : areaFields) {
        if (const std::size_t begin = image.U8(field.offset) * unit; begin != 0) {
            areas.push_back({field.name, begin, endOf(image, field.kind, begin)});
        }
    }
    return areas;
}

std::optional<FruArea> areaInTheWay(const std::vector<FruArea>& areas, CByteView stored,
                                    CByteView written) {
    const RecordFrame frame = locateFrame(written, FrameChecks::headers);
    const auto header = stored.Inside(0, CommonHeader::size);
    const auto newHeader = written.Inside(0, CommonHeader::size);
    const bool isRecord =
        frame.fault == FrameFault::none &&
        std::equal(header.begin(), header.end(), newHeader.begin(), newHeader.end());
    const std::size_t end = isRecord ? endOfRecord(written, frame) : 0;
    const auto found = std::find_if(areas.begin(), areas.end(), [&](const FruArea& area) {
        return !isRecord ||
               overlap(area, frame.internalUseArea,
                       frame.internalUseArea + InternalUseArea::size) ||
               overlap(area, frame.multirecordHeader, end);
    });
    return found != areas.end() ? std::optional(*found) : std::nullopt;
}

std::vector<std::uint8_t> withAreasOf(const std::vector<FruArea>& areas, CByteView stored,
                                      std::vector<std::uint8_t> written) {
    written.resize(std::max(written.size(), stored.Size()));
    for (const FruArea& area : areas) {
        CByteEditor(written).Put(area.begin, stored.Inside(area.begin, area.end - area.begin));
    }
    return written;
}

}  // namespace em_pni
