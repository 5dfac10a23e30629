#include <chrono>
#include <gtest/gtest.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "module/krcp_trace.h"
#include "query/pni_data.h"
#include "tests/record_builder.h"
#include "tests/trace_capture.h"

namespace em_pni::test {
namespace {

// A request whose "DA" holds the filter as text.
CKrcpMessage requestWith(const std::string& filter) {
    CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
    krcp::setMember(request, "DA",
                    rapidjson::Value(filter.c_str(), request.document.GetAllocator()));
    return request;
}

std::string query(const Bytes& image, const std::string& filterText = "") {
    CPNI_DataFilter filter;
    EXPECT_TRUE(filter.Read(requestWith(filterText)));
    rapidjson::Document answer;
    if (!CPNI_Data(image, filter.IsFiltered() ? &filter : nullptr).PniGetAllData(answer)) {
        return "failed";
    }
    return krcp::jsonText(answer);
}

// What stands in an answer for the only function of a record with just this function.
std::string queryFunction(const Bytes& functionBytes, unsigned version = 12) {
    const std::string json =
        query(recordImage(version, {module(0, true, 3, {port(0, true, {functionBytes})})}));
    const std::string start = "\"PhysicalFunctions\":[";
    const std::size_t at = json.find(start) + start.size();
    return json.substr(at, json.rfind("]}]}]}") - at);
}

TEST(Query, TellsModulesAndPortsInTheirOrder) {
    const std::string json = query(sample("onboard-only.fru"));
    const std::string start =
        R"({"NumberOfModules":1,"Modules":[{"ModuleId":0,"Enabled":true,"TechnologyType":"Eth",)"
        R"("ModuleType":"Onboard","ModuleName":"Onboard LAN","FirmwareVersion":"N/A",)"
        R"("PhysicalPorts":[{"PortId":0,"WolBehavior":"Disabled","PhysicalFunctions":[)"
        R"({"PhyFunctionId":0,"BootOptionId":0,)";
    const std::string end = R"("ActiveMAC":"02-00-00-00-01-02","OPROMversion":"N/A",)"
                            R"("Ipv4Addresses":[],"Ipv6Addresses":[]}]}]}]})";
    EXPECT_TRUE(json.starts_with(start)) << json;
    EXPECT_TRUE(json.ends_with(end)) << json;
}

TEST(Query, ReadsEachFieldFromItsPlace) {
    Bytes bytes =
        function(0, true, 0, nicAddresses(7, joined({{10, 0, 0, 1}, Bytes(15), {1}}), 0x11));
    bytes[3] = 9;
    put(bytes, 4, textBytes("Boot\x01\xFF\"\\xy"));
    put(bytes, 15, {0x19, 0x80});                // unit 2, magnitude 25
    put(bytes, 17, {0x34, 0x12, 50, 60, 0x05});  // VLAN, bandwidth, rate limit, boot flags
    put(bytes, 22, {0x18, 0x00, 0x86, 0x80});
    put(bytes, 26, {0xFD, 0x2A, 0x03, 0x01});  // 0103:2A:1F.5
    put(bytes, 30, {0x02, 0x00, 0x28, 0x10});
    const std::string expected =
        R"({"PhyFunctionId":0,"BootOptionId":9,"BootName":"Boot??\"\\xy","TechnologyType":"Eth",)"
        R"("Bandwidth":50,"RateLimit":60,"Speed":25,"SpeedUnit":"10Gb/s","VlanId":4660,)"
        R"("VendorId":32902,"DeviceId":24,"SubVendorId":4136,"SubDeviceId":2,"PciSegment":259,)"
        R"("PciBus":42,"PciDevice":31,"PciFunction":5,"Enabled":true,"BootStatus":true,)"
        R"("UefiSupport":false,"RemoteDeploySupport":true,"ManufactureMAC":"02-00-00-00-01-07",)"
        R"("ActiveMAC":"02-00-00-00-02-07","OPROMversion":"N/A",)"
        R"("Ipv4Addresses":[{"Address":"10.0.0.1"}],"Ipv6Addresses":[{"Address":"0:0:0:0:0:0:0:1"}]})";
    EXPECT_EQ(queryFunction(bytes), expected);

