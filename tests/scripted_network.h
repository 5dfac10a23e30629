// The network side of a scripted host, and a machine that fits the sample record.
#pragma once

#include "tests/devscan_fake_machine.h"
#include "tests/scripted_host.h"

namespace em_pni::test {

struct HostInterface {
    Bytes mac;
    std::vector<Bytes> primary;
    std::vector<Bytes> transient;
    int type = 6;
    int state = 1;
};

// Answers the host's network requests from a list that a test may change between cycles.
class CScriptedNetwork {
  public:
    explicit CScriptedNetwork(CScriptedHost& host) {
        host.On(0x1700, [this](CKrcpMessage& message) {
            Number(message, static_cast<std::int64_t>(interfaces.size()));
        });
        On(host, 0x1701, [](CKrcpMessage& message, const HostInterface& interface) {
            Number(message, interface.type);
        });
        On(host, 0x1707, [](CKrcpMessage& message, const HostInterface& interface) {
            krcp::setRawBytes(message, interface.mac);
            krcp::setStatus(message, krcp::SUCCESS);
        });
        On(host, 0x1730, [](CKrcpMessage& message, const HostInterface& interface) {
            Number(message, interface.state);
        });
        On(host, 0x1703, [](CKrcpMessage& message, const HostInterface& interface) {
            const std::int64_t kind = krcp::GetValue(message, 0, "OE", 0);
            std::vector<Bytes> list = kind == 2 ? interface.transient : interface.primary;
            if (kind == 0) {
                list.insert(list.end(), interface.transient.begin(), interface.transient.end());
            }
            const auto index = static_cast<std::size_t>(krcp::GetValue(message, 0, "OI", 0) >> 16);
            if (index < list.size()) {
                krcp::setRawBytes(message, list[index]);
                krcp::setStatus(message, krcp::SUCCESS);
            } else {
                krcp::setStatus(message, krcp::NO_DATA);
            }
        });
    }

    std::vector<HostInterface> interfaces;

  private:
    static void Number(CKrcpMessage& message, std::int64_t value) {
        krcp::setMember(message, "DA", krcp::number(value));
        krcp::setStatus(message, krcp::SUCCESS);
    }

    template <class Answer>
    void On(CScriptedHost& host, std::uint16_t opcode, Answer answer) {
        host.On(opcode, [this, answer](CKrcpMessage& message) {
            const auto number =
                static_cast<std::size_t>(krcp::GetValue(message, 0, "OI", 0) & 0xFFFF);
            if (number < interfaces.size()) {
                answer(message, interfaces[number]);
            } else {
                krcp::setStatus(message, krcp::INVALID_OBJ);
            }
        });
    }
};

inline Bytes sampleMac(std::uint8_t module, std::uint8_t port) {
    return {0x02, 0, 0, 0, module, port};
}

inline FakeInterface fakeInterface(const Bytes& mac, int index) {
    FakeInterface interface;
    interface.mac = mac;
    interface.permanent = interface.mac;
    interface.index = index;
    return interface;
}

// The machine that three-modules.fru describes: two onboard ports, a card in slot 3 with two, a
// Fibre Channel card in slot 4 with two.
inline void buildSampleMachine(CFakeMachine& machine) {
    const std::string card = "pci0000:00/0000:00:01.0/0000:03:00.";
    const std::string fibre = "pci0000:00/0000:00:02.0/0000:04:00.";
    for (const char* bridge : {"pci0000:00/0000:00:01.0", "pci0000:00/0000:00:02.0"}) {
        machine.Pci(bridge, 0x8086, 0x2030, 0x0604);
    }
    for (int port = 0; port < 2; ++port) {
        const std::string digit = std::to_string(port);
        const auto number = static_cast<std::uint8_t>(port + 1);
        machine.Pci("pci0000:00/0000:00:03." + digit, 0x8086, 0x1521, 0x0200, "igb");
        machine.Net("pci0000:00/0000:00:03." + digit, "eno" + digit,
                    fakeInterface(sampleMac(1, number), port + 1));
        machine.Pci(card + digit, 0x8086, 0x1572, 0x0200, "i40e");
        machine.Net(card + digit, "ens3f" + digit, fakeInterface(sampleMac(3, number), port + 3));
        machine.Pci(fibre + digit, 0x10DF, 0xE300, 0x0C04, "lpfc");
        machine.FcHost(fibre + digit, "host" + digit, "0x200000109b00000" + std::to_string(number),
                       "0x100000109b00000" + std::to_string(number));
    }
    machine.File("sys/firmware/dmi/tables/DMI",
                 smbiosSlot(3, {0, 3, 0, 0}) + smbiosSlot(4, {0, 4, 0, 0}));
}

// The interfaces of that machine with the addresses that the record holds.
inline std::vector<HostInterface> sampleInterfaces() {
    const Bytes ipv6 = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7};
    return {{.mac = sampleMac(1, 1), .primary = {{192, 0, 2, 10}}, .transient = {}},
            {.mac = sampleMac(1, 2), .primary = {}, .transient = {}},
            {.mac = sampleMac(3, 1), .primary = {{198, 51, 100, 7}, ipv6}, .transient = {}},
            {.mac = sampleMac(3, 2), .primary = {}, .transient = {}}};
}

}  // namespace em_pni::test
