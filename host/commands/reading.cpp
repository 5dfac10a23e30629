#include "host/commands/reading.h"

#include <functional>
#include <utility>
#include <vector>

#include "host/machine/open_fru.h"
#include "host/output/progress_bar.h"
#include "host/output/record_fault.h"

namespace em_pni {

std::vector<std::uint8_t> readBetweenWrites(CIFruStore& store, CConsole& console) {
    constexpr int reads = 3;
    std::vector<std::uint8_t> bytes;
    std::optional<std::int64_t> before;
    std::optional<std::int64_t> after = store.WriteMark();
    for (int i = 0; i < reads && (i == 0 || after != before); ++i) {
        before = after;
        bytes = store.Read();
        after = store.WriteMark();
    }
    if (!after || after != before) {
        console.Error(store.Name() +
                      ": a write is under way or was cut; \"pni-host run\" completes it");
    }
    return bytes;
}

std::unique_ptr<CFruCopy> copyOf(const FruSource& source, CConsole& console) {
    CProgressBar bar;
    COpenFru fru(source, CFruPlace::Use::read, std::bind_front(&CProgressBar::Show, &bar));
    CIFruStore& store = fru.Store();
    std::vector<std::uint8_t> bytes = readBetweenWrites(store, console);
    const std::size_t capacity = store.Capacity(bytes.size());
    return std::make_unique<CFruCopy>(store.Name(), std::move(bytes), capacity);
}

std::optional<std::string> faultOf(CByteView image) {
    const auto fault = findFault(image);
    return fault ? std::optional(textOf(*fault)) : std::nullopt;
}

}  // namespace em_pni
