// The physical address of a port function, from the record or from the machine.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace em_pni {

// A MAC address as bytes, or the worldwide names of a Fibre Channel port as numbers whose most
// significant byte is the first of the name.
struct PhysicalAddress {
    enum class Kind : std::uint8_t { mac = 0, wwn = 1 };

    Kind kind = Kind::mac;
    std::vector<std::uint8_t> mac;  // 6 or 8 bytes; empty = none
    std::uint64_t wwpn = 0;         // 0 = none
    std::uint64_t wwnn = 0;         // 0 = none
};

// 6 or 8 bytes that are not all zero.
inline bool isUsableMac(std::span<const std::uint8_t> mac) noexcept {
    return (mac.size() == 6 || mac.size() == 8) &&
           std::any_of(mac.begin(), mac.end(), [](std::uint8_t byte) { return byte != 0; });
}

}  // namespace em_pni
