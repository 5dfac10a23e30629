#include "devscan/adapter_names.h"

#include <optional>
#include <string_view>

#include "devscan/pci_text.h"
#include "platform/number.h"
#include "platform/profile_file.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr std::size_t maxName = 260;  // characters

std::string nameIn(const std::string& file, const std::string& section, const std::string& key) {
    const std::string value = GetPrivateProfileString(section, key, file).value_or("");
    return std::string(trimBlanks(std::string_view(value).substr(0, maxName)));
}

}  // namespace

AdapterNames CAdapterNames::Find(const PciIds& ids) {
    const std::string vendor = upperHex(ids.vendor, 4);
    const std::string device = upperHex(ids.device, 4);
    AdapterNames names;
    names.vendor = nameIn(nameFile_, vendor, "Vendor");
    if (names.vendor.empty()) {
        PNI_TRACE(2,
                  "\nCSystemAdapter      : WARNING! No vendor name found for vendor ID 0x%X sub "
                  "vendor ID 0x%X!",
                  unsigned{ids.vendor}, unsigned{ids.subVendor});
    }
    names.subVendor = nameIn(nameFile_, upperHex(ids.subVendor, 4), "Vendor");
    if (names.subVendor.empty()) {
        PNI_TRACE(2,
                  "\nCSystemAdapter      : WARNING! No sub vendor name found for vendor ID 0x%X "
                  "sub vendor ID 0x%X!",
                  unsigned{ids.vendor}, unsigned{ids.subVendor});
    }
    names.device = nameIn(nameFile_, vendor, device + upperHex(ids.subDevice, 4));
    if (names.device.empty()) {
        names.device = nameIn(nameFile_, vendor, device);
    }
    if (names.device.empty()) {
        PNI_TRACE(2,
                  "\nCSystemAdapter      : WARNING! No device name found for vendor ID 0x%X sub "
                  "vendor ID 0x%X device ID 0x%X sub system ID 0x%X!",
                  unsigned{ids.vendor}, unsigned{ids.subVendor}, unsigned{ids.device},
                  unsigned{ids.subDevice});
        names.device = AskLspci(ids);
    }
    return names;
}

std::string CAdapterNames::AskLspci(const PciIds& ids) {
    // Held while lspci runs, so that a second thread waits for the answer and does not run it too.
    const CRecursiveLockGuard guard(lock_);
    const std::uint32_t key = std::uint32_t{ids.vendor} << 16U | ids.device;
    const auto [entry, isNew] = fromLspci_.try_emplace(key);
    if (isNew) {
        const std::string device = lowerHex(ids.vendor, 1) + ":" + lowerHex(ids.device, 1);
        for (const char* const program : lspciPrograms) {
            if (const auto output = commands_.Run({program, "-nn", "-d", device})) {
                std::string_view lines = *output;
                entry->second = deviceNameOfLspciLine(takeUntil(lines, '\n'));
                break;
            }
        }
    }
    return entry->second;
}

}  // namespace em_pni
