#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/commands/commands.h"
#include "host/commands/reading.h"
#include "host/events/run_waiter.h"
#include "host/machine/fru_areas.h"
#include "host/machine/fru_lock.h"
#include "host/machine/open_fru.h"
#include "host/output/host_error.h"
#include "host/output/progress_bar.h"

namespace em_pni {

namespace {

constexpr std::size_t commonHeaderSize = 8;

using Bytes = std::vector<std::uint8_t>;

// Why only a user who says --force may write this image; no value = there is no reason.
std::optional<std::string> objection(const Bytes& stored, const Bytes& image) {
    if (const auto fault = faultOf(CByteView(image))) {
        return "the record in the file is not valid: " + *fault;
    }
    if (image.size() != stored.size()) {
        return "the file has " + std::to_string(image.size()) + " bytes, the FRU data have " +
               std::to_string(stored.size());
    }
    const CByteView before(stored);
    const CByteView after(image);
    if (!std::ranges::equal(before.Inside(0, commonHeaderSize),
                            after.Inside(0, commonHeaderSize))) {
        return "it would change the common header";
    }
    for (const auto& areas : {neighbourAreas(before), neighbourAreas(after)}) {
        for (const FruArea& area : areas) {
            const std::size_t length = area.end - area.begin;
            if (!std::ranges::equal(before.Inside(area.begin, length),
                                    after.Inside(area.begin, length))) {
                return "it would change the " + textOf(area);
            }
        }
    }
    return std::nullopt;
}

// The file with the size of the FRU data. Zeros fill the rest; only zeros may be cut.
Bytes fitted(Bytes image, std::size_t size, std::size_t capacity) {
    if (image.size() > capacity &&
        std::any_of(image.begin() + static_cast<std::ptrdiff_t>(capacity), image.end(),
                    [](std::uint8_t byte) { return byte != 0; })) {
        throw CHostError("the file has " + std::to_string(image.size()) +
                         " bytes, the FRU data have room for " + std::to_string(capacity));
    }
    image.resize(std::min(std::max(image.size(), size), capacity));
    return image;
}

}  // namespace

int restore(const RestoreOptions& options, CConsole& console) {
    const FruSource file{.path = options.file};
    Bytes image = copyOf(file, console)->Read();
    CProgressBar bar;
    COpenFru fru(options.target, CFruPlace::Use::write, std::bind_front(&CProgressBar::Show, &bar));
    const CEndSignals signals;  // a signal must not end the program in the middle of a write
    const CFruLock lock(fru.Place());
    CIFruStore& store = fru.Store();
    if (const auto note = store.Mend()) {
        console.Error(store.Name() + ": " + *note);
    }
    const Bytes stored = store.Read();
    if (const auto reason = objection(stored, image); reason && !options.force) {
        throw CHostError(store.Name() + ": not written: " + *reason +
                         "; use --force to write it anyway");
    }
    image = fitted(std::move(image), stored.size(), store.Capacity(stored.size()));
    const auto changed = static_cast<std::size_t>(
        std::inner_product(stored.begin(), stored.end(), image.begin(), std::ptrdiff_t{0},
                           std::plus<>(), std::not_equal_to<>()));
    if (image == stored) {
        console.Line("unchanged: " + store.Name());
        return exitDone;
    }
    if (signals.IsPending()) {
        throw CHostError(store.Name() + ": not written: ended by a signal");
    }
    store.Write(stored, image);
    console.Line("restored: " + store.Name() + ", " +
                 std::to_string(changed + image.size() - stored.size()) + " bytes changed");
    return exitDone;
}

}  // namespace em_pni
