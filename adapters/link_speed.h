// How the record and its readers write the speed of a link.
#pragma once

#include <cstdint>

namespace em_pni {

struct LinkSpeedUnit {
    std::uint16_t code;
    std::uint64_t kbitPerSecond;
    const char* text;
};

inline constexpr LinkSpeedUnit linkSpeedUnits[] = {
    {0, 1'000, "Mbit/s"},
    {1, 1'000'000, "Gbit/s"},
    {2, 10'000'000, "* 10Gbit/s"},
};

// The largest unit that goes into the speed; the smallest one when none does.
constexpr const LinkSpeedUnit& linkSpeedUnit(std::uint64_t kbitPerSecond) noexcept {
    const LinkSpeedUnit* unit = linkSpeedUnits;
    for (const LinkSpeedUnit& one : linkSpeedUnits) {
        unit = kbitPerSecond >= one.kbitPerSecond ? &one : unit;
    }
    return *unit;
}

// Unit in bits 14-15, magnitude in that unit, cut off, in bits 0-13; 0 = not known.
constexpr std::uint16_t encodeLinkSpeed(std::uint64_t kbitPerSecond) noexcept {
    const LinkSpeedUnit& unit = linkSpeedUnit(kbitPerSecond);
    const std::uint64_t magnitude = kbitPerSecond / unit.kbitPerSecond & 0x3FFFU;
    return static_cast<std::uint16_t>(std::uint64_t{unit.code} << 14U | magnitude);
}

}  // namespace em_pni
