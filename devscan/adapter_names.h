// Names of vendors and devices. They come from the name file, device names also from lspci.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "devscan/command_runner.h"
#include "devscan/pci_function.h"
#include "platform/recursive_lock.h"

namespace em_pni {

// Empty = unknown.
struct AdapterNames {
    std::string vendor;
    std::string subVendor;
    std::string device;
};

// The name file is a profile file, which may be missing. Each vendor has a section named after its
// id, "8086". In it, key "Vendor" holds the name of the vendor. Key "15210001", device id and
// subsystem id, or else key "1521", device id, holds the name of a device. All digits are
// upper-case.
//
// Asks lspci at most once for each vendor and device id, also when it fails. Any thread may call.
class CAdapterNames {
  public:
    // `commands` must outlive this object.
    CAdapterNames(std::string nameFile, CCommandRunner& commands)
        : nameFile_(std::move(nameFile)), commands_(commands) {}

    AdapterNames Find(const PciIds& ids);

  private:
    std::string AskLspci(const PciIds& ids);

    const std::string nameFile_;
    CCommandRunner& commands_;
    CRecursiveLock lock_;
    // The key is vendor id << 16 | device id. Empty = lspci knows no name.
    std::map<std::uint32_t, std::string> fromLspci_ PNI_GUARDED_BY(lock_);
};

}  // namespace em_pni
