// FRU images for tests, built from parts. The numbers come from docs/record.md. They do not use the
// constants of the code under test, so that a wrong constant fails a test.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

#include "tests/temp_directory.h"

namespace em_pni::test {

using Bytes = std::vector<std::uint8_t>;

inline std::uint8_t byteOf(std::size_t value) {
    return static_cast<std::uint8_t>(value);
}

inline Bytes sample(const std::string& name) {
    const std::string content = contentOf(std::string(EM_PNI_TEST_DATA) + "/" + name);
    return {content.begin(), content.end()};
}

inline void put(Bytes& bytes, std::size_t offset, const Bytes& part) {
    std::copy(part.begin(), part.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

inline Bytes joined(const std::vector<Bytes>& parts) {
    Bytes whole;
    for (const Bytes& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

// A text, filled with zeros up to `size`.
inline Bytes textBytes(const std::string& text, std::size_t size = 0) {
    Bytes bytes(text.begin(), text.end());
    bytes.resize(std::max(bytes.size(), size));
    return bytes;
}

// The flags byte of a module, port or function.
inline std::uint8_t flagsOf(unsigned id, bool last) {
    return byteOf(id | 0x40U | (last ? 0x80U : 0U));
}

// A function of format version 11 or 12: 34 common bytes, then `addresses`, filled with zeros up to
// a multiple of 4 bytes.
inline Bytes function(unsigned id, bool last, unsigned technology, const Bytes& addresses) {
    Bytes bytes = joined({{flagsOf(id, last), 0, 34}, Bytes(31), addresses});
    bytes[14] = byteOf(technology);
    bytes.resize((bytes.size() + 3) / 4 * 4);
    bytes[1] = byteOf(bytes.size() / 4);
    return bytes;
}

inline Bytes nicAddresses(std::uint8_t lastMacByte, const Bytes& ips = {}, unsigned counters = 0) {
    return joined({{2, 0, 0, 0, 1, lastMacByte, 2, 0, 0, 0, 2, lastMacByte},
                   textBytes("N/A", 32),
                   {byteOf(counters)},
                   ips});
}

inline Bytes port(unsigned id, bool last, const std::vector<Bytes>& functions) {
    return joined({{flagsOf(id, last), 4, byteOf(functions.size()), 0}, joined(functions)});
}

inline Bytes module(unsigned id, bool last, unsigned technology, const std::vector<Bytes>& ports) {
    const std::uint8_t kind = id == 0 ? 0 : 2;
    return joined({{flagsOf(id, last), 56, byteOf(ports.size())},
                   textBytes("Module " + std::to_string(id), 19),
                   {byteOf(technology), kind},
                   textBytes("N/A", 32),
                   joined(ports)});
}

// A module with one port and one Ethernet function.
inline Bytes nicModule(unsigned id, bool last) {
    return module(id, last, 3, {port(0, true, {function(0, true, 0, nicAddresses(byteOf(id)))})});
}

inline void fixSum(Bytes& image, std::size_t checksum, std::size_t begin, std::size_t end) {
    image[checksum] = 0;
    image[checksum] = byteOf(0U - std::accumulate(image.data() + begin, image.data() + end, 0U));
}

// For images of recordImage: internal use area at 8, multi-record header at 16.
inline void fixChecksums(Bytes& image) {
    const std::size_t length = image[18] + image[19] * std::size_t{256};
    fixSum(image, 7, 0, 8);
    fixSum(image, 15, 8, 16);
    fixSum(image, 20, 22, std::min(image.size(), 22 + length));
    fixSum(image, 21, 16, 22);
}

// Changes the record length in bytes and repairs the checksums.
inline void setRecordLength(Bytes& image, std::size_t length) {
    put(image, 18, {byteOf(length), byteOf(length >> 8U)});
    fixChecksums(image);
}

// An image that is valid when its modules are.
inline Bytes recordImage(unsigned version, const std::vector<Bytes>& modules) {
    Bytes image = joined({{1, 1, 0, 0, 0, 0, 0, 0},
                          {1, 1, 1, byteOf(modules.size()), 0, 0, 0, 0},
                          {0xF0, byteOf(version), 0, 0, 0, 0, 0, 0, 0, 1},
                          joined(modules)});
    setRecordLength(image, image.size() - 22);
    return image;
}

// An image whose only function is this one.
inline Bytes functionImage(const Bytes& functionBytes, unsigned version = 12) {
    return recordImage(version, {module(0, true, 3, {port(0, true, {functionBytes})})});
}

}  // namespace em_pni::test
