// The machine to scan: its files, commands and network interfaces.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "devscan/adapter_names.h"
#include "devscan/command_runner.h"
#include "devscan/file_tree.h"
#include "devscan/interface_control.h"
#include "devscan/slot_tables.h"
#include "platform/recursive_lock.h"

namespace em_pni {

// Keep it as long as the module lives: it stores the answers of lspci and the tables of the
// firmware. Must outlive the CSystemAdapter objects of its scans. Any thread may use it.
class CMachine {
  public:
    // The machine that this process runs on.
    CMachine();
    // Another machine, with all files below `root`.
    CMachine(const std::string& root, std::unique_ptr<CCommandRunner> commands,
             std::unique_ptr<CInterfaceControl> interfaces);

    [[nodiscard]] const CFileTree& Files() const noexcept { return files_; }
    [[nodiscard]] CCommandRunner& Commands() noexcept { return *commands_; }
    [[nodiscard]] CInterfaceControl& Interfaces() noexcept { return *interfaces_; }
    [[nodiscard]] CAdapterNames& Names() noexcept { return names_; }
    // The slot tables of the firmware. Returns null when they cannot be read now. Reads them once:
    // they do not change, and a locked-down kernel logs each attempt to read physical memory.
    [[nodiscard]] const SlotTables* Slots();

  private:
    const CFileTree files_;
    const std::unique_ptr<CCommandRunner> commands_;
    const std::unique_ptr<CInterfaceControl> interfaces_;
    CAdapterNames names_;
    CRecursiveLock lock_;
    std::optional<SlotTables> slots_ PNI_GUARDED_BY(lock_);  // does not change once it is read
};

}  // namespace em_pni
