#include "host/machine/controller_fru.h"

#include <algorithm>
#include <ratio>
#include <sys/stat.h>
#include <utility>

#include "platform/number.h"

namespace em_pni {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 60s;      // of a whole read or write
constexpr auto patienceBack = 10s;  // of the way back after a failed write
constexpr std::size_t smallGap =
    8;  // equal bytes between two differences are cheaper than a command

struct Range {
    std::size_t begin;
    std::size_t end;
};

// Where the two images of the same size differ.
std::vector<Range> differences(std::span<const std::uint8_t> left,
                               std::span<const std::uint8_t> right) {
    std::vector<Range> ranges;
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (left[i] == right[i]) {
            continue;
        }
        if (!ranges.empty() && i - ranges.back().end <= smallGap) {
            ranges.back().end = i + 1;
        } else {
            ranges.push_back({i, i + 1});
        }
    }
    return ranges;
}

// Whether each byte is that of one of the two images.
bool isMixture(std::span<const std::uint8_t> bytes, const CFruJournal::Images& images) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != images.before[i] && bytes[i] != images.after[i]) {
            return false;
        }
    }
    return true;
}

std::string hexByte(std::uint8_t byte) {
    return "0x" + upperHex(byte, 2);
}

}  // namespace

CControllerFru::CControllerFru(const CFruPlace& place, std::uint8_t fruId, IpmiPortOpener open,
                               FruProgress progress)
    : place_(place),
      journal_(place),
      fruId_(fruId),
      open_(std::move(open)),
      progress_(progress ? std::move(progress) : [](auto...) {}) {}

std::vector<std::uint8_t> CControllerFru::Read() {
    const auto port = open_();
    CIpmiFru fru(*port, Name(), fruId_, patience);
    return fru.Read(0, fru.Size(), [this](std::size_t done, std::size_t total) {
        progress_("reading", done, total);
    });
}

// A write creates and removes its journal, which changes the time of the folder. Other files in the
// folder do so, too: a mark may change without a write.
std::optional<std::int64_t> CControllerFru::WriteMark() const {
    struct stat folder {};
    if (journal_.Exists()) {
        return std::nullopt;
    }
    return ::fstat(place_.Folder(), &folder) == 0
               ? folder.st_mtim.tv_sec * std::nano::den + folder.st_mtim.tv_nsec
               : 0;
}

void CControllerFru::Write(std::span<const std::uint8_t> stored,
                           std::span<const std::uint8_t> image) {
    if (stored.size() != image.size()) {
        throw CHostError(Name() + ": the image to write has another size than the FRU device");
    }
    if (std::ranges::equal(stored, image)) {
        return;
    }
    journal_.Keep(stored, image);
    try {
        Change(stored, image);
    } catch (...) {
        GoBack(image, stored);
        throw;
    }
    journal_.Remove();
}

void CControllerFru::Change(std::span<const std::uint8_t> from, std::span<const std::uint8_t> to) {
    const auto port = open_();
    CIpmiFru fru(*port, Name(), fruId_, patience);
    if (fru.Size() != to.size()) {
        throw CHostError(Name() + ": the size of the FRU device has changed");
    }
    const std::vector<Range> ranges = differences(from, to);
    std::size_t total = 0;
    for (const Range& range : ranges) {
        total += range.end - range.begin;
    }
    std::size_t before = 0;  // bytes of the ranges that are done
    const auto progressOf = [&](const char* action) {
        return [&, action](std::size_t done, std::size_t /*ofRange*/) {
            progress_(action, before + done, total);
        };
    };
    for (const Range& range : ranges) {
        const auto wanted = to.subspan(range.begin, range.end - range.begin);
        fru.Write(range.begin, wanted, progressOf("writing"));
        before += wanted.size();
    }
    before = 0;
    for (const Range& range : ranges) {
        const auto wanted = to.subspan(range.begin, range.end - range.begin);
        Compare(fru, range.begin, wanted, progressOf("comparing"));
        before += wanted.size();
    }
}

void CControllerFru::Compare(CIpmiFru& fru, std::size_t begin, std::span<const std::uint8_t> wanted,
                             const CIpmiFru::Progress& progress) const {
    if (std::ranges::equal(fru.Read(begin, wanted.size(), progress), wanted)) {
        return;
    }
    fru.Write(begin, wanted);
    const std::vector<std::uint8_t> found = fru.Read(begin, wanted.size());
    const auto [wrong, right] = std::ranges::mismatch(found, wanted);
    if (wrong != found.end()) {
        throw CHostError(Name() + ": byte " +
                         std::to_string(begin + static_cast<std::size_t>(wrong - found.begin())) +
                         " reads " + hexByte(*wrong) + " after " + hexByte(*right) +
                         " was written twice");
    }
}

// The way back after a failed write. Without it the journal stays, and Mend decides.
void CControllerFru::GoBack(std::span<const std::uint8_t> from,
                            std::span<const std::uint8_t> to) noexcept {
    try {
        const auto port = open_();
        CIpmiFru fru(*port, Name(), fruId_, patienceBack);
        bool isBack = fru.Size() == to.size();
        for (const Range& range : differences(from, to)) {
            const auto wanted = to.subspan(range.begin, range.end - range.begin);
            if (!isBack || std::ranges::equal(fru.Read(range.begin, wanted.size()), wanted)) {
                continue;
            }
            fru.Write(range.begin, wanted);
            isBack = std::ranges::equal(fru.Read(range.begin, wanted.size()), wanted);
        }
        if (isBack) {
            journal_.Remove();
        }
    } catch (const std::exception&) {
        // The error of the write is the one to report.
    }
}

std::optional<std::string> CControllerFru::Mend() {
    if (!journal_.Exists()) {
        return std::nullopt;
    }
    const auto images = journal_.Read();
    if (!images) {
        return "the journal of a write is damaged; it is kept as " + journal_.PutAside();
    }
    const std::vector<std::uint8_t> found = Read();
    if (found.size() != images->after.size() || !isMixture(found, *images)) {
        return "the FRU data have changed since a write was cut; its journal is kept as " +
               journal_.PutAside();
    }
    std::optional<std::string> note;
    if (found == images->before) {
        note = "a write was cut before it changed anything";
    } else if (found != images->after) {
        Change(found, images->after);
        note = "a write that was cut is now complete";
    }
    journal_.Remove();
    return note;
}

}  // namespace em_pni
