// Whole machines as small file trees, for the tests of the device scan.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "devscan/scan.h"
#include "tests/temp_directory.h"

namespace em_pni {

// Answers by the command's words joined with blanks; any other command cannot be run.
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
    MacAddress mac{};
    MacAddress permanent{};  // all zeros: the driver answers, but knows none
    std::uint16_t type = 1;
    int index = 1;
    int port = 0;
    std::string firmware{};
    std::string optionRom{};
    std::string busAddress{};
    int error = 0;  // of every question
};

class CScriptedInterfaces final : public CInterfaceControl {
  public:
    int Ioctl(unsigned long request, ifreq& data) override {
        const auto found = interfaces.find(data.ifr_name);
        if (onCall) {
            onCall(data.ifr_name);
        }
        ++calls;
        if (found == interfaces.end()) {
            return ENODEV;
        }
        const FakeInterface& one = found->second;
        if (one.error != 0) {
            return one.error;
        }
        if (request == SIOCGIFHWADDR) {
            data.ifr_hwaddr.sa_family = one.type;
            std::memcpy(data.ifr_hwaddr.sa_data, one.mac.data(), one.mac.size());
        } else if (request == SIOCGIFINDEX) {
            data.ifr_ifindex = one.index;
        } else {
            return Ethtool(one, data.ifr_data);
        }
        return 0;
    }

    std::map<std::string, FakeInterface> interfaces;
    std::function<void(const std::string& name)> onCall;
    int calls = 0;

  private:
    template <std::size_t size>
    static void Fill(char (&field)[size], const std::string& text) {
        std::memcpy(field, text.data(), std::min(size, text.size()));
    }

    static int Ethtool(const FakeInterface& one, char* raw) {
        std::uint32_t command = 0;
        std::memcpy(&command, raw, sizeof(command));
        if (command == ETHTOOL_GPERMADDR) {
            const std::uint32_t size = static_cast<std::uint32_t>(one.permanent.size());
            std::memcpy(raw + offsetof(ethtool_perm_addr, size), &size, sizeof(size));
            std::memcpy(raw + sizeof(ethtool_perm_addr), one.permanent.data(), size);
            return 0;
        }
        ethtool_drvinfo info{};
        std::memset(&info, 'x', sizeof(info));
        Fill(info.driver, std::string("fake\0", 5));
        Fill(info.fw_version, one.firmware + '\0');
        Fill(info.erom_version, one.optionRom + '\0');
        Fill(info.bus_info, one.busAddress + '\0');
        std::memcpy(raw, &info, sizeof(info));
        return 0;
    }
};

class CFakeMachine {
  public:
    void File(const std::string& path, const std::string& text) {
        const auto full = std::filesystem::path(root_.Path()) / path;
        std::filesystem::create_directories(full.parent_path());
        std::ofstream(full, std::ios::binary) << text;
    }
    void Link(const std::string& path, const std::string& target) {
        const auto full = std::filesystem::path(root_.Path()) / path;
        std::filesystem::create_directories(full.parent_path());
        std::filesystem::create_symlink(target, full);
    }
    void Remove(const std::string& path) {
        std::filesystem::remove_all(std::filesystem::path(root_.Path()) / path);
    }
    [[nodiscard]] std::string Path(const std::string& path) const { return root_.File(path); }
    // Bytes at an address of physical memory.
    void Memory(std::size_t address, const std::string& bytes) {
        memory_.resize(std::max({memory_.size(), std::size_t{0x100000}, address + bytes.size()}));
        memory_.replace(address, bytes.size(), bytes);
        File("dev/mem", memory_);
    }

    // `device` is a path below sys/devices, "pci0000:00/0000:00:01.0/0000:03:00.0".
    void Pci(const std::string& device, unsigned vendor, unsigned id, unsigned classCode,
             const std::string& driver = "") {
        const std::string path = "sys/devices/" + device;
        char modalias[96];
        std::snprintf(modalias, sizeof(modalias), "pci:v%08Xd%08Xsv%08Xsd%08Xbc%02Xsc%02Xi00\n",
                      vendor, id, 0x15D9U, 0x0001U, classCode >> 8U, classCode & 0xFFU);
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
    void Net(const std::string& device, const std::string& name, const FakeInterface& facts) {
        const std::string path = "sys/devices/" + device + "/net/" + name;
        File(path + "/dev_port", std::to_string(facts.port) + "\n");
        Link("sys/class/net/" + name, "../../devices/" + device + "/net/" + name);
        interfaces->interfaces[name] = facts;
    }
    void FcHost(const std::string& device, const std::string& name, const std::string& nodeName,
                const std::string& portName) {
        const std::string path = device + "/" + name + "/fc_host/" + name;
        File("sys/devices/" + path + "/node_name", nodeName + "\n");
        File("sys/devices/" + path + "/port_name", portName + "\n");
        Link("sys/class/fc_host/" + name, "../../devices/" + path);
    }

    CMachine& Machine() { return machine_; }
    std::vector<CSystemAdapter> Scan() { return ScanSystemAdapters(machine_).value(); }

  private:
    test::CTempDirectory root_;
    std::string memory_;

  public:
    CScriptedCommands* const commands = new CScriptedCommands;        // owned by machine_
    CScriptedInterfaces* const interfaces = new CScriptedInterfaces;  // likewise

  private:
    CMachine machine_{root_.Path(), std::unique_ptr<CCommandRunner>(commands),
                      std::unique_ptr<CInterfaceControl>(interfaces)};
};

// SMBIOS structures for tests, without strings.
inline std::string smbiosStructure(std::uint8_t type, const std::string& body) {
    std::string bytes{static_cast<char>(type), static_cast<char>(body.size() + 4), '\1', '\0'};
    return bytes + body + std::string(2, '\0');
}

inline std::string smbiosAddress(const PciAddress& at) {
    return {static_cast<char>(at.segment & 0xFFU), static_cast<char>(at.segment >> 8U),
            static_cast<char>(at.bus), static_cast<char>(at.device << 3U | at.function)};
}

inline std::string smbiosSlot(std::uint16_t id, const PciAddress& at,
                              const std::vector<PciAddress>& peers = {}) {
    std::string body(5, '\1');  // designation, type, width, usage, length
    body += {static_cast<char>(id & 0xFFU), static_cast<char>(id >> 8U), '\0', '\0'};
    body += smbiosAddress(at) + '\4' + static_cast<char>(peers.size());
    for (const PciAddress& peer : peers) {
        body += smbiosAddress(peer) + '\4';
    }
    return smbiosStructure(9, body);
}

inline std::string smbiosOnboard(const PciAddress& at, bool enabled) {
    return smbiosStructure(41,
                           std::string{'\1', enabled ? '\x85' : '\x05', '\1'} + smbiosAddress(at));
}

inline std::string withChecksum(std::string bytes, std::size_t at) {
    unsigned sum = 0;
    for (const char c : bytes) {
        sum += static_cast<unsigned char>(c);
    }
    bytes[at] = static_cast<char>(static_cast<unsigned char>(bytes[at]) - sum);
    return bytes;
}

// "$PIR" with one entry.
inline std::string pciRouting(std::uint8_t bus, std::uint8_t device, std::uint8_t slot) {
    std::string table(0x30, '\0');
    table.replace(0, 4, "$PIR");
    table[6] = 0x30;
    table[0x20] = static_cast<char>(bus);
    table[0x21] = static_cast<char>(device << 3U);
    table[0x2E] = static_cast<char>(slot);
    return withChecksum(table, 0x1F);
}

}  // namespace em_pni
