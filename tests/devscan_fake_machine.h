// A machine made of a small file tree, scripted commands and scripted interfaces.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <map>
#include <mutex>

#include "devscan/scan.h"
#include "tests/temp_directory.h"

namespace em_pni {

// `answers` has an output for each command line, words separated by blanks. Other commands fail.
class CScriptedCommands final : public CCommandRunner {
  public:
    std::optional<std::string> Run(const std::vector<std::string>& command) override {
        std::string line;
        for (const std::string& word : command) {
            line += (line.empty() ? "" : " ") + word;
        }
        const std::lock_guard guard(lock_);
        ++runs[line];
        const auto found = answers.find(line);
        return found == answers.end() ? std::nullopt : std::optional(found->second);
    }

    std::map<std::string, std::string> answers;
    std::map<std::string, int> runs;

  private:
    std::mutex lock_;
};

struct FakeInterface {
    MacAddress mac{0, 0, 0, 0, 0, 0};
    MacAddress permanent{0, 0, 0, 0, 0, 0};  // all zeros: the driver returns no address
    std::uint16_t type = 1;
    int index = 1;
    int port = 0;
    std::string firmware{};
    std::string optionRom{};
    std::string busAddress{};
    int error = 0;  // result of every ioctl
};

class CScriptedInterfaces final : public CInterfaceControl {
  public:
    int Ioctl(unsigned long request, ifreq& data) override {
        const auto found = interfaces.find(data.ifr_name);
        if (onCall) {
            onCall(data.ifr_name);
        }
        if (found == interfaces.end()) {
            return ENODEV;
        }
        const FakeInterface& one = found->second;
        if (request == SIOCGIFHWADDR) {
            data.ifr_hwaddr.sa_family = one.type;
            std::memcpy(data.ifr_hwaddr.sa_data, one.mac.data(), one.mac.size());
        } else if (request == SIOCGIFINDEX) {
            data.ifr_ifindex = one.index;
        } else if (one.error == 0) {
            Ethtool(one, data.ifr_data);
        }
        return one.error;
    }

    std::map<std::string, FakeInterface> interfaces;
    std::function<void(const std::string& name)> onCall;

  private:
    static void Ethtool(const FakeInterface& one, char* raw) {
        std::uint32_t command = 0;
        std::memcpy(&command, raw, sizeof(command));
        if (command == ETHTOOL_GPERMADDR) {
            const std::uint32_t size = static_cast<std::uint32_t>(one.permanent.size());
            std::memcpy(raw + offsetof(ethtool_perm_addr, size), &size, sizeof(size));
            std::memcpy(raw + sizeof(ethtool_perm_addr), one.permanent.data(), size);
            return;
        }
        // Copies the NUL only if it fits.
        const auto fill = [](auto& field, const std::string& text) {
            std::memcpy(field, text.c_str(), std::min(sizeof(field), text.size() + 1));
        };
        ethtool_drvinfo info{};
        std::memset(&info, 'x', sizeof(info));
        fill(info.driver, "fake");
        fill(info.fw_version, one.firmware);
        fill(info.erom_version, one.optionRom);
        fill(info.bus_info, one.busAddress);
        std::memcpy(raw, &info, sizeof(info));
    }
};

class CFakeMachine {
  public:
    void File(const std::string& path, const std::string& text) { root_.Write(path, text); }
    void Link(const std::string& path, const std::string& target) {
        std::filesystem::create_directories(std::filesystem::path(Path(path)).parent_path());
        std::filesystem::create_symlink(target, Path(path));
    }
    void Remove(const std::string& path) { std::filesystem::remove_all(Path(path)); }
    [[nodiscard]] std::string Path(const std::string& path) const { return root_.File(path); }
    // Physical memory. The keys of `parts` are addresses.
    void Memory(const std::map<std::size_t, std::string>& parts) {
        std::string memory(0x110000, '\0');
        for (const auto& [address, bytes] : parts) {
            memory.replace(address, bytes.size(), bytes);
        }
        File("dev/mem", memory);
    }

