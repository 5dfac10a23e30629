// The inventory as text: differences and tree.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <rapidjson/pointer.h>

#include "host/output/inventory_diff.h"
#include "host/output/inventory_tree.h"
#include "host/output/terminal.h"

namespace em_pni::host_test {
namespace {

using Lines = std::vector<std::string>;

rapidjson::Document parse(const std::string& json) {
    rapidjson::Document document;
    document.Parse(json.c_str());
    return document;
}

Lines differences(const std::string& before, const std::string& after) {
    Lines lines;
    for (const InventoryChange& change : inventoryDifferences(parse(before), parse(after))) {
        lines.push_back(std::string(wordOf(change.kind)) + ": " + textOf(change));
    }
    return lines;
}

std::string oneFunction(const std::string& members) {
    return R"({"Modules":[{"ModuleId":1,"PhysicalPorts":[{"PortId":0,"PhysicalFunctions":[)"
           R"({"PhyFunctionId":2)" +
           (members.empty() ? "" : "," + members) + "}]}]}]}";
}

TEST(HostDiff, NamesAChangeByTheIdsAboveIt) {
    EXPECT_EQ(differences(oneFunction(R"("ActiveMAC":"A","VlanId":7,"Speed":1)"),
                          oneFunction(R"("ActiveMAC":"B","VlanId":7,"BootName":"x")")),
              (Lines{"changed: module 1 port 0 function 2 ActiveMAC: A -> B",
                     "removed: module 1 port 0 function 2 Speed 1",
                     "added: module 1 port 0 function 2 BootName x"}));
    EXPECT_EQ(
        differences(
            oneFunction(R"("Ipv4Addresses":[{"Address":"192.0.2.1"},{"Address":"192.0.2.2"}])"),
            oneFunction(R"("Ipv4Addresses":[{"Address":"192.0.2.2"},{"Address":"192.0.2.3"}])")),
        (Lines{"removed: module 1 port 0 function 2 Ipv4Addresses 192.0.2.1",
               "added: module 1 port 0 function 2 Ipv4Addresses 192.0.2.3"}));
    EXPECT_EQ(differences(R"({"Modules":[{"ModuleId":0},{"ModuleId":4}]})",
                          R"({"Modules":[{"ModuleId":0},{"ModuleId":3,"ModuleName":"Card",)"
                          R"("ModuleType":"PCI-AddIn"},{"ModuleId":4}]})"),
              Lines{"added: module 3 \"Card\" (slot 3)"});
}

TEST(HostTree, ShowsEachNodeOnOneLine) {
    const auto document = parse(
        R"({"Modules":[{"ModuleId":0,"Enabled":true,"ModuleType":"Onboard",
            "FirmwareVersion":"1.2","PhysicalPorts":[
            {"PortId":0,"PhysicalFunctions":[{"PhyFunctionId":0,"TechnologyType":"Eth",
             "ManufactureMAC":"A","ActiveMAC":"B","Ipv4Addresses":[{"Address":"192.0.2.1"}],
             "Ipv6Addresses":[{"Address":"2001:db8::1"}],"Speed":4,"SpeedUnit":"10Gb/s",
             "VlanId":7,"PciSegment":1,"PciBus":26,"PciDevice":31,"PciFunction":7}]},
            {"PortId":1,"WolBehavior":"Disabled"}]},
           {"ModuleId":3,"Enabled":false,"ModuleName":"a\u001b[2J\nb\u009b2J\u007f\u00fc","TechnologyType":"FC",
            "FirmwareVersion":"N/A","PhysicalPorts":[{"PortId":0,"PhysicalFunctions":[
             {"PhyFunctionId":0,"ActiveWWPN":"W","ManufactureWWPN":"W","VlanId":0,"Speed":0,
             "PciSegment":0,"PciBus":0,"PciDevice":0,"PciFunction":0}]}]}]})");
    EXPECT_EQ(inventoryTree("a.fru", document),
              "a.fru: 2 modules\n"
              "├─ module 0: Onboard, firmware 1.2\n"
              "│  ├─ port 0\n"
              "│  │  └─ function 0: Eth, MAC B (manufacture A), 192.0.2.1, 2001:db8::1, 40 Gb/s, "
              "VLAN 7, PCI 0001:1a:1f.7\n"
              "│  └─ port 1: wake-on-LAN Disabled\n"
              "└─ module 3: a?[2J?b?2J?\u00fc, FC, disabled\n"
              "   └─ port 0\n"
              "      └─ function 0: WWPN W\n");
    EXPECT_NE(inventoryTree("", document, {.hasColor = true}).find("\x1b[33mmodule 3\x1b[0m: a?"),
              std::string::npos);
}

TEST(HostTerminal, FoldsAndPaintsWhatItShows) {
    const std::string tree = "a.fru\n└─ module 3: one two three\n   ├─ port 0: four five six\n";
    EXPECT_EQ(fitted(tree, {}), tree);
    EXPECT_EQ(fitted(tree + "label  one two tw\u00f6lf zwei\n", {.isUtf8 = false, .width = 20}),
              "a.fru\n`- module 3: one two\n       three\n   |- port 0: four\n   |      five six\n"
              "label  one two tw?lf\n       zwei\n");
    const Terminal colors{.hasColor = true, .width = 9};
    EXPECT_EQ(fitted("1 " + painted("SUCCESS", Color::green, colors) + " end\n", colors),
              "1 \x1b[32mSUCCESS\x1b[0m\n    end\n");
}

// Replaces each value by each type, then compares and prints the result.
TEST(HostInventory, AcceptsEveryTypeEverywhere) {
    const std::string whole = oneFunction(
        R"("TechnologyType":"Eth","ActiveMAC":"A","Speed":1,"SpeedUnit":"Gb/s","VlanId":1,)"
        R"("Ipv4Addresses":[{"Address":"192.0.2.1"}],"PciBus":1,"PciDevice":1,"PciFunction":1)");
    const std::string ports = "/Modules/0/PhysicalPorts";
    std::vector<std::string> places{"/Modules", "/Modules/0", "/Modules/0/ModuleId", ports};
    for (const char* const member :
         {"", "/0", "/0/PhyFunctionId", "/0/TechnologyType", "/0/ActiveMAC", "/0/Speed",
          "/0/SpeedUnit", "/0/VlanId", "/0/Ipv4Addresses", "/0/Ipv4Addresses/0/Address",
          "/0/PciBus"}) {
        places.push_back(ports + "/0/PhysicalFunctions" + member);
    }
    for (const std::string& place : places) {
        for (const char* const value :
             {"null", "true", "-1", "18446744073709551615", "1e300", "\"\"", "[]", "[7]", "[[]]",
              "{}", R"({"Address":7})", R"([{"Address":[]}])"}) {
            rapidjson::Document document = parse(whole);
            rapidjson::Pointer(place.c_str()).Set(document, parse(value));
            EXPECT_FALSE(inventoryDifferences(parse(whole), document).empty()) << place << value;
            EXPECT_TRUE(inventoryTree("t", document).starts_with("t: ")) << place << value;
        }
    }
}

}  // namespace
}  // namespace em_pni::host_test
