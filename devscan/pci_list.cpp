#include "devscan/pci_list.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <string>
#include <utility>

#include "devscan/pci_text.h"
#include "platform/number.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

using Functions = std::optional<std::vector<PciFunction>>;

constexpr const char* sysfsDirectory = "sys/bus/pci/devices";
constexpr const char* procDirectory = "proc/bus/pci";
constexpr std::size_t maxProcList = std::size_t{4} << 20U;
constexpr char configNoAnswer = '\xFF';  // read from a device that is removed or powered down

// Adds the facts that are read for few functions only. Returns false when the function has vanished
// (errno set).
bool addPlace(const COpenFolder& devices, const std::string& name, PciFunction& function) {
    const auto link = devices.ReadLink(name);
    if (!link) {
        return false;
    }
    function.bridges = pciBridgesOfPath(*link);
    function.onRootBus = function.bridges.empty();
    const auto header = devices.ReadRange(name + "/config", configHeaderType, 1);
    if (header && header->front() != configNoAnswer) {
        function.headerType = static_cast<std::uint8_t>(header->front());
    }
    if (const auto driver = devices.ReadLink(name + "/driver")) {
        function.driver = driver->substr(driver->rfind('/') + 1);
    }
    return true;
}

// One entry of sysfs. Returns no value when it is a virtual function, or has vanished (errno set).
std::optional<PciFunction> readSysfsFunction(const COpenFolder& devices, const std::string& name,
                                             const PciAddress& address) {
    const auto modalias = devices.ReadAttribute(name + "/modalias");
    auto function = modalias ? parseModalias(*modalias) : std::nullopt;
    if (!function) {
        return std::nullopt;
    }
    function->address = address;
    const bool wanted = isNetworkOrFc(*function);
    if (!wanted && !isStorage(*function)) {
        return function;
    }
    if (devices.ReadLink(name + "/physfn")) {
        return std::nullopt;
    }
    if (wanted && !addPlace(devices, name, *function)) {
        return std::nullopt;
    }
    return function;
}

Functions listFromSysfs(CMachine& machine) {
    const auto devices = machine.Files().OpenFolder(sysfsDirectory);
    const auto names = devices ? devices->List() : std::nullopt;
    if (!names) {
        return std::nullopt;
    }
    std::vector<PciFunction> list;
    list.reserve(names->size());
    bool readable = names->empty();
    for (const std::string& name : *names) {
        const auto address = parsePciAddress(name);
        if (!address) {
            PNI_TRACE(5, "\nCSystemAdapter      : PCI function %s left out: segment too high",
                      name.c_str());
            readable = true;
            continue;
        }
        errno = 0;
        auto function = readSysfsFunction(*devices, name, *address);
        if (function) {
            list.push_back(std::move(*function));
            readable = true;
        } else if (isOutOfResources(errno)) {
            // The list would not be complete.
            return std::nullopt;
        }
    }
    return readable ? Functions(std::move(list)) : std::nullopt;
}

// The folder is named after the bus. On some platforms the segment stands before the bus.
std::optional<std::string> readProcConfig(const CFileTree& files, const PciAddress& address) {
    const std::string bus = lowerHex(address.bus, 2);
    const std::string function =
        lowerHex(address.device, 2) + "." + std::to_string(address.function);
    for (const std::string& folder : {bus, "0000:" + bus}) {
        auto config =
            files.ReadRange(joinedPath({procDirectory, folder, function}), 0, configHeaderSize);
        if (config) {
            return config;
        }
    }
    return std::nullopt;
}

Functions listFromProc(CMachine& machine) {
    const auto text = machine.Files().ReadFile(joinedPath({procDirectory, "devices"}), maxProcList);
    if (!text) {
        return std::nullopt;
    }
    std::vector<PciFunction> list;
    for (PciFunction& function : parseProcPciDevices(*text)) {
        const auto config = readProcConfig(machine.Files(), function.address);
        // Leaves out virtual functions, which have no ids in their configuration space, and
        // functions of other segments, whose configuration space is in another folder.
        if (config && applyConfigHeader(CByteView(*config), function)) {
            list.push_back(std::move(function));
        } else if (!config && isOutOfResources(errno)) {
            return std::nullopt;
        }
    }
    return list.empty() && !text->empty() ? std::nullopt : Functions(std::move(list));
}

Functions listFromCommand(CMachine& machine, const std::vector<std::string>& command,
                          std::vector<PciFunction> (*parse)(std::string_view)) {
    const auto output = machine.Commands().Run(command);
    auto list = output ? parse(*output) : std::vector<PciFunction>();
    return list.empty() ? std::nullopt : Functions(std::move(list));
}

Functions listFromLspci(CMachine& machine) {
    for (const char* const program : lspciPrograms) {
        if (auto list =
                listFromCommand(machine, {program, "-D", "-n", "-vmm"}, parseLspciRecords)) {
            return list;
        }
    }
    return std::nullopt;
}

Functions listFromLocalcli(CMachine& machine) {
    for (const char* const program : {"/bin/localcli", "/sbin/localcli"}) {
        if (auto list = listFromCommand(machine, {program, "hardware", "pci", "list"},
                                        parseLocalcliRecords)) {
            return list;
        }
    }
    return std::nullopt;
}

// Sorts by address. Of several functions with one address, the first stays.
void sortByAddress(std::vector<PciFunction>& list) {
    std::map<PciAddress, PciFunction> sorted;
    for (PciFunction& function : list) {
        const PciAddress address = function.address;
        sorted.try_emplace(address, std::move(function));
    }
    list.clear();
    for (auto& [address, function] : sorted) {
        list.push_back(std::move(function));
    }
}

}  // namespace

Functions listPciFunctions(CMachine& machine) {
    struct Source {
        const char* name;
        Functions (*list)(CMachine&);
    };
    constexpr std::array<Source, 4> sources{{{"sysfs", listFromSysfs},
                                             {"/proc/bus/pci", listFromProc},
                                             {"lspci", listFromLspci},
                                             {"localcli", listFromLocalcli}}};
    for (const Source& source : sources) {
        if (auto list = source.list(machine)) {
            sortByAddress(*list);
            PNI_TRACE(5, "\nCSystemAdapter      : %zu PCI functions from %s", list->size(),
                      source.name);
            return list;
        }
    }
    return std::nullopt;
}

void addPciPlace(const CFileTree& files, PciFunction& function) {
    if (const auto devices = files.OpenFolder(sysfsDirectory)) {
        static_cast<void>(addPlace(*devices, pciAddressText(function.address), function));
    }
}

}  // namespace em_pni
