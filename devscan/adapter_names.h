// Names of vendors and devices, from the name file and, for devices, from lspci.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "devscan/command_runner.h"
#include "devscan/pci_function.h"
#include "platform/recursive_lock.h"

namespace em_pni {

// Empty where nobody knows a name.
struct AdapterNames {
    std::string vendor;
    std::string subVendor;
    std::string device;
};

// The name file is a profile file; it need not exist. A section per vendor id, "8086", holds the
// name under "Vendor" and the names of its devices under device id and subsystem id, "15210001", or
// the device id alone, "1521"; upper-case digits.
//
// lspci is asked at most once for a vendor and device id, whatever it answers. Any thread may ask.
class CAdapterNames {
  public:
    // The runner must outlive this object.
    CAdapterNames(std::string nameFile, CCommandRunner& commands)
        : nameFile_(std::move(nameFile)), commands_(commands) {}

    AdapterNames Find(const PciIds& ids);

  private:
    std::string AskLspci(const PciIds& ids);

    const std::string nameFile_;
    CCommandRunner& commands_;
    CRecursiveLock lock_;
    // By vendor id << 16 | device id; empty = lspci knows none.
    std::map<std::uint32_t, std::string> fromLspci_ PNI_GUARDED_BY(lock_);
};

// The device name in a line of "lspci -nn":
//
//     03:00.0 Ethernet controller [0200]: Intel Corporation I350 [8086:1521] (rev 01)
//
// is what stands between "]: " and the next "[", blanks at both ends cut; empty when there is none.
std::string deviceNameOfLspciLine(std::string_view line);

}  // namespace em_pni
