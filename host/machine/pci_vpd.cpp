#include "host/machine/pci_vpd.h"

#include "platform/text.h"

namespace em_pni {

namespace {

// A large resource has its tag, the size of its data (2 bytes, little-endian) and the data. A small
// resource has the size in the low bits of its tag.
constexpr std::uint8_t largeFlag = 0x80;
constexpr std::size_t largeHead = 3;
constexpr std::size_t smallHead = 1;
constexpr std::uint8_t smallSizeMask = 0x07;
constexpr std::uint8_t smallNameMask = 0x78;
constexpr std::uint8_t endTag = 0x78;
constexpr std::uint8_t readOnlyData = 0x90;

// A keyword has two characters, the size of its data (1 byte) and the data.
constexpr std::size_t keywordSize = 2;
constexpr std::size_t keywordHead = 3;

std::string textOf(CByteView data) {
    return printableText({reinterpret_cast<const char*>(data.Data()), data.Size()});
}

void readKeywords(CByteView data, PciVpd& vpd) {
    std::size_t offset = 0;
    while (data.Has(offset, keywordHead)) {
        const std::size_t size = data.U8(offset + keywordSize);
        if (!data.Has(offset + keywordHead, size)) {
            return;
        }
        const CByteView value = data.Part(offset + keywordHead, size);
        if (data.HasText(offset, "PN")) {
            vpd.partNumber = textOf(value);
        } else if (data.HasText(offset, "SN")) {
            vpd.serialNumber = textOf(value);
        }
        offset += keywordHead + size;
    }
}

}  // namespace

PciVpd parsePciVpd(CByteView data) {
    PciVpd vpd;
    std::size_t offset = 0;
    while (data.Has(offset, smallHead)) {
        const std::uint8_t tag = data.U8(offset);
        const bool isLarge = (tag & largeFlag) != 0;
        if (!isLarge && (tag & smallNameMask) == endTag) {
            break;
        }
        const std::size_t head = isLarge ? largeHead : smallHead;
        const std::size_t size = isLarge ? data.U16(offset + smallHead) : tag & smallSizeMask;
        if (!data.Has(offset, head + size)) {
            break;
        }
        if (tag == readOnlyData) {
            readKeywords(data.Part(offset + head, size), vpd);
        }
        offset += head + size;
    }
    return vpd;
}

}  // namespace em_pni
