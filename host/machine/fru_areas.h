// The areas of a FRU image beside the internal use area: chassis, board, product and multi-record.
// All functions take any bytes and read nothing outside the image.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/bytes.h"

namespace em_pni {

// In bytes from the start of the image. A header with wrong facts can state an area that overlaps
// another one or reaches behind the image.
struct FruArea {
    const char* name;
    std::size_t begin;
    std::size_t end;  // the first byte behind the area
};

// "board area (bytes 512 to 575)"
std::string textOf(const FruArea& area);

// The areas that the common header names, without the internal use area. Empty when the image has
// no common header with a correct checksum. An area that does not state its length reaches to the
// next area that the header names, or to the end of the image.
std::vector<FruArea> neighbourAreas(CByteView image);

// The first of these areas of `stored` whose place the record in `written` needs; no value = there
// is room. Without a record, and with another common header, `written` needs the place of all its
// bytes.
std::optional<FruArea> areaInTheWay(const std::vector<FruArea>& areas, CByteView stored,
                                    CByteView written);

// `written` with the bytes that these areas have in `stored`. It is not shorter than `stored`:
// zeros fill the rest.
std::vector<std::uint8_t> withAreasOf(const std::vector<FruArea>& areas, CByteView stored,
                                      std::vector<std::uint8_t> written);

}  // namespace em_pni
