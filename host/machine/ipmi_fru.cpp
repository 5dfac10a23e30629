#include "host/machine/ipmi_fru.h"

#include <algorithm>
#include <array>
#include <optional>

#include "host/machine/fru_store.h"
#include "platform/bytes.h"
#include "platform/number.h"

namespace em_pni {

namespace {

using namespace std::chrono_literals;

constexpr std::uint8_t storage = 0x0A;  // network function
enum Command : std::uint8_t { getAreaInfo = 0x10, readData = 0x11, writeData = 0x12 };

enum CompletionCode : std::uint8_t {
    done = 0x00,
    writeProtected = 0x80,
    fruBusy = 0x81,
    nodeBusy = 0xC0,
    timeout = 0xC3,
    badLength = 0xC7,
    lengthLimit = 0xC8,
    cannotReturnBytes = 0xCA,
    noSuchFru = 0xCB,
};

constexpr std::uint8_t accessByWords = 0x01;  // bit of the area info
constexpr std::size_t smallestChunk = 8;
constexpr auto answerTime = 5s;  // a controller in good health answers within milliseconds
constexpr auto firstPause = 50ms;
constexpr auto longestPause = 800ms;

bool isBusy(const std::optional<IpmiAnswer>& answer) {
    return !answer || answer->code == fruBusy || answer->code == nodeBusy ||
           answer->code == timeout;
}

bool asksForSmallerChunks(std::uint8_t code) {
    return code == badLength || code == lengthLimit || code == cannotReturnBytes;
}

std::array<std::uint8_t, 3> placeOf(std::uint8_t id, std::size_t offset) {
    return {id, static_cast<std::uint8_t>(offset), static_cast<std::uint8_t>(offset >> 8U)};
}

}  // namespace

CIpmiFru::CIpmiFru(CIIpmiPort& port, const std::string& name, std::uint8_t id,
                   Clock::duration patience)
    : port_(port),
      messages_(port, name),
      name_(name),
      id_(id),
      deadline_(port.Now() + patience),
      size_(AskSize()) {}

IpmiAnswer CIpmiFru::Ask(std::uint8_t command, std::span<const std::uint8_t> data) {
    for (Clock::duration pause = firstPause;;
         pause = std::min<Clock::duration>(2 * pause, longestPause)) {
        auto answer =
            messages_.Ask(storage, command, data, std::min(deadline_, port_.Now() + answerTime));
        if (!isBusy(answer)) {
            return *std::move(answer);
        }
        if (port_.Now() + pause >= deadline_) {
            throw CHostError(
                name_ + (answer ? ": the controller is busy" : ": the controller does not answer"));
        }
        port_.Pause(pause);
    }
}

std::size_t CIpmiFru::AskSize() {
    const IpmiAnswer answer = Ask(getAreaInfo, std::array{id_});
    if (answer.code != done) {
        Refused("tells no size", answer.code);
    }
    const CByteView info(answer.data);
    if (!info.Has(0, 3)) {
        throw CHostError(name_ + ": the controller answers with too few bytes");
    }
    if ((info.U8(2) & accessByWords) != 0) {
        throw CHostError(name_ + ": the FRU device is accessed by words, which is not supported");
    }
    if (info.U16(0) == 0) {
        throw CHostError(name_ + ": the FRU device has no bytes");
    }
    return info.U16(0);
}

std::vector<std::uint8_t> CIpmiFru::Read(std::size_t offset, std::size_t length,
                                         const Progress& progress) {
    std::vector<std::uint8_t> bytes;
    while (bytes.size() < length) {
        const std::size_t at = offset + bytes.size();
        const std::size_t wanted = std::min(chunk_, length - bytes.size());
        // Some controllers refuse to read the last byte alone.
        const std::size_t before = wanted == 1 && at + 1 == size_ && at > 0 ? 1 : 0;
        std::vector<std::uint8_t> part = ReadChunk(at - before, wanted + before);
        if (part.size() <= before) {
            part = ReadChunk(at, wanted);
        } else {
            part.erase(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(before));
        }
        bytes.insert(bytes.end(), part.begin(), part.end());
        if (progress) {
            progress(bytes.size(), length);
        }
    }
    return bytes;
}

std::vector<std::uint8_t> CIpmiFru::ReadChunk(std::size_t offset, std::size_t length) {
    for (;;) {
        const std::size_t asked = std::min(length, chunk_);
        std::array<std::uint8_t, 4> request{};
        std::ranges::copy(placeOf(id_, offset), request.begin());
        request[3] = static_cast<std::uint8_t>(asked);
        const IpmiAnswer answer = Ask(readData, request);
        if (answer.code == done && !answer.data.empty()) {
            // The count may be a lie.
            const std::size_t count =
                std::min({std::size_t{answer.data[0]}, asked, answer.data.size() - 1});
            const bool isShort = count < asked;
            const bool canShrink = isShort && ShrinkChunks();
            if (count > 0) {
                return {answer.data.begin() + 1,
                        answer.data.begin() + 1 + static_cast<std::ptrdiff_t>(count)};
            }
            if (canShrink) {
                continue;
            }
        } else if (asksForSmallerChunks(answer.code) && ShrinkChunks()) {
            continue;
        }
        Refused(("does not read byte " + std::to_string(offset)).c_str(), answer.code);
    }
}

void CIpmiFru::Write(std::size_t offset, std::span<const std::uint8_t> bytes,
                     const Progress& progress) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        done += WriteChunk(offset + done, bytes.subspan(done));
        if (progress) {
            progress(done, bytes.size());
        }
    }
}

std::size_t CIpmiFru::WriteChunk(std::size_t offset, std::span<const std::uint8_t> bytes) {
    for (;;) {
        const auto part = bytes.first(std::min(bytes.size(), chunk_));
        const auto place = placeOf(id_, offset);
        std::vector<std::uint8_t> request(place.begin(), place.end());
        request.insert(request.end(), part.begin(), part.end());
        const IpmiAnswer answer = Ask(writeData, request);
        if (answer.code == done) {
            // Some controllers answer 0 although they have taken all bytes.
            const std::size_t count = answer.data.empty() ? 0 : answer.data[0];
            return count == 0 ? part.size() : std::min(count, part.size());
        }
        if (answer.code == writeProtected) {
            throw CFruProtected(name_ + ": the FRU device is write-protected");
        }
        if (!asksForSmallerChunks(answer.code) || !ShrinkChunks()) {
            Refused(("does not write byte " + std::to_string(offset)).c_str(), answer.code);
        }
    }
}

bool CIpmiFru::ShrinkChunks() noexcept {
    if (chunk_ <= smallestChunk) {
        return false;
    }
    chunk_ /= 2;
    return true;
}

void CIpmiFru::Refused(const char* what, std::uint8_t code) const {
    if (code == noSuchFru) {
        throw CHostError(name_ + ": the controller has no FRU device with the id " +
                         std::to_string(id_));
    }
    throw CHostError(name_ + ": the controller " + what + ", completion code 0x" +
                     upperHex(code, 2));
}

}  // namespace em_pni
