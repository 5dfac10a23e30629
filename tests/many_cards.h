// A machine with an Ethernet card in each slot from 1, and its record.
#pragma once

#include "tests/scripted_network.h"

namespace em_pni::test {

struct ManyCards {
    unsigned cards = 0;  // up to 255
    unsigned ports = 0;  // per card; up to 8

    // Each generation of cards has its own addresses.
    [[nodiscard]] static Bytes Mac(unsigned generation, unsigned card, unsigned port) {
        return {2, byteOf(generation), 0, 0, byteOf(card), byteOf(port)};
    }

    // The last `others` cards are of the next generation.
    [[nodiscard]] Bytes Record(unsigned generation, unsigned others = 0) const {
        std::vector<Bytes> modules;
        for (unsigned card = 1; card <= cards; ++card) {
            std::vector<Bytes> areas;
            for (unsigned p = 0; p < ports; ++p) {
                const Bytes mac = Mac(generation + (card + others > cards ? 1 : 0), card, p);
                Bytes area = function(0, true, 0, joined({mac, mac, textBytes("N/A", 33)}));
                put(area, 26, {byteOf(p), byteOf(card)});
                areas.push_back(port(p, p + 1 == ports, {area}));
            }
            modules.push_back(module(card % 64, card == cards, 3, areas));
            modules.back()[23] = 2;
        }
        return recordImage(12, modules);
    }

    void Plug(CFakeMachine& machine, unsigned generation) const {
        std::string slots;
        for (unsigned card = 1; card <= cards; ++card) {
            slots += smbiosSlot(card, {0, byteOf(card), 0, 0});
            for (unsigned p = 0; p < ports; ++p) {
                char path[64];
                std::snprintf(path, sizeof path, "pci0000:00/0000:00:%02x.%x/0000:%02x:00.%x",
                              card >> 3U, card & 7U, card, p);
                machine.Pci(path, 0x8086, 0x1572, 0x0200, "i40e");
                machine.Net(
                    path, "ens" + std::to_string(card) + "f" + std::to_string(p),
                    fakeInterface(Mac(generation, card, p), static_cast<int>(card * 8 + p)));
            }
        }
        machine.File("sys/firmware/dmi/tables/DMI", slots);
    }
    [[nodiscard]] std::vector<HostInterface> Interfaces(unsigned generation) const {
        std::vector<HostInterface> interfaces;
        for (unsigned i = 0; i < cards * ports; ++i) {
            interfaces.push_back(
                {.mac = Mac(generation, 1 + i / ports, i % ports), .primary = {}, .transient = {}});
        }
        return interfaces;
    }
};

}  // namespace em_pni::test
