// The machine that is scanned: its files, its commands and its network interfaces.
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

// Meant to live as long as the module: it remembers what lspci has been asked for and the
// firmware's tables. Must outlive the CSystemAdapter objects made from it. Any thread may use it.
class CMachine {
  public:
    // The machine that this process runs on.
    CMachine();
    // Another one, whose files are all below `root`.
    CMachine(const std::string& root, std::unique_ptr<CCommandRunner> commands,
             std::unique_ptr<CInterfaceControl> interfaces);

    [[nodiscard]] const CFileTree& Files() const noexcept { return files_; }
    [[nodiscard]] CCommandRunner& Commands() noexcept { return *commands_; }
    [[nodiscard]] CInterfaceControl& Interfaces() noexcept { return *interfaces_; }
    [[nodiscard]] CAdapterNames& Names() noexcept { return names_; }
    // Null when they cannot be read at the moment. Read once: they do not change while the machine
    // runs, and a locked-down kernel logs every attempt to read physical memory.
    [[nodiscard]] const SlotTables* Slots();

  private:
    const CFileTree files_;
    const std::unique_ptr<CCommandRunner> commands_;
    const std::unique_ptr<CInterfaceControl> interfaces_;
    CAdapterNames names_;
    CRecursiveLock lock_;
    std::optional<SlotTables> slots_ PNI_GUARDED_BY(lock_);  // never changed once it is there
};

}  // namespace em_pni
