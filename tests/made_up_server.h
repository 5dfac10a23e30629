// A made-up server for programs that do not know of tests: its devices are in /sys, its network
// interfaces are real ones in a network namespace.
#pragma once

#include <gtest/gtest.h>
#include <initializer_list>
#include <sys/mount.h>

#include "tests/network_namespace.h"
#include "tests/scripted_network.h"

namespace em_pni::test {

// The machine of buildSampleMachine with free slots 5, 6 and 7. The calling thread and the programs
// that it starts see it. Its tree is mounted over /sys in a mount namespace. Its interfaces are
// veth pairs: the two ports of a card are connected to each other.
class CMadeUpServer {
  public:
    using Slots = std::initializer_list<std::uint8_t>;

    CMadeUpServer() : reason_(network_.Reason()) {
        if (reason_.empty()) {
            BuildTree();
            BuildNetwork();
        }
        if (reason_.empty() && !Cover()) {
            reason_ = "only root can mount a tree over /sys in a mount namespace";
        }
    }
    ~CMadeUpServer() {
        // A thread that enters a mount namespace is in the root directory: change back.
        if (entered_ &&
            (::setns(previous_.Get(), CLONE_NEWNS) != 0 || ::fchdir(directory_.Get()) != 0)) {
            std::abort();  // the next test would run on the wrong machine
        }
    }
    CMadeUpServer(const CMadeUpServer&) = delete;
    CMadeUpServer& operator=(const CMadeUpServer&) = delete;

    // Why there is no server. Empty when there is one.
    [[nodiscard]] const std::string& Reason() const { return reason_; }

    // Two-port Ethernet cards.
    void Plug(Slots slots) {
        for (const std::uint8_t slot : slots) {
            for (const int port : {0, 1}) {
                machine_.Pci(Function(slot, port), 0x8086, 0x1572, 0x0200, "i40e");
                machine_.Net(Function(slot, port), Name(slot, port), {});
            }
            EXPECT_TRUE(Connect(Name(slot, 0), Name(slot, 1), slot));
        }
    }
    // The interfaces go last: their events end shortly before a report of the caller.
    void Pull(Slots slots) {
        std::string lines;
        for (const std::uint8_t slot : slots) {
            lines += "link del " + Name(slot, 0) + "\n";
            for (const int port : {0, 1}) {
                const std::string function = Function(slot, port);
                machine_.Remove("sys/class/net/" + Name(slot, port));
                machine_.Remove("sys/bus/pci/devices/" + function.substr(function.rfind('/') + 1));
                machine_.Remove("sys/devices/" + function);
            }
        }
        EXPECT_TRUE(CNetworkNamespace::Ip(lines));
    }
    // Makes the kernel report each action for each function of the cards.
    static void Report(Slots slots, std::initializer_list<const char*> actions) {
        for (const std::uint8_t slot : slots) {
            for (const char* const action : actions) {
                EXPECT_TRUE(CNetworkNamespace::Send(action, "pci", Function(slot, 0)));
                EXPECT_TRUE(CNetworkNamespace::Send(action, "pci", Function(slot, 1)));
            }
        }
    }

  private:
    static std::string Function(int slot, int port) {
        const std::string bridge = std::to_string(slot == 3 ? 1 : slot);
        return "pci0000:00/0000:00:0" + bridge + ".0/0000:0" + std::to_string(slot) + ":00." +
               std::to_string(port);
    }
    static std::string Name(int slot, int port) {
        return "ens" + std::to_string(slot) + "f" + std::to_string(port);
    }
    static bool IsUp(const std::string& interface) {
        ifreq request{};
        interface.copy(request.ifr_name, IFNAMSIZ - 1);
        return CSocketControl().Ioctl(SIOCGIFFLAGS, request) == 0 &&
               (request.ifr_flags & IFF_RUNNING) != 0;
    }
    // Makes a pair with the addresses of sampleMac and waits until it has a carrier.
    static bool Connect(const std::string& one, const std::string& other, int module) {
        const std::string mac = " address 02:00:00:00:0" + std::to_string(module) + ":0";
        return CNetworkNamespace::Ip("link add name " + one + mac + "1 type veth peer name " +
                                     other + mac + "2\nlink set " + one + " up\nlink set " + other +
                                     " up") &&
               isTrueWithin(std::chrono::seconds(20), [&] { return IsUp(one) && IsUp(other); });
    }
    void BuildTree() {
        buildSampleMachine(machine_);
        std::string tables;
        for (std::uint8_t slot = 3; slot <= 7; ++slot) {
            tables += smbiosSlot(slot, {0, slot, 0, 0});
        }
        machine_.File("sys/firmware/dmi/tables/DMI", tables);
    }
    void BuildNetwork() {
        CNetworkNamespace::Set("default", "addr_gen_mode", 1);  // no link-local addresses
        if (!Connect("eno0", "eno1", 1) || !Connect(Name(3, 0), Name(3, 1), 3) ||
            !CNetworkNamespace::Ip(
                "addr add 192.0.2.10/24 dev eno0\naddr add 198.51.100.7/24 dev ens3f0\n"
                "addr add 2001:db8::7/64 dev ens3f0 nodad")) {
            reason_ = "the server's interfaces cannot be made";
        } else if (!CNetworkNamespace::Send("change", "pci", Function(3, 0))) {
            reason_ = "needs a kernel that takes device events from a program";
        }
    }
    bool Cover() {
        entered_ = previous_ && directory_ && ::unshare(CLONE_NEWNS) == 0;
        return entered_ && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount(machine_.Path("sys").c_str(), "/sys", nullptr, MS_BIND, nullptr) == 0;
    }

    CNetworkNamespace network_;
    CFakeMachine machine_;
    CFileDescriptor previous_{::open("/proc/thread-self/ns/mnt", O_RDONLY | O_CLOEXEC)};
    CFileDescriptor directory_{::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)};
    bool entered_ = false;
    std::string reason_;
};

}  // namespace em_pni::test
