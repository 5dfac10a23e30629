// The byte layout of a FRU image with a Platform Network Inventory record, and the values of its
// fields. docs/record.md explains both. All offsets are in bytes from the start of their area.
// Integers are little-endian. A checksum is an 8-bit zero-sum: all covered bytes and the checksum
// byte add up to 0 modulo 256.
#pragma once

#include <cstddef>
#include <cstdint>

namespace em_pni {

// Technology of a whole module, in PNI_MODULE_AREA::moduleTypeCode and in filters.
enum class ModuleTechnology : std::uint8_t {
    cna = 0,
    fc = 1,
    ib = 2,
    eth = 3,
    sas = 4,
    none = 255,
};

// Place of a module, in PNI_MODULE_AREA::moduleType.
enum class ModuleType : std::uint8_t { onboard = 0, mezzanine = 1, pciAddIn = 2, unknown = 255 };

// Technology of a port function, in PNI_PORT_FUNCTION::technologyType and in answers.
enum class FunctionTechnology : std::uint8_t {
    nic = 0,
    fc = 1,
    fcoe = 2,
    iscsi = 3,
    ib = 4,
    sas = 5,
    roce = 6,
    unknown = 255,
};

namespace layout {

// Bytes of the longest image. The module keeps the length of an image in 16 bits.
inline constexpr std::size_t maxImage = 65'535;

// At image offset 0.
struct IPMI_FRU_COMMON_HEADER {
    static constexpr std::size_t internalUseAreaOffset = 1;  // units of 8 bytes; 0 = no such area
    static constexpr std::size_t size = 8;                   // covered by the checksum in byte 7
};

// At 8 x internalUseAreaOffset.
struct OEM_INTERNAL_USE_AREA {
    static constexpr std::size_t iuaFormatVersion = 0;  // always 1
    static constexpr std::size_t iuaAreaType = 1;       // always 1
    static constexpr std::size_t pniRecordOffset = 2;   // units of 8 bytes, from the area's start
    static constexpr std::size_t moduleCount = 3;
    static constexpr std::size_t iuaChecksum = 7;  // over bytes 0..7
    static constexpr std::size_t size = 8;

    static constexpr std::size_t maxModules = 255;
};

// At 8 x internalUseAreaOffset + 8 x pniRecordOffset. One byte longer than an IPMI multi-record
// header, because its length is 16 bits wide.
struct OEM_PNI_MULTIRECORD_HEADER {
    static constexpr std::size_t recordTypeId = 0;         // always 0xF0
    static constexpr std::size_t recordFormatVersion = 1;  // low 4 bits; the others are kept
    static constexpr std::size_t recordLength = 2;         // 16 bits, bytes behind this header
    static constexpr std::size_t recordChecksum = 4;       // over the record data and this byte
    static constexpr std::size_t headerChecksum = 5;       // over bytes 0..5
    static constexpr std::size_t size = 6;

    static constexpr std::uint8_t oemRecordType = 0xF0;
    static constexpr std::uint8_t formatVersionMask = 0x0F;
    static constexpr std::uint8_t firstVersion = 10;
    static constexpr std::uint8_t lastVersion = 12;
    // Version 10 has a text for the technology of a function and no code for that of a module.
    static constexpr std::uint8_t firstVersionWithCodes = 11;
};

// Right behind the multi-record header. These are the first bytes of the record data.
struct PNI_COMMON_AREA {
    static constexpr std::size_t subtype = 3;
    static constexpr std::size_t size = 4;