    // Format 10: two bytes more for the technology, everything behind it further on.
    Bytes shifted = joined({Bytes(bytes.begin(), bytes.begin() + 15),
                            {0, 0},
                            Bytes(bytes.begin() + 15, bytes.end()),
                            {0, 0}});
    shifted[1] = static_cast<std::uint8_t>(shifted.size() / 4);
    shifted[2] = 36;
    put(shifted, 14, textBytes("FC"));
    const std::string fc = queryFunction(shifted, 10);
    EXPECT_NE(fc.find(R"("TechnologyType":"FC","Bandwidth":50,"RateLimit":60,"Speed":25,)"),
              std::string::npos)
        << fc;
    EXPECT_NE(fc.find(R"("PciFunction":5)"), std::string::npos);

    put(bytes, 15, {0x01, 0xC0});  // unit 3 has no word
    EXPECT_EQ(queryFunction(bytes).find("\"Speed"), std::string::npos);
}

TEST(Query, ReadsTheAddressBlockOfEachTechnology) {
    const Bytes names =
        textBytes("200000109b0000011000001A2B3C4D5E20000010FFFFFFFF10000010EEEEEEEE");
    const Bytes macs = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2};
    Bytes rom = textBytes("1.2.3");
    rom.resize(32);
    Bytes initiator = textBytes("iqn.2026-01.example:host");
    initiator.resize(224);
    const auto tail = [](unsigned technology, const Bytes& addresses) {
        const std::string json = queryFunction(function(0, true, technology, addresses));
        const std::string last = "\"RemoteDeploySupport\":false,";
        return json.substr(json.find(last) + last.size());
    };
    const std::string wwns = R"("ManufactureWWNN":"20:00:00:10:9B:00:00:01",)"
                             R"("ManufactureWWPN":"10:00:00:1A:2B:3C:4D:5E",)"
                             R"("ActiveWWNN":"20:00:00:10:FF:FF:FF:FF",)"
                             R"("ActiveWWPN":"10:00:00:10:EE:EE:EE:EE",)";
    const std::string macTexts =
        R"("ManufactureMAC":"02-00-00-00-00-01","ActiveMAC":"02-00-00-00-00-02",)";
    const std::string romText = R"("OPROMversion":"1.2.3"})";
    EXPECT_EQ(tail(1, joined({names, rom})), wwns + romText);
    EXPECT_EQ(tail(2, joined({names, macs, rom})), wwns + macTexts + romText);
    EXPECT_EQ(tail(3, joined({macs, initiator, rom})),
              macTexts + R"("InitiatorName":"iqn.2026-01.example:host",)" + romText);
    EXPECT_EQ(tail(4, joined({Bytes(names.begin(), names.begin() + 32), rom})),
              R"("ManufactureGUID":"200000109B000001","ActiveGUID":"1000001A2B3C4D5E",)" + romText);

    Bytes noHex = names;
    noHex[20] = 'G';
    EXPECT_EQ(tail(1, joined({noHex, rom})).find("ManufactureWWPN"), std::string::npos);
}

