// Tables of real servers as made-up machines: each card is in the slot that its firmware names.
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <rapidjson/document.h>
#include <rapidjson/istreamwrapper.h>
#include <sstream>

#include "tests/devscan_fake_machine.h"

namespace em_pni {
namespace {

using Value = rapidjson::Value;

const std::string folder = std::string(EM_PNI_TEST_DATA) + "/../servers/";

rapidjson::Document read(const std::string& name) {
    std::ifstream file(folder + name);
    rapidjson::IStreamWrapper stream(file);
    rapidjson::Document document;
    document.ParseStream(stream);
    EXPECT_FALSE(document.HasParseError()) << name;
    return document;
}

unsigned number(const Value& object, const char* key) {
    const auto member = object.FindMember(key);
    return member != object.MemberEnd() && member->value.IsUint() ? member->value.GetUint() : 0;
}

// The array of this key. Empty when there is none.
const Value& listIn(const Value& object, const char* key) {
    static const Value none(rapidjson::kArrayType);
    const auto member = object.FindMember(key);
    return member != object.MemberEnd() && member->value.IsArray() ? member->value : none;
}

PciAddress addressOf(const Value& structure) {
    return {static_cast<std::uint16_t>(number(structure, "segment")),
            static_cast<std::uint8_t>(number(structure, "bus")),
            static_cast<std::uint8_t>(number(structure, "device")),
            static_cast<std::uint8_t>(number(structure, "function"))};
}

// The structures as the firmware would have them in memory.
std::string smbiosTable(const Value& server) {
    std::string table;
    for (const Value& slot : listIn(server, "slots").GetArray()) {
        table += smbiosSlot(number(slot, "id"), addressOf(slot),
                            {.designation = slot["designation"].GetString(),
                             .inUse = std::string(slot["usage"].GetString()) == "in use"});
    }
    for (const Value& device : listIn(server, "onboard").GetArray()) {
        const bool isEthernet = std::string(device["type"].GetString()) == "Ethernet";
        table += smbiosOnboard(addressOf(device),
                               (device["enabled"].GetBool() ? 0x80U : 0U) + (isEthernet ? 5U : 3U));
    }
    return table + smbiosStructure(127, "");
}

std::string rootOf(const PciAddress& address) {
    return pciAddressText(address).substr(0, 7).insert(0, "pci");
}

// The numbers of all adapters of a machine, by address.
std::map<std::string, std::uint32_t> slotsOf(CFakeMachine& machine) {
    std::map<std::string, std::uint32_t> slots;
    for (const CSystemAdapter& adapter : machine.Scan()) {
        slots[pciAddressText(adapter.Address())] = adapter.Facts().slot;
    }
    return slots;
}

// Plugs a card that a structure names by the card's or by its port's address. Returns its address.
std::string plug(CFakeMachine& machine, const PciAddress& named, unsigned& spareBus) {
    const bool isPort = named.bus == 0 || named.device != 0 || named.function != 0;
    const PciAddress port =
        isPort ? named
               : PciAddress{named.segment, 0xFE, static_cast<std::uint8_t>(named.bus >> 3U),
                            static_cast<std::uint8_t>(named.bus & 7U)};
    const std::string path = rootOf(port) + "/" + pciAddressText(port);
    machine.Bridge(path);
    PciAddress at = named;
    if (isPort) {
        at = {named.segment, static_cast<std::uint8_t>(spareBus--), 0, 0};
    }
    machine.Pci(path + "/" + pciAddressText(at), 0x8086, 0x1521, 0x0200);
    return pciAddressText(at);
}

TEST(DevscanServers, EveryCardIsInTheSlotThatTheTableNames) {
    std::ifstream file(folder + "expected.txt");  // server, stated address, number or "-"
    std::map<std::string, std::map<std::string, std::string>> expected;
    for (std::string server, address, slot; file >> server >> address >> slot;) {
        expected[server][address] = slot;
    }
    ASSERT_EQ(expected.size(), 20U);
    for (const auto& [server, numbers] : expected) {
        CFakeMachine machine;
        const auto document = read(server + ".json");
        machine.Smbios(smbiosTable(document));
        unsigned spareBus = 0xFD;
        std::map<std::string, std::string> cards;
        for (const auto& [stated, slot] : numbers) {
            cards[plug(machine, *parsePciAddress(stated), spareBus)] = slot;
        }
        const auto slots = slotsOf(machine);
        ASSERT_EQ(slots.size(), numbers.size()) << server;
        for (const auto& [card, slot] : cards) {
            EXPECT_EQ(slots.at(card) == unknownSlot ? "-" : std::to_string(slots.at(card)), slot)
                << server << " " << card;
        }
    }
}

std::string textOf(const Value& object, const char* key) {
    const auto member = object.FindMember(key);
    if (member == object.MemberEnd() || member->value.IsNull()) {
        return "";
    }
    return member->value.IsUint() ? std::to_string(member->value.GetUint())
                                  : member->value.GetString();
}

// A device of a case behind its bridges. One without bridges gets a port that nothing names.
void plugCase(CFakeMachine& machine, const Value& device, const std::string& address,
              const std::map<std::string, std::string>& acpiNumbers) {
    std::vector<std::string> bridges;
    for (const Value& bridge : device["bridges"].GetArray()) {
        bridges.insert(bridges.begin(), bridge.GetString());
    }
    if (bridges.empty()) {
        bridges.push_back("0000:00:1" + address.substr(6, 1) + ".0");
    }
    std::string path = rootOf(*parsePciAddress(bridges.front()));
    for (const std::string& bridge : bridges) {
        path += "/" + bridge;
        const auto known = acpiNumbers.find(bridge);
        machine.Bridge(path, known == acpiNumbers.end() ? "" : known->second);
    }
    path += "/" + address;
    machine.Pci(path, 0x8086, 0x1521, 0x0200);
    for (const auto& [key, attribute] :
         {std::pair("acpiIndex", "acpi_index"), std::pair("index", "index")}) {
        if (const std::string text = textOf(device, key); !text.empty()) {
            machine.File("sys/devices/" + path + "/" + attribute, text + "\n");
        }
    }
}

TEST(DevscanServers, TheCasesGiveWhatTheRuleSays) {
    const auto cases = read("cases.json");
    for (const Value& one : cases.GetArray()) {
        CFakeMachine machine;
        machine.Smbios(smbiosTable(one));
        for (const Value& slot : listIn(one, "kernelSlots").GetArray()) {
            machine.KernelSlot(slot["name"].GetString(), textOf(slot, "address"));
        }
        std::map<std::string, std::string> acpiNumbers;
        for (const Value& bridge : listIn(one, "bridgeFacts").GetArray()) {
            acpiNumbers[bridge["address"].GetString()] = textOf(bridge, "sun");
        }
        std::map<std::string, std::string> expected;
        for (const Value& device : one["devices"].GetArray()) {
            std::string address = device["address"].GetString();
            if (const std::size_t dot = address.find('.'); address.starts_with("onboard-")) {
                address = (address[8] == 'a' ? "0000:0a:00" : "0000:0b:00") + address.substr(dot);
            }
            // Where the id of a slot differs from the number printed beside it, the id counts.
            const bool hasId = device.HasMember("slotId");
            const std::string right = textOf(device, hasId ? "slotId" : "right");
            expected[address] = right.empty() ? std::to_string(unknownSlot) : right;
            plugCase(machine, device, address, acpiNumbers);
        }
        for (const auto& [address, slot] : slotsOf(machine)) {
            EXPECT_EQ(std::to_string(slot), expected.at(address))
                << one["name"].GetString() << " " << address;
        }
    }
}

}  // namespace
}  // namespace em_pni