    static constexpr std::uint8_t NETWORK_INVENTORY_MODULE_SUBTYPE = 1;
};

// Module, port and port function begin with a flags byte. Bit 7 is the end mark: it is set on the
// last element of a list only.
inline constexpr std::uint8_t endOfListBit = 0x80;
inline constexpr std::uint8_t enableBit = 0x40;
inline constexpr std::uint8_t moduleIdMask = 0x3F;
inline constexpr std::uint8_t portIdMask = 0x3F;
inline constexpr std::uint8_t functionIdMask = 0x1F;

// The first module follows the common area. Each further module follows the last function of the
// module before it.
struct PNI_MODULE_AREA {
    static constexpr std::size_t flags = 0;
    static constexpr std::size_t recordLen = 1;  // bytes from the module to its first port
    static constexpr std::size_t portCount = 2;
    static constexpr std::size_t name = 3;
    static constexpr std::size_t nameSize = 19;
    static constexpr std::size_t moduleTypeCode = 22;  // ModuleTechnology; versions 11 and 12
    static constexpr std::size_t moduleType = 23;      // ModuleType
    static constexpr std::size_t firmwareVersion = 24;
    static constexpr std::size_t firmwareVersionSize = 32;
    static constexpr std::size_t size = 56;   // as written; readers use recordLen
    static constexpr std::size_t walked = 3;  // bytes that a walk reads
};

struct PNI_PORT_AREA {
    static constexpr std::size_t flags = 0;
    static constexpr std::size_t recordLen = 1;  // bytes from the port to its first function
    static constexpr std::size_t pfCount = 2;
    static constexpr std::size_t wolBehaviour = 3;
    static constexpr std::size_t size = 4;    // as written; readers use recordLen
    static constexpr std::size_t walked = 3;  // bytes that a walk reads
};

// In format version 10 the technology is a text. There the fields from `speed` on stand two bytes
// further back.
struct PNI_PORT_FUNCTION {
    static constexpr std::size_t flags = 0;
    static constexpr std::size_t functionLength = 1;  // units of 4 bytes, the whole function
    static constexpr std::size_t addressOffset = 2;   // bytes from the function to its addresses
    static constexpr std::size_t bootOptionId = 3;
    static constexpr std::size_t bootName = 4;
    static constexpr std::size_t bootNameSize = 10;
    static constexpr std::size_t technologyType = 14;
    static constexpr std::size_t speed = 15;   // 16 bits: bits 14-15 unit, 0-13 magnitude
    static constexpr std::size_t vlanId = 17;  // 16 bits
    static constexpr std::size_t bandwidth = 19;
    static constexpr std::size_t rateLimit = 20;
    static constexpr std::size_t bootFlags = 21;
    static constexpr std::size_t vendorDeviceId = 22;     // 32 bits: vendor in the high half
    static constexpr std::size_t pciAddress = 26;         // 32 bits, as PciAddress::Packed
    static constexpr std::size_t subVendorDeviceId = 30;  // 32 bits
    static constexpr std::size_t commonSize = 34;         // as written; readers use addressOffset
    static constexpr std::size_t walked = 2;              // bytes that a walk reads

    static constexpr std::size_t lengthUnit = 4;           // bytes
    static constexpr std::size_t maxFunctionLength = 255;  // units
    static constexpr std::size_t textTechnologyShift = 2;  // bytes, format version 10

    static constexpr std::uint8_t bootStatusBit = 0x01;
    static constexpr std::uint8_t uefiSupportBit = 0x02;
    static constexpr std::uint8_t remoteDeploySupportBit = 0x04;
};

inline constexpr std::size_t macSize = 6;             // raw bytes
inline constexpr std::size_t worldwideNameSize = 16;  // hexadecimal characters, no NUL
inline constexpr std::size_t optionRomSize = 32;      // text
inline constexpr std::size_t ipv4Size = 4;            // network order
inline constexpr std::size_t ipv6Size = 16;           // network order

// Address blocks, by the technology of the function. They begin at addressOffset.
struct NIC_ADDRESSES {
    static constexpr std::size_t manufactureMac = 0;
    static constexpr std::size_t activeMac = 6;
    static constexpr std::size_t optionRom = 12;
    static constexpr std::size_t ipCounters = 44;        // bits 0-3 IPv4, bits 4-7 IPv6
    static constexpr std::size_t ipAddresses = 45;       // every IPv4, then every IPv6 address
    static constexpr std::size_t ipAddressesSize = 300;  // 15 addresses of each family
    static constexpr std::size_t size = ipAddresses + ipAddressesSize;
    static constexpr std::size_t maxOfFamily = 15;      // addresses; the counters have 4 bits
    static constexpr std::size_t minimumFunction = 45;  // bytes; a shorter one gets no addresses
};

struct FC_ADDRESSES {
    static constexpr std::size_t manufactureWwnn = 0;
    static constexpr std::size_t manufactureWwpn = 16;
    static constexpr std::size_t activeWwnn = 32;
    static constexpr std::size_t activeWwpn = 48;
    static constexpr std::size_t optionRom = 64;
    static constexpr std::size_t minimumFunction = 64;  // bytes; a shorter one has no names
    static constexpr std::size_t readAtMost = 96;       // bytes of a block that are copied out
};

// The four names stand as in FC_ADDRESSES.
struct FCOE_ADDRESSES {
    static constexpr std::size_t manufactureMac = 64;
    static constexpr std::size_t activeMac = 70;
    static constexpr std::size_t optionRom = 76;
};

struct ISCSI_ADDRESSES {
    static constexpr std::size_t manufactureMac = 0;
    static constexpr std::size_t activeMac = 6;
    static constexpr std::size_t initiatorName = 12;
    static constexpr std::size_t initiatorNameSize = 224;
    static constexpr std::size_t optionRom = 236;
};

struct IB_ADDRESSES {
    static constexpr std::size_t manufactureGuid = 0;
    static constexpr std::size_t activeGuid = 16;
    static constexpr std::size_t optionRom = 32;
};

}  // namespace layout
}  // namespace em_pni
