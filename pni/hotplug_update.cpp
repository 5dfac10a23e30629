#include "pni/hotplug_update.h"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>

#include "frudata/address_index.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr const char* self = "\nEM_PNI              : UpdatePlatformNetworkInventoryStructure : ";
// A module with a header of this many bytes or less has no type and no technology.
constexpr std::size_t tooShortHeader = 10;  // bytes

using Addresses = std::vector<PhysicalAddress>;

Addresses usableAddresses(const LocalPniAdapter& adapter) {
    Addresses addresses = adapter.GetFuncPhysicalAddress();
    std::erase_if(addresses, [](const PhysicalAddress& address) { return !address.IsUsable(); });
    return addresses;
}

const char* nameOf(ModuleType type) noexcept {
    switch (type) {
        case ModuleType::onboard:
            return "Onboard";
        case ModuleType::mezzanine:
            return "Mezzanine";
        case ModuleType::pciAddIn:
            return "PCI Add-In";
        default:
            return "Unknown";
    }
}

bool isTracked(ModuleTechnology technology) noexcept {
    return technology == ModuleTechnology::eth || technology == ModuleTechnology::fc;
}

class CHotplugUpdate {
  public:
    CHotplugUpdate(const CPniFruData& record, const HotplugFlags& flags)
        : flags_(flags),
          owners_(record.Read([](auto image) { return CModuleAddressIndex(CByteView(image)); })),
          copy_(record) {}

    // The changed record. Use it only when all steps below succeeded.
    [[nodiscard]] const CPniFruData& Result() const noexcept { return copy_; }

    void TrackModules();
    // Return false when a change is refused: the update must end.
    bool AddNewAdapters(const AdapterSource& collectAdapters);
    bool RemoveUnseenModules();

  private:
    bool HandleAdapter(const LocalPniAdapterHandle& handle);
    bool AddAdapter(const LocalPniAdapter& adapter);
    [[nodiscard]] bool IsPresent(const Addresses& addresses);
    [[nodiscard]] std::optional<ModuleFacts> ReadModule(std::uint8_t current) const;
    [[nodiscard]] bool IsRemovable(std::uint8_t index, std::uint8_t current) const;
    [[nodiscard]] bool IsDeviceThere(const ModuleFacts& module) const;

    const HotplugFlags flags_;
    const CModuleAddressIndex owners_;  // modules of the unchanged record
    CPniFruData copy_;
    // Whether the adapter of a module was found. The key is the position in the unchanged record.
    std::map<std::uint8_t, bool> seen_;
    // Devices of the machine whose module could not be determined.
    std::vector<DeviceToAdaptersMapID> unidentified_;
};

void CHotplugUpdate::TrackModules() {
    copy_.VisitModules([this](const ModuleFacts& module, const Addresses& addresses) {
        if (addresses.empty()) {
            PNI_TRACE(3, "%sWarning - no physical address on module %u, ignoring...", self,
                      module.index);
        } else if (!isTracked(module.technology)) {
            PNI_TRACE(5, "%sModule %u technology type not supported for hot-plug : %u", self,
                      module.index, static_cast<unsigned>(module.technology));
        } else {
            PNI_TRACE(5, "%sAdd module %u to check map.", self, module.index);
            seen_[module.index] = false;
        }
    });
    PNI_TRACE(5, "%sTrack changes in %u modules.", self, static_cast<unsigned>(seen_.size()));
}

bool CHotplugUpdate::AddNewAdapters(const AdapterSource& collectAdapters) {
    UncollectedDevices uncollected;
    const std::vector<LocalPniAdapterHandle> adapters = collectAdapters(&uncollected);
    if (uncollected.hostDidNotAnswer) {
        PNI_TRACE(2, "%sThe host did not answer, try again...", self);
        return false;
    }
    unidentified_ = std::move(uncollected.devices);
    return std::all_of(
        adapters.begin(), adapters.end(),
        [this](const LocalPniAdapterHandle& handle) { return HandleAdapter(handle); });
}

