// Adapters as tree and JSON, and images built from modules.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "em_pni/krcp_message.h"
#include "frudata/pni_fru.h"
#include "host/machine/adapter_details.h"
#include "host/machine/image_builder.h"
#include "host/machine/pci_vpd.h"
#include "host/output/adapter_report.h"
#include "host/output/host_error.h"
#include "tests/devscan_fake_machine.h"
#include "tests/record_builder.h"

namespace em_pni::host_test {
namespace {

using test::Bytes;

TEST(HostAdapters, TheTreeIsAlignedAndPrintable) {
    AdapterReport ethernet;
    ethernet.facts.address = {0, 3, 0, 1};
    ethernet.facts.ids = {0x8086, 0x1521, 0x8086, 0x0001};
    ethernet.facts.classCode = 0x0200;
    ethernet.facts.slot = 2;
    ethernet.names.device = "I350 Gigabit Network Connection";
    AdapterReport fibre;
    fibre.facts.address = {0, 4, 0, 0};
    fibre.facts.classCode = 0x0C04;
    fibre.names.device = "\033[2J\xFF end";
    EXPECT_EQ(adapterTree({ethernet, fibre}),
              "2 adapter functions\n"
              "├─ 0000:03:00.1 slot 2\n"
              "│    device      I350 Gigabit Network Connection [8086:1521]\n"
              "│    subsystem   [8086:0001]\n"
              "│    class       [0200]\n"
              "└─ 0000:04:00.0 slot unknown\n"
              "     device      ?[2J\xEF\xBF\xBD end\n"
              "     class       [0c04]\n");
}

// Keywords PN and SN, with a keyword before and between them.
const std::string vpd = std::string("\x82\x04\x00", 3) + "Card" + std::string("\x90\x17\x00", 3) +
                        std::string("EC\0", 3) +
                        "PN\x05"
                        "X-540"
                        "V0\x01"
                        "z"
                        "SN\x05"
                        "AB12 " +
                        "\x91" + std::string("\x08\x00", 2) +
                        "SN\x05"
                        "wrong" +
                        "\x78" + "rest";

TEST(HostAdapters, VitalProductDataMayBeCutAnywhere) {
    for (std::size_t length = 0; length <= vpd.size(); ++length) {
        const std::vector<char> exact(vpd.begin(),
                                      vpd.begin() + static_cast<std::ptrdiff_t>(length));
        const PciVpd found = parsePciVpd(CByteView(std::string_view(exact.data(), exact.size())));
        // The whole resource must be there.
        EXPECT_EQ(found.partNumber, length < 33 ? "" : "X-540") << length;
        EXPECT_EQ(found.serialNumber, length < 33 ? "" : "AB12") << length;
    }
    std::string longKeyword = vpd;
    longKeyword[longKeyword.find("V0") + 2] = '\xFF';
    EXPECT_EQ(parsePciVpd(CByteView(longKeyword)).partNumber, "X-540");
    EXPECT_EQ(parsePciVpd(CByteView(longKeyword)).serialNumber, "");
}

struct CKnownNames final : CIHardwareNames {
    AdapterNames Find(const PciIds& /*ids*/) override { return names; }
    AdapterNames names;
};

TEST(HostAdapters, TheDetailsAndNamesOfACard) {
    CFakeMachine machine;
    const std::string device = "pci0000:00/0000:00:01.0/0000:03:00.0";
    machine.Pci(device, 0x8086, 0x1521, 0x0200);
    machine.Net(device, "a1", {.index = 1, .port = 1});
    machine.Net(device, "a2", {.index = 2, .port = 0});
    machine.Smbios(smbiosSlot(4, {0, 3, 0, 0}, {.designation = "PCIe Slot 4"}));
    const std::string path = "sys/devices/" + device;
    machine.File(path + "/vpd", vpd);
    machine.File(path + "/current_link_speed", "8.0 GT/s PCIe\n");
    machine.File(path + "/current_link_width", "255\n");
    machine.File("sys/class/net/a2/phys_port_name", "p0\n");
    machine.Link("sys/class/net/a2/master", "../../../virtual/net/bond0");
    CKnownNames database;
    database.names.vendor = "Database";
    machine.File("opt/QuillonRT/vital/etc/qlagent/Adapter.ini", "[8086]\nVendor=File\n1521=I350\n");
    const auto read = [&] {
        const std::string json =
            adapterJson(reportAdapters(machine.Scan(), machine.Machine().Files(), database));
        rapidjson::Document document;
        document.Parse(json.data(), json.size());
        return document;
    };
    rapidjson::Document document = read();
    EXPECT_TRUE(document[0]["LinkSpeed"].IsNull() && document[0]["LinkWidth"].IsNull());
    machine.File(path + "/current_link_width", "8\n");
    document = read();
    const rapidjson::Value& card = document[0];
    for (const auto& [key, text] : {std::pair("SlotDesignation", "PCIe Slot 4"),
                                    {"SlotSource", "smbios-slot"},
                                    {"PhysicalPort", "p0"},
                                    {"MasterInterface", "bond0"},
                                    {"PartNumber", "X-540"},
                                    {"SerialNumber", "AB12"},
                                    {"LinkSpeed", "8.0 GT/s PCIe"},
                                    {"Vendor", "Database"},
                                    {"Device", "I350"}}) {
        EXPECT_STREQ(card[key].IsString() ? card[key].GetString() : "", text) << key;
    }
    EXPECT_EQ(card["LinkWidth"].GetUint(), 8U);
    EXPECT_STREQ(card["Interfaces"][0].GetString(), "a2");
    EXPECT_EQ(card["Interfaces"].Size(), 2U);
}

using Ids = std::vector<std::pair<unsigned, unsigned>>;

// The id of each module in order, and the last byte of its MAC address, which is its slot.
Ids idsAndSlots(const std::vector<ModuleStream>& modules) {
    const Bytes image = buildImage(modules, {});
    EXPECT_EQ(pniValidateFru(image.data(), image.size()), PNI_SUCCESS);
    Ids found;
    for (unsigned i = 0; i < modules.size(); ++i) {
        const std::uint8_t* const module =
            pni_findPniModuleArea(image.data(), image.size(), static_cast<std::uint8_t>(i), true);
        if (module != nullptr) {
            found.emplace_back(module[0] & 0x3FU, module[56 + 4 + 34 + 5]);
        }
    }
    return found;
}

ModuleStream inSlot(std::uint32_t slot) {
    return {test::nicModule(slot & 0x3FU, false), slot};
}

TEST(HostImage, ModulesAreInOrderOfSlotsWithUniqueIds) {
    EXPECT_EQ(
        idsAndSlots({{test::nicModule(0, false), unknownSlot},
                     inSlot(5),
                     inSlot(63),
                     inSlot(0),
                     inSlot(3),
                     inSlot(3),
                     inSlot(4),
                     inSlot(127),
                     inSlot(64),
                     inSlot(0)}),
        (Ids{{0, 0}, {0, 0}, {3, 3}, {4, 3}, {5, 4}, {6, 5}, {63, 63}, {1, 0}, {2, 63}, {0, 0}}));
}

TEST(HostImage, IsPaddedToItsSizeOrRefused) {
    const std::vector<ModuleStream> modules{inSlot(0), inSlot(1)};
    Bytes image = buildImage(modules, {11, std::nullopt});
    EXPECT_EQ(image, test::recordImage(11, {test::nicModule(0, false), test::nicModule(1, true)}));
    const Bytes padded = buildImage(modules, {11, image.size() + 3});
    image.resize(image.size() + 3);
    EXPECT_EQ(padded, image);
    EXPECT_THROW(buildImage(modules, {12, padded.size() - 4}), CHostError);
    EXPECT_THROW(buildImage(std::vector<ModuleStream>(256, {Bytes(8), 1}), {}), CHostError);
    EXPECT_THROW(buildImage({{Bytes(65510), 0}}, {}), CHostError);
    EXPECT_THROW(buildImage({{Bytes{0, 3, 9}, 0}}, {}), CHostError);  // not a module
}

}  // namespace
}  // namespace em_pni::host_test
