#include "devscan/pci_text.h"

#include <array>
#include <limits>
#include <string>
#include <utility>

#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {
namespace {

// Further offsets in the configuration space header.
constexpr std::size_t configVendor = 0x00;
constexpr std::size_t configDevice = 0x02;
constexpr std::size_t configClass = 0x0A;
constexpr std::size_t configSubVendor = 0x2C;
constexpr std::size_t configSubDevice = 0x2E;

// Removes `label` and `width` hexadecimal digits from the front of `rest` and returns the number.
std::optional<std::uint16_t> takeLabelled(std::string_view& rest, std::string_view label,
                                          std::size_t width) noexcept {
    if (!rest.starts_with(label) || rest.size() - label.size() < width) {
        return std::nullopt;
    }
    const auto value = parseHexAs<std::uint16_t>(rest.substr(label.size(), width));
    rest.remove_prefix(label.size() + width);
    return value;
}

// "0x8086" or decimal.
template <typename Integer>
std::optional<Integer> prefixed(std::string_view text) noexcept {
    const auto value = parseNumber(text, std::numeric_limits<Integer>::max());
    return value ? std::optional(static_cast<Integer>(*value)) : std::nullopt;
}

// The record of a command's output that is being read.
struct Draft {
    PciFunction function;
    // localcli's parts of the address.
    std::optional<std::uint16_t> segment, bus, device, fn;
    std::optional<std::uint16_t> vendor, deviceId, classCode;

    void AppendTo(std::vector<PciFunction>& list) {
        if (vendor && deviceId && classCode && function.address.IsKnown()) {
            function.ids.vendor = *vendor;
            function.ids.device = *deviceId;
            function.classCode = *classCode;
            list.push_back(std::move(function));
        }
        *this = {};
    }
};

void takeLspciLine(std::string_view tag, std::string_view value, Draft& draft) {
    if (tag == "Slot") {
        draft.function.address = parsePciAddress(value).value_or(PciAddress());
        draft.function.onRootBus = draft.function.address.bus == 0;
    } else if (tag == "Class") {
        draft.classCode = parseHexAs<std::uint16_t>(value);
    } else if (tag == "Vendor") {
        draft.vendor = parseHexAs<std::uint16_t>(value);
    } else if (tag == "Device") {
        draft.deviceId = parseHexAs<std::uint16_t>(value);
    } else if (tag == "SVendor") {
        draft.function.ids.subVendor = parseHexAs<std::uint16_t>(value).value_or(0);
    } else if (tag == "SDevice") {
        draft.function.ids.subDevice = parseHexAs<std::uint16_t>(value).value_or(0);
    }
}

void takeLocalcliId(std::string_view key, std::string_view value, Draft& draft) {
    const auto number = prefixed<std::uint16_t>(value);
    if (key == "Segment") {
        draft.segment = number;
    } else if (key == "Bus") {
        draft.bus = number;
    } else if (key == "Slot") {
        draft.device = number;
    } else if (key == "Function") {
        draft.fn = number;
    } else if (key == "Vendor ID") {
        draft.vendor = number;
    } else if (key == "Device ID") {
        draft.deviceId = number;
    } else if (key == "SubVendor ID") {
        draft.function.ids.subVendor = number.value_or(0);
    } else if (key == "SubDevice ID") {
        draft.function.ids.subDevice = number.value_or(0);
    } else if (key == "Device Class") {
        draft.classCode = number;
    }
}

void takeLocalcliLine(std::string_view key, std::string_view value, Draft& draft) {
    if (key == "VMkernel Name") {
        if (value.starts_with("vmnic")) {
            draft.function.interfaces.emplace_back(value);
        }
    } else if (key == "Module Name") {
        draft.function.driver = value == "None" ? std::string_view() : value;
    } else if (key == "Physical Slot") {
        draft.function.slot = prefixed<std::uint32_t>(value).value_or(unknownSlot);
    } else {
        takeLocalcliId(key, value, draft);
    }
}

// Takes the address from the keys, because the first line has different forms.
void finishLocalcli(Draft& draft, std::vector<PciFunction>& list) {
    if (draft.segment && draft.bus && draft.device && draft.fn && *draft.bus <= 0xFF &&
        *draft.device <= 31 && *draft.fn <= 7) {
        draft.function.address = {*draft.segment, static_cast<std::uint8_t>(*draft.bus),
                                  static_cast<std::uint8_t>(*draft.device),
                                  static_cast<std::uint8_t>(*draft.fn)};
        draft.function.onRootBus = *draft.bus == 0;
    }
    draft.AppendTo(list);
}

}  // namespace

