#include "storage/storage_scan.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <sys/sysmacros.h>
#include <utility>

#include "devscan/pci_list.h"
#include "devscan/slot_facts.h"
#include "platform/text.h"
#include "storage/block_devices.h"
#include "storage/content_probe.h"
#include "storage/mount_table.h"
#include "storage/nvme_controllers.h"
#include "storage/storage_resolver.h"

namespace em_pni {
namespace {

// The PCI functions in `names`, and all of the storage class, in order of name.
std::vector<StorageController> readControllers(CMachine& machine,
                                               const std::vector<std::string>& names) {
    static const SlotTables noTables;
    auto functions = listPciFunctions(machine).value_or(std::vector<PciFunction>());
    const SlotTables* const tables = machine.Slots();
    CSlotFacts places(machine.Files());
    const CSlotResolver slots(tables != nullptr ? *tables : noTables, functions, places);
    std::map<std::string, StorageController> found;
    for (const std::string& name : names) {
        found[name].pciAddress = name;
    }
    for (PciFunction& function : functions) {
        const std::string name = pciAddressText(function.address);
        if (found.count(name) == 0 && !isStorage(function)) {
            continue;
        }
        addPciPlace(machine.Files(), function);
        found[name] = {name, function.ids, function.classCode, function.driver,
                       slots.Resolve(function)};
    }
    std::vector<StorageController> controllers;
    std::transform(found.begin(), found.end(), std::back_inserter(controllers),
                   [](auto& entry) { return std::move(entry.second); });
    return controllers;
}

// The questions of one scan, and where their answers go.
class CQuestions {
  public:
    CQuestions(const CFileTree& files, StorageInventory& storage)
        : files_(files), storage_(storage) {}

    // A target that a later mount covers shows another file system.
    void AskSpace(BlockDevice& device) {
        const auto mount = std::find_if(device.mounts.begin(), device.mounts.end(),
                                        [](const Mount& one) { return !one.covered; });
        if (mount != device.mounts.end()) {
            Add(
                device, mount->target,
                [path = files_.FullPath(mount->target)] { return readSpace(path); },
                [&device](const std::string& text) { device.space = parseSpace(text); });
        }
    }

    // The kernel asks a virtio disk for its serial number at each reading.
    void AskSerial(BlockDevice& device) {
        Add(
            device, device.path,
            [this, path = joinedPath({"sys", device.sysfsPath, "serial"})] {
                return files_.ReadAttribute(path).value_or("");
            },
            [&device](const std::string& text) { device.disk.serial = printableText(text); });
    }

    void AskContent(BlockDevice& device) {
        const dev_t number = ::gnu_dev_makedev(device.major, device.minor);
        Add(
            device, device.path,
            [path = files_.FullPath(device.path), number] { return probeContent(path, number); },
            [&device](const std::string& text) { addContent(CUdevRecord(text), device); });
    }

    [[nodiscard]] CBoundedQuestions Ask(const TimeLimits& limits) {
        return CBoundedQuestions(std::move(questions_), limits);
    }

    void Take(const std::vector<std::optional<std::string>>& answers) {
        for (std::size_t i = 0; i < answers.size(); ++i) {
            if (answers[i]) {
                receivers_[i].take(*answers[i]);
            } else {
                storage_.unanswered.push_back(receivers_[i].about);
            }
        }
    }

  private:
    struct Receiver {
        std::string about;
        std::function<void(const std::string&)> take;
    };

    // One disk that hangs must cost one time limit only.
    void Add(const BlockDevice& device, std::string about, std::function<std::string()> ask,
             std::function<void(const std::string&)> take) {
        const auto index = static_cast<std::size_t>(&device - storage_.devices.data());
        questions_.push_back({lowestDevice(storage_, index), std::move(ask)});
        receivers_.push_back({std::move(about), std::move(take)});
    }

    const CFileTree& files_;
    StorageInventory& storage_;
    std::vector<Question> questions_;
    std::vector<Receiver> receivers_;
};

// What is in use says what it holds.
void useKnownContent(BlockDevice& device) {
    Content& content = device.content;
    if (content.type.empty() && !device.mounts.empty()) {
        content.usage = "filesystem";
        content.type = device.mounts.front().type;
    } else if (content.type.empty() && !device.swaps.empty()) {
        content.usage = "other";
        content.type = "swap";
    }
}

}  // namespace

StorageInventory scanStorage(CMachine& machine, const TimeLimits& limits) {
    const CFileTree& files = machine.Files();
    StorageFacts facts;
    facts.found = findBlockDevices(files);
    facts.nvmeControllers = readNvmeControllers(files);
    facts.mounts = readMounts(files);
    facts.swaps = readSwaps(files);
    StorageInventory storage = resolveStorage(std::move(facts));

    CQuestions questions(files, storage);
    for (std::size_t i = 0; i < storage.devices.size(); ++i) {
        BlockDevice& device = storage.devices[i];
        questions.AskSpace(device);
        if (device.hasUdevRecord) {
            continue;
        }
        if (device.disk.transport == "virtio" && device.disk.scsiAddress.empty()) {
            questions.AskSerial(device);
        }
        if (device.size > 0 && isSafeToOpen(storage, i)) {
            questions.AskContent(device);
        }
    }
    // The child process works meanwhile.
    CBoundedQuestions asked = questions.Ask(limits);
    addControllers(storage, readControllers(machine, controllerNames(storage)));
    questions.Take(asked.Answers());
    std::for_each(storage.devices.begin(), storage.devices.end(), useKnownContent);
    return storage;
}

}  // namespace em_pni
