#include <gtest/gtest.h>

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

bool has(const std::string& whole, const std::string& part) {
    return whole.find(part) != std::string::npos;
}

// The part of the answer after `start`, for a record with one function.
std::string queryFunction(const Bytes& functionBytes, unsigned version = 12,
                          const std::string& start = "\"PhysicalFunctions\":[") {
    const std::string json = query(functionImage(functionBytes, version));
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
    EXPECT_TRUE(json.starts_with(start) && json.ends_with("]}]}]}]}")) << json;
    EXPECT_EQ(query(Bytes(20)), "failed");
}

TEST(Query, ReadsEachFieldFromItsPlace) {
    Bytes bytes =
        function(0, true, 0, nicAddresses(7, joined({{10, 0, 0, 1}, Bytes(31), {1}}), 0x21));
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
        R"("Ipv4Addresses":[{"Address":"10.0.0.1"}],"Ipv6Addresses":[{"Address":"0:0:0:0:0:0:0:0"},)"
        R"({"Address":"0:0:0:0:0:0:0:1"}]})";
    EXPECT_EQ(queryFunction(bytes), expected);

    // Format 10 has two more bytes for the technology. The fields after it are shifted.
    Bytes shifted = bytes;
    shifted.insert(shifted.begin() + 15, 2, 0);
    shifted.resize(bytes.size() + 4);
    ++shifted[1];
    shifted[2] = 36;
    put(shifted, 14, textBytes("FC"));
    const std::string fc = queryFunction(shifted, 10);
    EXPECT_TRUE(has(fc, R"("TechnologyType":"FC","Bandwidth":50,"RateLimit":60,"Speed":25,)"))
        << fc;
    EXPECT_TRUE(has(fc, R"("PciFunction":5)"));

    put(bytes, 15, {0x01, 0xC0});  // unit 3 has no name
    EXPECT_FALSE(has(queryFunction(bytes), "\"Speed"));
}

TEST(Query, ReadsTheAddressBlockOfEachTechnology) {
    Bytes names = textBytes("200000109b0000011000001A2B3C4D5E20000010FFFFFFFF10000010EEEEEEEE");
    const Bytes guids(names.begin(), names.begin() + 32);
    const Bytes macs = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2};
    const Bytes rom = textBytes("1.2.3", 32);
    const auto tail = [](unsigned technology, const std::vector<Bytes>& addresses) {
        return queryFunction(function(0, true, technology, joined(addresses)), 12,
                             "\"RemoteDeploySupport\":false,");
    };
    const std::string wwns =
        R"("ManufactureWWNN":"20:00:00:10:9B:00:00:01","ManufactureWWPN":"10:00:00:1A:2B:3C:4D:5E",)"
        R"("ActiveWWNN":"20:00:00:10:FF:FF:FF:FF","ActiveWWPN":"10:00:00:10:EE:EE:EE:EE",)";
    const std::string macTexts =
        R"("ManufactureMAC":"02-00-00-00-00-01","ActiveMAC":"02-00-00-00-00-02",)";
    const std::string romText = R"("OPROMversion":"1.2.3"})";
    EXPECT_EQ(tail(1, {names, rom}), wwns + romText);
    EXPECT_EQ(tail(2, {names, macs, rom}), wwns + macTexts + romText);
    EXPECT_EQ(tail(3, {macs, textBytes("iqn.2026-01.example:host", 224), rom}),
              macTexts + R"("InitiatorName":"iqn.2026-01.example:host",)" + romText);
    EXPECT_EQ(tail(4, {guids, rom}),
              R"("ManufactureGUID":"200000109B000001","ActiveGUID":"1000001A2B3C4D5E",)" + romText);
    names[20] = 'G';
    EXPECT_FALSE(has(tail(1, {names, rom}), "ManufactureWWPN"));
}