TEST(Query, LeavesOutWhatIsNotWhollyThere) {
    // The function ends inside its option-ROM text: the MACs stay, the rest is gone.
    Bytes addresses = nicAddresses(1);
    addresses.resize(34);
    const std::string cut = queryFunction(function(0, true, 0, addresses));
    EXPECT_NE(cut.find("ActiveMAC"), std::string::npos);
    EXPECT_EQ(cut.find("OPROMversion"), std::string::npos);
    EXPECT_EQ(cut.find("Ipv4"), std::string::npos);

    // One IPv4 address fits, the three IPv6 addresses that are promised do not.
    const std::string lists =
        queryFunction(function(0, true, 0, nicAddresses(1, {192, 0, 2, 1}, 0x31)));
    EXPECT_NE(lists.find(R"("Ipv4Addresses":[{"Address":"192.0.2.1"}])"), std::string::npos);
    EXPECT_EQ(lists.find("Ipv6"), std::string::npos);

    // Addresses that would begin behind the function, and a function of no length at all.
    Bytes far = function(0, true, 0, nicAddresses(1));
    far[2] = 255;
    EXPECT_EQ(queryFunction(far).find("MAC"), std::string::npos);
    Bytes empty = function(0, true, 0, {});
    empty[1] = 0;
    EXPECT_EQ(queryFunction(empty), R"({"PhyFunctionId":0,"Enabled":true})");

    // Codes without a word.
    Bytes odd = recordImage(12, {module(1, true, 9, {port(0, true, {function(0, true, 77, {})})})});
    odd[26 + 23] = 4;
    odd[26 + 56 + 3] = 4;
    fixChecksums(odd);
    const std::string json = query(odd);
    for (const char* member : {"TechnologyType", "ModuleType", "WolBehavior", "MAC", "WWNN"}) {
        EXPECT_EQ(json.find(member), std::string::npos) << member;
    }
    // A module header of three bytes.
    Bytes shortHeader = recordImage(12, {Bytes{0xC2, 3, 0}});
    EXPECT_EQ(
        query(shortHeader),
        R"({"NumberOfModules":1,"Modules":[{"ModuleId":2,"Enabled":true,"PhysicalPorts":[]}]})");
    EXPECT_EQ(query(shortHeader, R"({"ResultFilter":["Speed"]})"),
              R"({"NumberOfModules":1,"Modules":[]})")
        << "nothing of it was selected";
}

TEST(Query, WakeOnLanWordsDependOnTheFormat) {
    const CTraceCapture trace(5);
    const auto behaviour = [](unsigned version, std::uint8_t code) {
        Bytes image = recordImage(version, {module(0, true, 3, {port(0, true, {})})});
        image[26 + 56 + 3] = code;
        const std::string json = query(image);
        const std::size_t at = json.find("\"WolBehavior\":\"");
        return at == std::string::npos ? ""
                                       : json.substr(at + 15, json.find('"', at + 15) - at - 15);
    };
    EXPECT_EQ(behaviour(10, 0), "DriverEnabled");
    EXPECT_EQ(behaviour(10, 2), "ForceEnabled");
    EXPECT_EQ(behaviour(10, 3), "");
    EXPECT_EQ(behaviour(11, 2), "ForceLanBoot");
    const int before = trace.Count("unknown wolbeh");
    EXPECT_EQ(behaviour(12, 3), "AcpiControlled");
    EXPECT_EQ(trace.Count("unknown wolbeh"), before + 1);
}

TEST(Query, ModuleFilterKeepsOneTechnology) {
    const auto ids = [](const std::string& file, const std::string& technology) {
        const std::string json =
            query(sample(file), R"({"F":{"ModuleFilter":{"TechnologyType":")" + technology +
                                    R"("},"ResultFilter":["ModuleName"]}})");
        std::string found;
        for (std::size_t at = 0; (at = json.find("\"ModuleId\":", at)) != std::string::npos;) {
            at += 11;
            found += json[at];
        }
        return found;
    };
    for (const char* file : {"three-modules.fru", "text-technology-v10.fru"}) {
        EXPECT_EQ(ids(file, "eth"), "03") << file;
        EXPECT_EQ(ids(file, "NIC"), "03") << file;
        EXPECT_EQ(ids(file, "fc"), "4") << file;
        EXPECT_EQ(ids(file, "IB"), "") << file;
    }
    EXPECT_EQ(query(sample("text-technology-v10.fru"), R"({"ResultFilter":["TechnologyType"]})")
                  .find(R"("ModuleId":0,"PhysicalPorts")"),
              std::string("{\"NumberOfModules\":3,\"Modules\":[{").size());
}

