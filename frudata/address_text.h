// Text forms of addresses, for people and in the record.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "frudata/layout.h"
#include "platform/address.h"

namespace em_pni {

// Upper-case pairs of hexadecimal digits with `separator` between the pairs: "00-11-22-33-44-55".
std::string hexPairs(std::span<const std::uint8_t> bytes, const char* separator);

// The bytes that pairs of hexadecimal digits state. Returns no value when a character is no such
// digit or a pair is incomplete.
std::optional<std::vector<std::uint8_t>> bytesOfHex(std::span<const std::uint8_t> characters);

// A MAC address of 6 or 8 bytes. Returns an empty text for any other length.
std::string macText(std::span<const std::uint8_t> mac, const char* separator = "-");

// An IPv4 address, 4 bytes in network order. Returns an empty text for any other length.
std::string ipv4Text(std::span<const std::uint8_t> address);

// An IPv6 address, 16 bytes in network order. The text is the shortest usual one, except that the
// unspecified address reads "0:0:0:0:0:0:0:0" and the loopback address "0:0:0:0:0:0:0:1". Returns
// an empty text for any other length.
std::string ipv6Text(std::span<const std::uint8_t> address);

// The eight bytes of a name, most significant byte first.
std::array<std::uint8_t, 8> worldwideNameBytes(WorldWideName name) noexcept;

// "20:00:00:10:9B:00:00:01"
std::string worldwideNameText(WorldWideName name);

// The MAC with "-" or the worldwide port name with ":", whichever the address has.
std::string physicalAddressText(const PhysicalAddress& address);

// The form in the record: 16 upper-case hexadecimal characters without NUL.
std::array<std::uint8_t, layout::worldwideNameSize> HexToAscii(WorldWideName name);

// The inverse of HexToAscii. Returns no value for anything but 16 hexadecimal characters.
std::optional<WorldWideName> ToHex(std::span<const std::uint8_t> characters);

}  // namespace em_pni
