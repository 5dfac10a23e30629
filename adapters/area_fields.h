// The fields that module, port and port function areas have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "frudata/layout.h"
#include "platform/bytes.h"
#include "platform/trace.h"

namespace em_pni {

// The flags byte at the start of an area: the low bits of `id`, enabled, last of its list.
inline std::uint8_t areaFlags(std::uint32_t id, std::uint8_t idMask, bool enabled,
                              bool last) noexcept {
    return static_cast<std::uint8_t>((id & idMask) | (enabled ? layout::enableBit : 0U) |
                                     (last ? layout::endOfListBit : 0U));
}

// A text that does not fit leaves its field empty. The trace line names the NIC module area for
// the texts of all areas.
inline void putAreaText(CByteEditor area, std::size_t offset, std::size_t fieldSize,
                        const std::string& text, const char* kind) {
    if (!area.PutText(offset, fieldSize, text)) {
        PNI_TRACE(2,
                  "\nEM_PNI NIC_LocalPniModuleArea::ToPniFruDataModule() : WARNING! Could not set "
                  "%s to '%s'!",
                  kind, text.c_str());
    }
}

}  // namespace em_pni
