// FRU images for tests: built from parts, damaged, and placed so that one byte too far is fatal.
// The numbers stand here as they stand in docs/record.md, not as the code under test has them.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <numeric>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "tests/temp_directory.h"

namespace em_pni::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes sample(const std::string& name) {
    const std::string content = contentOf(std::string(EM_PNI_TEST_DATA) + "/" + name);
    return {content.begin(), content.end()};
}

inline void put(Bytes& bytes, std::size_t offset, const Bytes& part) {
    std::copy(part.begin(), part.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

inline Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes whole;
    for (const Bytes& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

inline Bytes textBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

// A function of format 11 or 12: 34 common bytes, then `addresses`, filled up to a multiple of 4.
inline Bytes function(unsigned id, bool last, unsigned technology, const Bytes& addresses) {
    Bytes bytes(34);
    bytes[0] = static_cast<std::uint8_t>(id | 0x40U | (last ? 0x80U : 0U));
    bytes[2] = 34;
    bytes[14] = static_cast<std::uint8_t>(technology);
    bytes.insert(bytes.end(), addresses.begin(), addresses.end());
    bytes.resize((bytes.size() + 3) / 4 * 4);
    bytes[1] = static_cast<std::uint8_t>(bytes.size() / 4);
    return bytes;
}

inline Bytes nicAddresses(std::uint8_t lastMacByte, const Bytes& ips = {}, unsigned counters = 0) {
    Bytes bytes(45);
    put(bytes, 0, {0x02, 0x00, 0x00, 0x00, 0x01, lastMacByte});
    put(bytes, 6, {0x02, 0x00, 0x00, 0x00, 0x02, lastMacByte});
    put(bytes, 12, textBytes("N/A"));
    bytes[44] = static_cast<std::uint8_t>(counters);
    return joined({bytes, ips});
}

inline Bytes port(unsigned id, bool last, const std::vector<Bytes>& functions) {
    Bytes bytes = {static_cast<std::uint8_t>(id | 0x40U | (last ? 0x80U : 0U)), 4,
                   static_cast<std::uint8_t>(functions.size()), 0};
    for (const Bytes& part : functions) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

inline Bytes module(unsigned id, bool last, unsigned technology, const std::vector<Bytes>& ports) {
    Bytes bytes(56);
    bytes[0] = static_cast<std::uint8_t>(id | 0x40U | (last ? 0x80U : 0U));
    bytes[1] = 56;
    bytes[2] = static_cast<std::uint8_t>(ports.size());
    put(bytes, 3, textBytes("Module " + std::to_string(id)));
    bytes[22] = static_cast<std::uint8_t>(technology);
    bytes[23] = id == 0 ? 0 : 2;
    put(bytes, 24, textBytes("N/A"));
    for (const Bytes& part : ports) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

// One-port module with one plain Ethernet function.
inline Bytes nicModule(unsigned id, bool last) {
    return module(
        id, last, 3,
        {port(0, true, {function(0, true, 0, nicAddresses(static_cast<std::uint8_t>(id)))})});
}

inline void fixSum(Bytes& image, std::size_t checksum, std::size_t begin, std::size_t end) {
    image[checksum] = 0;
    const unsigned sum = std::accumulate(image.begin() + static_cast<std::ptrdiff_t>(begin),
                                         image.begin() + static_cast<std::ptrdiff_t>(end), 0U);
    image[checksum] = static_cast<std::uint8_t>(0x100U - (sum & 0xFFU));
}

// For images with the internal use area at 8 and the record at 16, as recordImage makes them.
inline void fixChecksums(Bytes& image) {
    const std::size_t length = image[18] + image[19] * std::size_t{256};
    fixSum(image, 7, 0, 8);
    fixSum(image, 15, 8, 16);
    const std::size_t end = std::min(image.size(), 22 + length);
    image[20] = 0;
    const unsigned sum =
        std::accumulate(image.begin() + 22, image.begin() + static_cast<std::ptrdiff_t>(end), 0U);
    image[20] = static_cast<std::uint8_t>(0x100U - (sum & 0xFFU));
    fixSum(image, 21, 16, 22);
}

// A whole valid image, except where its parts are not.
inline Bytes recordImage(unsigned version, const std::vector<Bytes>& modules) {
    Bytes image = {1, 1, 0, 0, 0,    0,
                   0, 0, 1, 1, 1,    static_cast<std::uint8_t>(modules.size()),
                   0, 0, 0, 0, 0xF0, static_cast<std::uint8_t>(version),
                   0, 0, 0, 0, 0,    0,
                   0, 1};
    for (const Bytes& part : modules) {
        image.insert(image.end(), part.begin(), part.end());
    }
    const std::size_t length = image.size() - 22;
    image[18] = static_cast<std::uint8_t>(length);
    image[19] = static_cast<std::uint8_t>(length >> 8U);
    fixChecksums(image);
    return image;
}

// Bytes that end at an unreadable page: reading one byte behind them ends the test.
class CGuardedBytes {
  public:
    explicit CGuardedBytes(std::span<const std::uint8_t> bytes) : size_(bytes.size()) {
        const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        const std::size_t content = (size_ + page - 1) / page * page;
        mapped_ = content + page;
        base_ = static_cast<std::uint8_t*>(
            ::mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        ::mprotect(base_ + content, page, PROT_NONE);
        data_ = base_ + content - size_;
        if (size_ > 0) {
            std::memcpy(data_, bytes.data(), size_);
        }
    }
    ~CGuardedBytes() { ::munmap(base_, mapped_); }
    CGuardedBytes(const CGuardedBytes&) = delete;
    CGuardedBytes& operator=(const CGuardedBytes&) = delete;

    [[nodiscard]] std::uint8_t* Data() const { return data_; }
    // The first `size` bytes, moved up to the unreadable page.
    [[nodiscard]] std::uint8_t* Cut(std::span<const std::uint8_t> bytes, std::size_t size) const {
        std::uint8_t* const start = data_ + size_ - size;
        std::memcpy(start, bytes.data(), size);
        return start;
    }

  private:
    std::size_t size_;
    std::size_t mapped_;
    std::uint8_t* base_;
    std::uint8_t* data_;
};

}  // namespace em_pni::test
