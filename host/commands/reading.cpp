#include "host/commands/reading.h"

#include <functional>
#include <utility>
#include <vector>

#include "host/machine/open_fru.h"
#include "host/output/progress_bar.h"
#include "host/output/record_fault.h"

namespace em_pni {

std::unique_ptr<CFruCopy> copyOf(const FruSource& source, CConsole& console) {
    CProgressBar bar;
    COpenFru fru(source, CFruPlace::Use::read, std::bind_front(&CProgressBar::Show, &bar));
    CIFruStore& store = fru.Store();
    std::vector<std::uint8_t> bytes = store.Read();
    if (store.IsBeingWritten()) {
        console.Error(store.Name() +
                      ": a write is under way or was cut; \"pni-host run\" completes it");
    }
    const std::size_t capacity = store.Capacity(bytes.size());
    return std::make_unique<CFruCopy>(store.Name(), std::move(bytes), capacity);
}

std::optional<std::string> faultOf(CByteView image) {
    const auto fault = findFault(image);
    return fault ? std::optional(textOf(*fault)) : std::nullopt;
}

}  // namespace em_pni
