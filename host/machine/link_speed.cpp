#include "host/machine/link_speed.h"

#include <array>
#include <cstring>
#include <linux/ethtool.h>
#include <linux/sockios.h>

namespace em_pni {

namespace {

// Has room for the three bit maps that follow the structure.
struct SettingsBuffer {
    static constexpr std::size_t maxWords = 127;  // the maximum of the structure's counter

    alignas(ethtool_link_settings)
        std::array<std::byte, sizeof(ethtool_link_settings) + 3 * maxWords * sizeof(__u32)> bytes;

    [[nodiscard]] ethtool_link_settings Settings() const noexcept {
        ethtool_link_settings settings;
        std::memcpy(&settings, bytes.data(), sizeof settings);
        return settings;
    }
};

bool ask(CInterfaceControl& control, const std::string& name, std::int8_t words,
         SettingsBuffer& buffer) {
    ethtool_link_settings settings{};
    settings.cmd = ETHTOOL_GLINKSETTINGS;
    settings.link_mode_masks_nwords = words;
    buffer.bytes.fill(std::byte{0});
    std::memcpy(buffer.bytes.data(), &settings, sizeof settings);
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_data = reinterpret_cast<char*>(buffer.bytes.data());
    return control.Ioctl(SIOCETHTOOL, request) == 0;
}

}  // namespace

std::optional<std::uint64_t> linkSpeedOf(CInterfaceControl& control, const std::string& name) {
    constexpr std::uint64_t kbitPerMbit = 1000;
    SettingsBuffer buffer;
    // The first answer holds only the number of words of a bit map, negated.
    if (!ask(control, name, 0, buffer)) {
        return std::nullopt;
    }
    const std::int8_t words = buffer.Settings().link_mode_masks_nwords;
    if (words >= 0 || words == INT8_MIN ||
        !ask(control, name, static_cast<std::int8_t>(-words), buffer)) {
        return std::nullopt;
    }
    const std::uint32_t speed = buffer.Settings().speed;
    if (speed == 0 || speed == static_cast<std::uint32_t>(SPEED_UNKNOWN)) {
        return std::nullopt;
    }
    return speed * kbitPerMbit;
}

}  // namespace em_pni
