// A network of a test's own, with interfaces that concern nobody else.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <linux/netlink.h>
#include <sched.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "platform/file.h"
#include "tests/temp_directory.h"

namespace em_pni::test {

// The calling thread, and the programs it starts, are in a new network namespace until this goes.
class CNetworkNamespace {
  public:
    CNetworkNamespace() : previous_(::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)) {
        entered_ = previous_ && ::unshare(CLONE_NEWNET) == 0;
        if (!entered_) {
            reason_ = "only root can make a network namespace";
        } else if (!Ip("link add v0 address " + Mac(0) + " type veth peer name v1 address " +
                       Mac(1))) {
            reason_ = "needs the program ip and a kernel with veth interfaces";
        }
    }
    ~CNetworkNamespace() {
        if (entered_ && ::setns(previous_.Get(), CLONE_NEWNET) != 0) {
            std::abort();  // the next test would run in the wrong network
        }
    }
    CNetworkNamespace(const CNetworkNamespace&) = delete;
    CNetworkNamespace& operator=(const CNetworkNamespace&) = delete;

    // Why there is none; else empty, and there is the pair v0 and v1 with these addresses, down.
    [[nodiscard]] const std::string& Reason() const { return reason_; }
    static std::string Mac(int number) { return "02:00:00:00:07:0" + std::to_string(number); }

    // Runs all the lines as commands of one `ip`.
    static bool Ip(const std::string& lines) {
        FILE* const pipe = ::popen("PATH=$PATH:/usr/sbin:/sbin ip -batch - 2>&1", "w");
        if (pipe == nullptr) {
            return false;
        }
        std::fputs((lines + "\n").c_str(), pipe);
        return ::pclose(pipe) == 0;
    }
    // A device event, which the kernel hands to this namespace as its own; `device` is a path below
    // sys/devices. False where the kernel takes none.
    static bool Send(const std::string& action, const std::string& subsystem,
                     const std::string& device) {
        const std::string path = "/devices/" + device;
        std::string message(NLMSG_HDRLEN, '\0');
        for (const std::string& line : {action + "@" + path, "ACTION=" + action, "DEVPATH=" + path,
                                        "SUBSYSTEM=" + subsystem}) {
            message.append(line).push_back('\0');
        }
        nlmsghdr header{};
        header.nlmsg_len = static_cast<std::uint32_t>(message.size());
        header.nlmsg_type = NLMSG_MIN_TYPE;
        header.nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK;
        message.replace(0, sizeof header, reinterpret_cast<const char*>(&header), sizeof header);
        const CFileDescriptor socket(
            ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
        std::array<char, NLMSG_HDRLEN + sizeof(nlmsgerr)> answer{};
        int error = -1;
        if (::send(socket.Get(), message.data(), message.size(), 0) > 0 &&
            ::recv(socket.Get(), answer.data(), answer.size(), MSG_DONTWAIT) > 0) {
            std::copy_n(&answer[NLMSG_HDRLEN], sizeof error, reinterpret_cast<char*>(&error));
        }
        return error == 0;
    }
    // Of net.ipv6.conf.
    static void Set(const std::string& interface, const std::string& key, int value) {
        std::ofstream("/proc/sys/net/ipv6/conf/" + interface + "/" + key) << value;
    }

  private:
    CFileDescriptor previous_;
    bool entered_ = false;
    std::string reason_;
};

template <class Condition>
bool isTrueWithin(std::chrono::milliseconds limit, Condition condition) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace em_pni::test