TEST(Query, LeavesOutWhatIsNotWhollyThere) {
    // The function ends inside its option-ROM text: only the MACs are complete.
    Bytes addresses = nicAddresses(1);
    addresses.resize(34);
    const std::string cut = queryFunction(function(0, true, 0, addresses));
    EXPECT_TRUE(has(cut, "ActiveMAC"));
    EXPECT_FALSE(has(cut, "OPROMversion") || has(cut, "Ipv4"));

    // The counters say 1 IPv4 and 3 IPv6 addresses. Only the IPv4 address would fit.
    const std::string lists =
        queryFunction(function(0, true, 0, nicAddresses(1, {192, 0, 2, 1}, 0x31)));
    EXPECT_FALSE(has(lists, "Ipv4") || has(lists, "Ipv6"));

    // A Fibre Channel function of 60 bytes has no names, though the first one would fit.
    const std::string fc = queryFunction(function(0, true, 1, Bytes(26, '1')));
    EXPECT_TRUE(has(fc, R"("TechnologyType":"FC")"));
    EXPECT_FALSE(has(fc, "WWNN"));

    // Addresses behind the end of the function, and a function of length 0.
    Bytes far = function(0, true, 0, nicAddresses(1));
    far[2] = 255;
    EXPECT_FALSE(has(queryFunction(far), "MAC"));
    Bytes empty = function(0, true, 0, {});
    empty[1] = 0;
    EXPECT_EQ(queryFunction(empty), R"({"PhyFunctionId":0,"Enabled":true})");

    // Codes without a name.
    Bytes odd = recordImage(12, {module(1, true, 9, {port(0, true, {function(0, true, 77, {})})})});
    odd[26 + 23] = 4;
    odd[26 + 56 + 3] = 4;
    fixChecksums(odd);
    const std::string json = query(odd);
    for (const char* member : {"TechnologyType", "ModuleType", "WolBehavior", "MAC", "WWNN"}) {
        EXPECT_FALSE(has(json, member)) << member;
    }
    // Headers of three bytes.
    Bytes shortPort = recordImage(12, {module(0, true, 3, {{0xC0, 3, 0}})});
    shortPort.push_back(0);
    EXPECT_FALSE(has(query(shortPort), "WolBehavior"));
    const Bytes shortHeader = recordImage(12, {Bytes{0xC2, 3, 0}});
    EXPECT_EQ(
        query(shortHeader),
        R"({"NumberOfModules":1,"Modules":[{"ModuleId":2,"Enabled":true,"PhysicalPorts":[]}]})");
    EXPECT_EQ(query(shortHeader, R"({"ResultFilter":["Speed"]})"),
              R"({"NumberOfModules":1,"Modules":[]})");
}

TEST(Query, WakeOnLanWordsDependOnTheFormat) {
    const CTraceCapture trace(5);
    const auto behaviour = [](unsigned version, std::uint8_t code) {
        return query(recordImage(version, {module(0, true, 3, {{0xC0, 4, 0, code}})}),
                     R"({"ResultFilter":["WolBehavior"]})");
    };
    EXPECT_TRUE(has(behaviour(10, 0), R"("DriverEnabled")"));
    EXPECT_TRUE(has(behaviour(10, 2), R"("ForceEnabled")"));
    EXPECT_TRUE(has(behaviour(11, 2), R"("ForceLanBoot")"));
    EXPECT_EQ(trace.Count("unknown wolbeh"), 0);
    EXPECT_TRUE(has(behaviour(12, 3), R"("AcpiControlled")"));
    EXPECT_FALSE(has(behaviour(10, 3), "WolBehavior"));
    EXPECT_GT(trace.Count("unknown wolbeh"), 0);
}

TEST(Query, ModuleFilterKeepsOneTechnology) {
    // The ids of the modules in the answer.
    const auto ids = [](const std::string& file, const std::string& technology) {
        const std::string json =
            query(sample(file), R"({"F":{"ModuleFilter":{"TechnologyType":")" + technology +
                                    R"("},"ResultFilter":["ModuleName"]}})");
        std::string found;
        for (const char* id : {"0", "3", "4"}) {
            found += has(json, std::string("\"ModuleId\":") + id) ? id : "";
        }
        return found;
    };
    for (const char* file : {"three-modules.fru", "text-technology-v10.fru"}) {
        EXPECT_EQ(ids(file, "eth"), "03") << file;
        EXPECT_EQ(ids(file, "NIC"), "03") << file;
        EXPECT_EQ(ids(file, "fc"), "4") << file;
        EXPECT_EQ(ids(file, "IB"), "") << file;
    }
    EXPECT_TRUE(
        has(query(sample("text-technology-v10.fru"), R"({"ResultFilter":["TechnologyType"]})"),
            R"([{"ModuleId":0,"PhysicalPorts")"))
        << "format 10 has none for a module";
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
          R"({"ModuleFilter":{"TechnologyType":"FC"}})"}) {  // the inner object is empty
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
    CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
    krcp::setRawBytes(request, textBytes(R"({"ResultFilter":["Speed","BootName"]})"));
    CPNI_DataFilter filter;
    ASSERT_TRUE(filter.Read(request));
    EXPECT_EQ(filter.Description(), "\nResultFilter:\n-Speed\n-BootName");
    rapidjson::Value& raw = request.document["SIP"]["CMD"][0]["DA"]["RAW"];
    for (rapidjson::Value* const broken : {&raw[3], &raw}) {
        broken->SetString("x");
        CPNI_DataFilter none;
        ASSERT_TRUE(none.Read(request));
        EXPECT_EQ(none.Description(), "No filter");
    }
}

}  // namespace
}  // namespace em_pni::test
