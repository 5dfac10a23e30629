#include "devscan/machine.h"

#include "devscan/command_runner.h"
#include "devscan/firmware_tables.h"

namespace em_pni {

CMachine::CMachine()
    : CMachine("", std::make_unique<CProcessRunner>(), std::make_unique<CSocketControl>()) {}

CMachine::CMachine(const std::string& root, std::unique_ptr<CCommandRunner> commands,
                   std::unique_ptr<CInterfaceControl> interfaces)
    : files_(root),
      commands_(std::move(commands)),
      interfaces_(std::move(interfaces)),
      names_(files_.FullPath("opt/QuillonRT/vital/etc/qlagent/Adapter.ini"), *commands_) {}

const SlotTables* CMachine::Slots() {
    const CRecursiveLockGuard guard(lock_);
    if (!slots_) {
        slots_ = readSlotTables(files_);
    }
    return slots_ ? &*slots_ : nullptr;
}

}  // namespace em_pni
