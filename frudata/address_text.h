// Text forms of addresses.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace em_pni {

// Upper-case pairs with `separator` between them: "00-11-22-33-44-55".
std::string hexPairs(std::span<const std::uint8_t> bytes, const char* separator);

// A MAC address of 6 or 8 bytes; any other length has no text.
std::string macText(std::span<const std::uint8_t> mac, const char* separator = "-");

// The bytes that hexadecimal characters say, two for each; nothing when one is no such character.
std::optional<std::vector<std::uint8_t>> bytesOfHex(std::span<const std::uint8_t> characters);

// 4 bytes in network order.
std::string ipv4Text(std::span<const std::uint8_t> address);

// 16 bytes in network order: the shortest usual form, except that the unspecified and the loopback
// address stand in full, "0:0:0:0:0:0:0:0" and "0:0:0:0:0:0:0:1".
std::string ipv6Text(std::span<const std::uint8_t> address);

}  // namespace em_pni