bool CHotplugUpdate::HandleAdapter(const LocalPniAdapterHandle& handle) {
    LocalPniAdapter& adapter = handle.Get();
    if (!adapter.IsValid()) {
        adapter.Collect();
        if (!adapter.IsValid()) {
            PNI_TRACE(2, "%sWARNING! Adapter not valid.", self);
            unidentified_.push_back(handle.DeviceId());
            return true;
        }
    }
    const Addresses addresses = usableAddresses(adapter);
    if (addresses.empty()) {
        PNI_TRACE(4, "%sAdapter does not have valid MAC - ignore..", self);
        unidentified_.push_back(handle.DeviceId());
        return true;
    }
    if (IsPresent(addresses)) {
        PNI_TRACE(5, "%sModule present, continue...", self);
        return true;
    }
    // Modules are built with technology codes. A record of format 10 holds texts instead.
    if (adapter.GetLocalPniModuleArea().GetModuleType() != ModuleType::pciAddIn ||
        !copy_.HasCodes()) {
        PNI_TRACE(5, "%sAdditional module not supported in hot-plug, continue...", self);
        return true;
    }
    if (!flags_.deviceAdded) {
        PNI_TRACE(1,
                  "\nEM_PNI : UpdatePlatformNetworkInventoryStructure : WARNING ! Module ADD when "
                  "no proper hot-plug flag set!");
        return true;
    }
    return AddAdapter(adapter);
}

// Returns whether a module has one of the addresses, and marks that module as seen.
bool CHotplugUpdate::IsPresent(const Addresses& addresses) {
    for (const PhysicalAddress& address : addresses) {
        if (const auto [isFound, module] = owners_.Find(address); isFound) {
            seen_.at(module) = true;
            return true;
        }
    }
    return false;
}

bool CHotplugUpdate::AddAdapter(const LocalPniAdapter& adapter) {
    PNI_TRACE(5, "%sModule not found, addding...", self);
    std::vector<std::uint8_t> stream;
    try {
        stream = adapter.ToPniFruDataStreamModule();
    } catch (const std::runtime_error& error) {
        PNI_TRACE(2, "%sAdapter cannot be written as a module, ignoring... %s", self, error.what());
        return true;
    }
    if (!copy_.AddPniModule(stream)) {
        PNI_TRACE(5, "%sERROR! Could not add new module.", self);
        return false;
    }
    PNI_TRACE(5, "%sSuccessfully added a new module to PNI structure.", self);
    return true;
}

bool CHotplugUpdate::RemoveUnseenModules() {
    std::uint8_t removed = 0;
    for (const auto& [index, isSeen] : seen_) {
        const auto current = static_cast<std::uint8_t>(index - removed);
        if (isSeen || !IsRemovable(index, current)) {
            continue;
        }
        PNI_TRACE(5, "%sRemove module %u.", self, index);
        if (!copy_.RemoveModule(current)) {
            PNI_TRACE(5, "%sERROR! Could not remove module.", self);
            return false;
        }
        ++removed;
    }
    return true;
}

std::optional<ModuleFacts> CHotplugUpdate::ReadModule(std::uint8_t current) const {
    try {
        const ModuleFacts module = copy_.GetModuleFacts(current);
        return module.headerSize > tooShortHeader ? std::optional(module) : std::nullopt;
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

bool CHotplugUpdate::IsRemovable(std::uint8_t index, std::uint8_t current) const {
    const auto module = ReadModule(current);
    if (!module) {
        PNI_TRACE(2, "%sWarning - could not retrieve module %u area, ignoring...", self, index);
        return false;
    }
    if (module->type != ModuleType::pciAddIn || module->moduleId == 0) {
        PNI_TRACE(5, "%sModule %u type not supported for hot-unplug : %s (location id - %u)", self,
                  index, nameOf(module->type), module->moduleId);
        return false;
    }
    if (!flags_.deviceRemoved) {
        PNI_TRACE(1,
                  "\nEM_PNI : UpdatePlatformNetworkInventoryStructure : WARNING ! Module REMOVE "
                  "when no proper hot-plug flag set!");
        return false;
    }
    if (IsDeviceThere(*module)) {
        PNI_TRACE(2, "%sModule %u stays, its device is there but could not be identified.", self,
                  index);
        return false;
    }
    return true;
}

// A device without a loaded driver, or without an answer of the host, is still in the machine.
bool CHotplugUpdate::IsDeviceThere(const ModuleFacts& module) const {
    return module.pciAddress &&
           std::find(unidentified_.begin(), unidentified_.end(),
                     DeviceToAdaptersMapID::Of(*module.pciAddress)) != unidentified_.end();
}

}  // namespace

bool UpdateInventoryStructure(CPniFruData& record, const HotplugFlags& flags,
                              const AdapterSource& collectAdapters) {
    CHotplugUpdate update(record, flags);
    update.TrackModules();
    if (!update.AddNewAdapters(collectAdapters) || !update.RemoveUnseenModules()) {
        return false;
    }
    PNI_TRACE(5, "%sDone.", self);
    record = update.Result();
    return true;
}

}  // namespace em_pni
