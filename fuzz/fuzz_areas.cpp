// Writes a record into an image with other areas, as the played controller does. The areas keep
// their bytes, and the record gets all of its own.
//
// Input: one byte, the length of the stored image in units of 16 bytes; the stored image without
// its common header; the record to write. Both have the same common header, unless bit 0 of the
// length is set.
#include "frudata/pni_fru.h"
#include "fuzz/record_mutator.h"
#include "host/machine/fru_areas.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

constexpr std::size_t unit = 16;
constexpr std::size_t headerSize = 8;

bool isValid(const Bytes& image) {
    return pniValidateFru(image.data(), image.size()) == PNI_SUCCESS;
}

Bytes bytesOf(std::span<const std::uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace

std::size_t em_pni::fuzz::imageOffset(std::span<const std::uint8_t> input) {
    return input.empty() ? 0 : 1 + input.front() * unit;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input({data, size});
    const std::uint8_t length = input.Byte();
    Bytes stored = input.Take(length * unit);
    const Bytes written = input.TakeRest();
    const std::size_t headerBytes = (length & 1U) != 0 ? 0 : std::min(headerSize, written.size());
    stored.insert(stored.begin(), written.begin(),
                  written.begin() + static_cast<std::ptrdiff_t>(headerBytes));

    const CByteView view(stored);
    const auto areas = neighbourAreas(view);
    const auto inTheWay = areaInTheWay(areas, view, CByteView(written));
    require(!inTheWay || !textOf(*inTheWay).empty(), "an area has a text");
    const Bytes result = withAreasOf(areas, view, written);
    require(result.size() == std::max(stored.size(), written.size()), "no image gets shorter");
    for (const FruArea& area : areas) {
        require(area.begin >= headerSize && area.begin < area.end, "an area is behind the header");
        const auto before = view.Inside(area.begin, area.end - area.begin);
        const auto now = CByteView(result).Inside(area.begin, before.size());
        require(bytesOf(before) == bytesOf(now), "an area keeps its bytes");
    }
    require(inTheWay || !isValid(written) || isValid(result), "a valid record stays valid");
    return 0;
}