std::optional<PciFunction> parseModalias(std::string_view text) {
    text = trimBlanks(text);
    const auto vendor = takeLabelled(text, "pci:v", 8);
    const auto device = takeLabelled(text, "d", 8);
    const auto subVendor = takeLabelled(text, "sv", 8);
    const auto subDevice = takeLabelled(text, "sd", 8);
    const auto base = takeLabelled(text, "bc", 2);
    const auto sub = takeLabelled(text, "sc", 2);
    if (!vendor || !device || !subVendor || !subDevice || !base || !sub) {
        return std::nullopt;
    }
    PciFunction function;
    function.ids = {*vendor, *device, *subVendor, *subDevice};
    function.classCode = static_cast<std::uint16_t>(*base << 8U | *sub);
    return function;
}

std::vector<PciFunction> parseProcPciDevices(std::string_view text) {
    constexpr int fieldsBeforeDriver = 17;
    std::vector<PciFunction> list;
    while (!text.empty()) {
        std::string_view line = takeUntil(text, '\n');
        const auto place = parseHexAs<std::uint16_t>(takeUntil(line, '\t'));
        const auto ids = parseHexAs<std::uint32_t>(takeUntil(line, '\t'));
        if (!place || !ids) {
            continue;
        }
        for (int field = 2; field < fieldsBeforeDriver; ++field) {
            takeUntil(line, '\t');
        }
        PciFunction function;
        function.address = PciAddress::FromPacked(*place);
        function.ids.vendor = static_cast<std::uint16_t>(*ids >> 16U);
        function.ids.device = static_cast<std::uint16_t>(*ids & 0xFFFFU);
        function.driver = trimBlanks(line);
        function.onRootBus = function.address.bus == 0;
        list.push_back(std::move(function));
    }
    return list;
}

bool applyConfigHeader(CByteView config, PciFunction& function) noexcept {
    if (!config.Has(0, configHeaderSize) || config.U16(configVendor) != function.ids.vendor ||
        config.U16(configDevice) != function.ids.device) {
        return false;
    }
    function.classCode = config.U16(configClass);
    function.headerType = config.U8(configHeaderType);
    if (hasSubsystemIds(function.headerType)) {
        function.ids.subVendor = config.U16(configSubVendor);
        function.ids.subDevice = config.U16(configSubDevice);
    }
    return true;
}

std::vector<PciFunction> parseLspciRecords(std::string_view text) {
    std::vector<PciFunction> list;
    Draft draft;
    while (!text.empty()) {
        std::string_view value = takeUntil(text, '\n');
        if (trimBlanks(value).empty()) {
            draft.AppendTo(list);
            continue;
        }
        const std::string_view tag = takeUntil(value, ':');
        takeLspciLine(tag, trimBlanks(value), draft);
    }
    draft.AppendTo(list);
    return list;
}

std::string deviceNameOfLspciLine(std::string_view line) {
    constexpr std::string_view mark = "]: ";
    const std::size_t start = line.find(mark);
    if (start == std::string_view::npos) {
        return "";
    }
    const std::string_view name = line.substr(start + mark.size());
    const std::size_t end = name.find('[');
    return end == std::string_view::npos ? "" : printableText(name.substr(0, end));
}

std::vector<PciFunction> parseLocalcliRecords(std::string_view text) {
    std::vector<PciFunction> list;
    Draft draft;
    while (!text.empty()) {
        const std::string_view line = trimBlanks(takeUntil(text, '\n'));
        if (line.empty()) {
            continue;
        }
        const std::size_t colon = line.find(": ");
        if (colon != std::string_view::npos) {
            takeLocalcliLine(line.substr(0, colon), trimBlanks(line.substr(colon + 1)), draft);
        } else if (!line.ends_with(':')) {
            // Not a key without a value either: the first line of the next record.
            finishLocalcli(draft, list);
        }
    }
    finishLocalcli(draft, list);
    return list;
}

}  // namespace em_pni
