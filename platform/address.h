// Addresses of network functions as small values without heap memory.
#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace em_pni {

// An address of `Short` or `Long` bytes, or no address (size 0). The bytes are in network order.
// Converts to a span of bytes.
template <std::size_t Short, std::size_t Long>
class CAddress {
  public:
    static constexpr std::size_t shortSize = Short;
    static constexpr std::size_t longSize = Long;

    constexpr CAddress() noexcept = default;
    // Takes any contiguous bytes. Bytes of any other size give no address.
    template <class Bytes>
    requires std::convertible_to<const Bytes&, std::span<const std::uint8_t>>
    constexpr CAddress(const Bytes& bytes) noexcept { Set(bytes); }
    constexpr CAddress(std::initializer_list<std::uint8_t> bytes) noexcept {
        Set({bytes.begin(), bytes.size()});
    }

    [[nodiscard]] constexpr bool IsEmpty() const noexcept { return size_ == 0; }
    // Whether there is an address that is not all zero.
    [[nodiscard]] constexpr bool IsUsable() const noexcept {
        return std::any_of(begin(), end(), [](std::uint8_t byte) { return byte != 0; });
    }

    // The names that make this a range.
    [[nodiscard]] constexpr const std::uint8_t* data() const noexcept { return bytes_.data(); }
    [[nodiscard]] constexpr std::size_t size() const noexcept { return size_; }
    [[nodiscard]] constexpr const std::uint8_t* begin() const noexcept { return data(); }
    [[nodiscard]] constexpr const std::uint8_t* end() const noexcept { return data() + size_; }

    // Bytes behind the size are always zero, so the order is that of the bytes, then of the sizes.
    friend constexpr auto operator<=>(const CAddress&,
                                      const CAddress&) noexcept = default;  // NOLINT

  private:
    constexpr void Set(std::span<const std::uint8_t> bytes) noexcept {
        if (bytes.size() == Short || bytes.size() == Long) {
            size_ = bytes.size();
            std::copy(bytes.begin(), bytes.end(), bytes_.begin());
        }
    }

    std::array<std::uint8_t, Long> bytes_{};
    std::size_t size_ = 0;
};

using MacAddress = CAddress<6, 8>;
using IpAddress = CAddress<4, 16>;  // IPv4, IPv6

// A Fibre Channel worldwide name. The most significant byte is the first of the name; 0 = no name.
using WorldWideName = std::uint64_t;

// The physical address of a port function, from the record or from the machine.
struct PhysicalAddress {
    enum class Kind : std::uint8_t { mac = 0, wwn = 1 };

    Kind kind = Kind::mac;
    MacAddress mac;
    WorldWideName wwpn = 0;
    WorldWideName wwnn = 0;

    // Whether a module can be found by it: a MAC that is not all zero, or a port name.
    [[nodiscard]] constexpr bool IsUsable() const noexcept {
        return kind == Kind::mac ? mac.IsUsable() : wwpn != 0;
    }
};

}  // namespace em_pni
