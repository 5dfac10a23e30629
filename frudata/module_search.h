// Finds the modules of an image by their positions, with the lines that a search traces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "frudata/record_cursor.h"

namespace em_pni {

// Borrows the image, whose module headers may change their flags meanwhile. Each search goes on
// where the one before has ended, so that looking for all modules in their order is one walk.
class CModuleSearch {
  public:
    // Traces why, when there is no record to search. A module on the way whose end mark does not
    // fit its place ends the search when `checkEndOfList` is set.
    CModuleSearch(CByteView image, bool checkEndOfList) noexcept;

    // Image offset of the module at this position, which must not be before that of an earlier
    // call; a module found last is found again. A port or function on the way that does not fit its
    // place ends its list, and the search goes on behind it.
    std::optional<std::size_t> Find(std::uint8_t moduleIndex) noexcept;

  private:
    bool PassModule() noexcept;

    std::optional<CRecordCursor> cursor_;  // in a module; none when the search has ended
    bool checkEndOfList_;
};

}  // namespace em_pni
