// A machine with any files and any drivers: its adapters are found, become modules, and come and go
// in a record. played_machine.h describes the input.
#include "fuzz/played_machine.h"
#include "pni/hotplug_update.h"
#include "pni/physical_check.h"
#include "tests/scripted_network.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

// Knows the interfaces of the machine.
class CHost final : public CKrcpConnection {
  public:
    explicit CHost(const CPlayedInterfaces& interfaces) {
        for (const auto& [name, answer] : interfaces.answers) {
            network_.interfaces.push_back(
                {.mac = CFuzzInput(answer).Take(CPlayedInterfaces::addressSize),
                 .primary = {},
                 .transient = {}});
        }
    }
    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t timeoutMs) override {
        return host_.SendRequest(nullptr, message, timeoutMs);
    }

  private:
    test::CScriptedHost host_{{}};
    test::CScriptedNetwork network_{host_};
};

// Inserts the module of the adapter: the record stays valid and finds the module by its addresses.
void insert(const LocalPniAdapter& adapter, const Bytes& image) {
    Bytes stream;
    try {
        stream = adapter.ToPniFruDataStreamModule();
    } catch (const std::runtime_error&) {
        return;  // it does not fit into a module
    }
    CPniFruData record(image);
    const bool isAdded = record.AddPniModule(stream);
    require(record.IsValid(), "a valid record stays valid");
    require(isAdded || record.GetImage() == image, "a refused change changes nothing");
    for (const PhysicalAddress& address : adapter.GetFuncPhysicalAddress()) {
        require(!isAdded || !address.IsUsable() || record.FindModuleByAddress(address).first,
                "a module has the addresses of its adapter");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CPlayedMachine played({reinterpret_cast<const char*>(data), size});
    CHost host(*played.interfaces);
    static const Bytes sample = test::sample("three-modules.fru");
    CPniFruData record(sample);
    try {
        UncollectedDevices missed;
        const auto adapters =
            LocalPniAdapterHandle::GetLocalNetworkAdapters(played.machine, &host, 0, &missed);
        for (const LocalPniAdapterHandle& handle : adapters) {
            insert(handle.Get(), sample);
        }
        const auto collect = [&](UncollectedDevices* uncollected) {
            if (uncollected != nullptr) {
                *uncollected = missed;
            }
            return std::vector<LocalPniAdapterHandle>(adapters);
        };
        const bool isUpdated =
            UpdateInventoryStructure(record, {.deviceAdded = true, .deviceRemoved = true}, collect);
        require(record.IsValid(), "modules come and go in a valid record");
        require(isUpdated || record.GetImage() == sample, "all of them or none");
        CheckPhysicalAddrs(record, collect);
        require(record.IsValid(), "a valid record stays valid");
        const Bytes once = record.GetImage();
        CheckPhysicalAddrs(record, collect);
        require(record.GetImage() == once, "the same machine leads to the same bytes");
    } catch (const std::exception&) {
        require(record.IsValid(), "an exception leaves a valid record");
    }
    return 0;
}
