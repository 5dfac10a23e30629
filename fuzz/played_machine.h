// A machine whose files, links and answers to ioctl are lines of a fuzz input.
//
//     /PATH TEXT           a file: /sys/class/net/e0/type 1
//     @PATH TARGET         a symbolic link
//     !NAME ANSWER         bytes for the ioctls of this interface
//
// %HH stands for a byte. Files and links lie below a temporary folder.
#pragma once

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <map>
#include <set>
#include <unistd.h>

#include "devscan/machine.h"
#include "fuzz/fuzz_input.h"
#include "platform/file.h"
#include "platform/number.h"
#include "platform/text.h"
#include "tests/temp_directory.h"

namespace em_pni::fuzz {

// Answers the ioctls from the bytes of an interface: MAC address, type, index, error of the driver,
// length of the permanent address, permanent address, and the description of the driver.
class CPlayedInterfaces final : public CInterfaceControl {
  public:
    static constexpr std::size_t addressSize = 6;

    int Ioctl(unsigned long request, ifreq& data) override {
        const auto found = answers.find(data.ifr_name);
        if (found == answers.end()) {
            return ENODEV;
        }
        CFuzzInput input(found->second);
        const Bytes address = input.Take(addressSize);
        const std::uint8_t type = input.Byte();
        const std::uint8_t index = input.Byte();
        if (request == SIOCGIFHWADDR) {
            data.ifr_hwaddr.sa_family = type;
            std::copy(address.begin(), address.end(), data.ifr_hwaddr.sa_data);
            return 0;
        }
        if (request == SIOCGIFINDEX) {
            data.ifr_ifindex = index;
            return 0;
        }
        const std::uint8_t error = input.Byte();
        Ethtool(data.ifr_data, input);
        return error;
    }

    std::map<std::string, Bytes, std::less<>> answers;

  private:
    static void Ethtool(char* raw, CFuzzInput& input) {
        std::uint32_t command = 0;
        std::memcpy(&command, raw, sizeof command);
        const std::uint8_t length = input.Byte();
        const Bytes address = input.Take(addressSize);
        if (command == ETHTOOL_GPERMADDR) {
            ethtool_perm_addr question{};
            std::memcpy(&question, raw, sizeof question);
            question.size = length;
            std::memcpy(raw, &question, sizeof question);
            std::copy(address.begin(), address.end(), raw + sizeof question);
        } else if (command == ETHTOOL_GDRVINFO) {
            const Bytes texts = input.Take(sizeof(ethtool_drvinfo) - sizeof command);
            std::copy(texts.begin(), texts.end(), raw + sizeof command);
        }
    }
};

class CPlayedMachine {
  public:
    explicit CPlayedMachine(std::string_view lines) {
        for (int i = 0; i < maxLines && !lines.empty(); ++i) {
            std::string_view rest = takeUntil(lines, '\n');
            const std::string_view name = takeUntil(rest, ' ');
            if (name.starts_with('!')) {
                const std::string bytes = unescaped(rest);
                interfaces->answers[std::string(name.substr(1))] = {bytes.begin(), bytes.end()};
            } else if (name.starts_with('/') && isInside(name.substr(1))) {
                Write(std::string(name.substr(1)), unescaped(rest));
            } else if (name.starts_with('@')) {
                links_.emplace_back(name.substr(1), rest);
            }
        }
        // After all files: no file is written through a link.
        for (const auto& [path, target] : links_) {
            Link(path, target);
        }
    }

    CPlayedInterfaces* const interfaces = new CPlayedInterfaces;  // owned by `machine`

  private:
    class CNoCommands final : public CCommandRunner {
      public:
        std::optional<std::string> Run(const std::vector<std::string>& /*command*/) override {
            return std::nullopt;
        }
    };

    static constexpr int maxLines = 300;

    static std::string unescaped(std::string_view text) {
        std::string bytes;
        while (!text.empty()) {
            const auto byte =
                text.front() == '%' ? parseHexAs<std::uint8_t>(text.substr(1, 2)) : std::nullopt;
            bytes += byte ? static_cast<char>(*byte) : text.front();
            text.remove_prefix(byte ? std::min<std::size_t>(3, text.size()) : 1);
        }
        return bytes;
    }
    // Whether a path stays below its folder.
    static bool isInside(std::string_view path) {
        const auto normal = std::filesystem::path(path).lexically_normal();
        return !path.empty() && normal.is_relative() && *normal.begin() != ".." &&
               path.find('\0') == std::string_view::npos && path.size() < 1000;
    }
    // The full path, in a folder that exists.
    std::string Made(const std::string& path) {
        const std::string full = root_.File(path);
        const std::string folder = std::filesystem::path(full).parent_path();
        std::error_code ignored;  // a file is in the way
        if (folders_.insert(folder).second) {
            std::filesystem::create_directories(folder, ignored);
        }
        return full;
    }
    void Write(const std::string& path, const std::string& content) {
        const CFileDescriptor file(
            ::open(Made(path).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        writeAll(file.Get(), content);
    }
    void Link(const std::string& path, const std::string& target) {
        const auto folder = std::filesystem::path(path).parent_path();
        if (isInside(path) && isInside((folder / target).string())) {
            (void)!::symlink(target.c_str(), Made(path).c_str());
        }
    }

    test::CTempDirectory root_{"/dev/shm"};
    std::set<std::string> folders_;
    std::vector<std::pair<std::string, std::string>> links_;

  public:
    CMachine machine{root_.Path(), std::make_unique<CNoCommands>(),
                     std::unique_ptr<CInterfaceControl>(interfaces)};
};

}  // namespace em_pni::fuzz