TEST(Query, ResultFilterNamesMembersInAnyCase) {
    EXPECT_EQ(query(recordImage(12, {nicModule(3, true)}), R"({"ResultFilter":["moduleid"]})"),
              R"({"NumberOfModules":1,"Modules":[{"ModuleId":3,"PhysicalPorts":[{"PortId":0,)"
              R"("PhysicalFunctions":[{"PhyFunctionId":0}]}]}]})");
    EXPECT_EQ(
        query(sample("onboard-only.fru"), R"({"ResultFilter":["IPV4ADDRESSES","speedunit"]})"),
        R"({"NumberOfModules":1,"Modules":[{"ModuleId":0,"PhysicalPorts":[{"PortId":0,)"
        R"("PhysicalFunctions":[{"PhyFunctionId":0,"SpeedUnit":"Gb/s","Ipv4Addresses":)"
        R"([{"Address":"192.0.2.10"}]}]},{"PortId":1,"PhysicalFunctions":[{"PhyFunctionId":0,)"
        R"("SpeedUnit":"Mb/s","Ipv4Addresses":[]}]}]}]})");
    const std::string complete = query(sample("three-modules.fru"));
    EXPECT_EQ(query(sample("three-modules.fru"), R"({"ResultFilter":[]})"), complete);
}

TEST(Filter, RefusesWhatItCannotUseAndIgnoresWhatIsNone) {
    const auto read = [](const std::string& text) {
        CPNI_DataFilter filter;
        const bool usable = filter.Read(requestWith(text));
        return !usable ? "refused" : filter.IsFiltered() ? "filtered" : "none";
    };
    for (const char* text :
         {"", "no json", "[]", "7", "{}", "{\"ResultFilter\":[]} behind",
          R"({"ResultFilter":null})", R"({"ModuleFilter":7,"ResultFilter":"Speed"})",
          R"({"ModuleFilter":{"TechnologyType":"FC"}})"}) {  // looked into, and empty inside
        EXPECT_STREQ(read(text), "none") << text;
    }
    for (const char* text :
         {R"({"F":{"ModuleFilter":{}}})", R"({"F":{"ModuleFilter":{"TechnologyType":1}}})",
          R"({"F":{"ModuleFilter":{"TechnologyType":"Token Ring"}}})",
          R"({"ResultFilter":["Speed","Color"]})", R"({"ResultFilter":[1]})"}) {
        EXPECT_STREQ(read(text), "refused") << text;
    }
    for (const char* text : {R"({"F":{"ModuleFilter":{"TechnologyType":"sas"}}})",
                             R"({"ModuleFilter":{"TechnologyType":"CNA"},"ResultFilter":[]})",
                             R"({"Any":{"ResultFilter":["Address"]}})"}) {
        EXPECT_STREQ(read(text), "filtered") << text;
    }
    EXPECT_STREQ(read(std::string(200000, '[')), "none") << "nested deeper than any stack";
    EXPECT_STREQ(read(R"({"F":{"ModuleFilter":{"TechnologyType":"FC","x":)" +
                      std::string(100000, '[') + std::string(100000, ']') + "}}}"),
                 "filtered");
}

TEST(Filter, RawBytesReadLikeTheText) {
    const std::string text = R"({"ResultFilter":["Speed","BootName"]})";
    CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
    krcp::setRawBytes(request, Bytes(text.begin(), text.end()));
    CPNI_DataFilter filter;
    ASSERT_TRUE(filter.Read(request));
    EXPECT_EQ(filter.Description(), "\nResultFilter:\n-Speed\n-BootName");
    request.document["SIP"]["CMD"][0]["DA"]["RAW"][3].SetString("x");
    CPNI_DataFilter broken;
    ASSERT_TRUE(broken.Read(request));
    EXPECT_EQ(broken.Description(), "No filter");
}

TEST(Query, DamagedRecordsGiveJsonOrNothing) {
    const Bytes good = sample("three-modules.fru");
    const CGuardedBytes guarded(good);
    for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
        Bytes image = good;
        image[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        std::memcpy(guarded.Data(), image.data(), image.size());
        rapidjson::Document answer;
        if (CPNI_Data({guarded.Data(), image.size()}, nullptr).PniGetAllData(answer)) {
            rapidjson::Document parsed;
            ASSERT_FALSE(parsed.Parse(krcp::jsonText(answer).c_str()).HasParseError()) << bit;
        }
    }
    rapidjson::Document answer;
    EXPECT_FALSE(CPNI_Data(Bytes(20), nullptr).PniGetAllData(answer));
}

}  // namespace
}  // namespace em_pni::test