    // `device` is a path below sys/devices, "pci0000:00/0000:00:01.0/0000:03:00.0".
    void Pci(const std::string& device, unsigned vendor, unsigned id, unsigned classCode,
             const std::string& driver = "") {
        const std::string path = "sys/devices/" + device;
        char modalias[96];
        std::snprintf(modalias, sizeof(modalias),
                      "pci:v%08Xd%08Xsv000015D9sd00000001bc%02Xsc%02Xi00\n", vendor, id,
                      classCode >> 8U, classCode & 0xFFU);
        File(path + "/modalias", modalias);
        std::string config(64, '\0');
        config[0x0E] = '\x80';
        File(path + "/config", config);
        if (!driver.empty()) {
            Link(path + "/driver", "../../../bus/pci/drivers/" + driver);
        }
        Link("sys/bus/pci/devices/" + device.substr(device.rfind('/') + 1),
             "../../../devices/" + device);
    }
    // A bridge with the ACPI number of its slot; "" = firmware tells none. It may be there already.
    void Bridge(const std::string& device, const std::string& acpiNumber = "") {
        if (std::filesystem::exists(Path("sys/devices/" + device + "/modalias"))) {
            return;
        }
        Pci(device, 0x8086, 0x2030, 0x0604);
        if (!acpiNumber.empty()) {
            File("sys/devices/" + device + "/firmware_node/sun", acpiNumber + "\n");
        }
    }
    void KernelSlot(const std::string& name, const std::string& address) {
        File("sys/bus/pci/slots/" + name + "/address", address + "\n");
    }
    void Smbios(const std::string& table) { File("sys/firmware/dmi/tables/DMI", table); }
    void Net(const std::string& device, const std::string& name, const FakeInterface& facts) {
        const std::string path = "devices/" + device + "/net/" + name;
        File("sys/" + path + "/dev_port", std::to_string(facts.port) + "\n");
        Link("sys/class/net/" + name, "../../" + path);
        interfaces->interfaces[name] = facts;
    }
    void FcHost(const std::string& device, const std::string& name, const std::string& nodeName,
                const std::string& portName) {
        const std::string path = "devices/" + device + "/" + name + "/fc_host/" + name;
        File("sys/" + path + "/node_name", nodeName + "\n");
        File("sys/" + path + "/port_name", portName + "\n");
        Link("sys/class/fc_host/" + name, "../../" + path);
    }

    CMachine& Machine() { return machine_; }
    std::vector<CSystemAdapter> Scan() { return ScanSystemAdapters(machine_).value(); }

    CScriptedCommands* const commands = new CScriptedCommands;        // owned by machine_
    CScriptedInterfaces* const interfaces = new CScriptedInterfaces;  // owned by machine_

  private:
    test::CTempDirectory root_;
    CMachine machine_{root_.Path(), std::unique_ptr<CCommandRunner>(commands),
                      std::unique_ptr<CInterfaceControl>(interfaces)};
};

// The low eight bits of each number.
inline std::string bytesText(std::initializer_list<std::size_t> numbers) {
    std::string bytes;
    for (const std::size_t number : numbers) {
        bytes += static_cast<char>(number);
    }
    return bytes;
}

// An SMBIOS structure with its strings.
inline std::string smbiosStructure(std::size_t type, const std::string& body,
                                   const std::vector<std::string>& strings = {}) {
    std::string structure = bytesText({type, body.size() + 4, 1, 0}) + body;
    for (const std::string& text : strings) {
        structure += text + '\0';
    }
    return structure + std::string(strings.empty() ? 2 : 1, '\0');
}

inline std::string smbiosAddress(const PciAddress& at) {
    return bytesText(
        {at.segment, std::size_t{at.segment} >> 8U, at.bus, at.device * 8U + at.function});
}

struct SmbiosSlotText {
    std::string designation = "J1";
    bool inUse = true;
    std::vector<PciAddress> peers{};
};

inline std::string smbiosSlot(std::size_t id, const PciAddress& at,
                              const SmbiosSlotText& text = {}) {
    std::string body = bytesText({1, 0xAB, 8, text.inUse ? 4U : 3U, 3, id, id >> 8U, 0, 0}) +
                       smbiosAddress(at) + bytesText({4, text.peers.size()});
    for (const PciAddress& peer : text.peers) {
        body += smbiosAddress(peer) + '\4';
    }
    return smbiosStructure(9, body, {text.designation});
}

inline std::string smbiosOnboard(const PciAddress& at, std::size_t type = 0x85) {
    return smbiosStructure(41, bytesText({1, type, 1}) + smbiosAddress(at), {"LAN"});
}

}  // namespace em_pni
