// The physical address of one port function.
#pragma once

#include <cstdint>
#include <vector>

namespace em_pni {

struct PhysicalAddress {
    enum class Kind : std::uint8_t { mac = 0, wwn = 1 };

    Kind kind = Kind::mac;
    std::vector<std::uint8_t> mac;  // empty = none
    std::uint64_t wwpn = 0;         // here and below: first byte most significant, 0 = none
    std::uint64_t wwnn = 0;
};

}  // namespace em_pni
