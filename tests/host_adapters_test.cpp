// How the machine's adapters are shown, and the images made from them.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <string>
#include <vector>

#include "em_pni/krcp_message.h"
#include "frudata/pni_fru.h"
#include "host/adapter_report.h"
#include "host/adapter_text.h"
#include "host/console.h"
#include "host/image_builder.h"
#include "tests/record_builder.h"

namespace em_pni::host_test {
namespace {

using test::Bytes;

AdapterReport ethernet() {
    AdapterReport adapter;
    adapter.facts.address = {0, 3, 0, 1};
    adapter.facts.ids = {0x8086, 0x1521, 0x8086, 0x0001};
    adapter.facts.classCode = 0x0200;
    adapter.facts.driver = "igb";
    adapter.facts.activeMac = MacAddress{2, 0, 0, 0, 0, 0x1A};
    adapter.facts.permanentMac = MacAddress{2, 0, 0, 0, 0, 0x1B};
    adapter.facts.slot = 2;
    adapter.facts.interfaces = {"eth0", "eth1"};
    adapter.className = "Net";
    adapter.names.device = "I350 Gigabit Network Connection";
    return adapter;
}

TEST(HostAdapters, TheTreeIsAlignedAndFitsTheTerminal) {
    AdapterReport fibre;
    fibre.facts.address = {0, 4, 0, 0};
    fibre.facts.classCode = 0x0C04;
    fibre.facts.portName = WorldWideName{0x10, 0, 0, 0, 0xC9, 1, 2, 3};
    fibre.names.device =
        std::string("\033[2J\xFF ") + std::string(70, 'n') + " " + std::string(30, 'x') + " end";
    EXPECT_EQ(adapterTree({ethernet(), fibre}),
              "2 adapter functions\n"
              "├─ 0000:03:00.1 slot 2\n"
              "│    device      I350 Gigabit Network Connection [8086:1521]\n"
              "│    subsystem   [8086:0001]\n"
              "│    class       Net [0200]\n"
              "│    driver      igb\n"
              "│    interfaces  eth0, eth1\n"
              "│    MAC         02-00-00-00-00-1A (made as 02-00-00-00-00-1B)\n"
              "└─ 0000:04:00.0 slot not known\n"
              "     device      ?[2J\xEF\xBF\xBD " +
                  std::string(70, 'n') + "\n                 " + std::string(30, 'x') +
                  " end\n"
                  "     class       [0c04]\n"
                  "     WWPN        10:00:00:00:C9:01:02:03\n");
    EXPECT_EQ(wrapWords("  äöü äöü  ä ", 7), (std::vector<std::string>{"äöü äöü", "ä"}));
}

TEST(HostAdapters, TheJsonIsValidForAnyText) {
    AdapterReport adapter = ethernet();
    const std::string text = std::string("a\"\\\n\x01\0b\xFF\xC3\x28\xE2\x82", 12) + "ä€";
    adapter.names.device = text;
    adapter.facts.interfaces = {text, "\xC0\x80"};
    adapter.facts.slot = unknownSlot;
    rapidjson::Document document;
    const std::string json = adapterJson({adapter, ethernet()});
    document.Parse<rapidjson::kParseValidateEncodingFlag>(json.data(), json.size());
    ASSERT_TRUE(document.IsArray()) << json;
    ASSERT_EQ(document.Size(), 2U);
    const std::string bad = "\xEF\xBF\xBD";
    const std::string expected =
        std::string("a\"\\\n\x01\0b", 7) + bad + bad + "(" + bad + bad + "ä€";
    const rapidjson::Value& device = document[0]["Device"];
    EXPECT_EQ(std::string(device.GetString(), device.GetStringLength()), expected);
    EXPECT_EQ(std::string(document[0]["Interfaces"][1].GetString()), bad + bad);
    EXPECT_TRUE(document[0]["Slot"].IsNull());
    EXPECT_TRUE(document[1]["WWPN"].IsNull());
    EXPECT_EQ(document[1]["Slot"].GetUint(), 2U);
    EXPECT_STREQ(document[1]["PermanentMAC"].GetString(), "02-00-00-00-00-1B");
    EXPECT_EQ(adapterJson({}), "[]");
}

// "id" of each module in order, by the last byte of its MAC address, which is its slot.
std::vector<std::pair<unsigned, unsigned>> idsAndSlots(const std::vector<ModuleStream>& modules) {
    const Bytes image = buildImage(modules, {});
    EXPECT_EQ(pniValidateFru(image.data(), image.size()), PNI_SUCCESS);
    std::vector<std::pair<unsigned, unsigned>> found;
    for (unsigned i = 0; i < modules.size(); ++i) {
        const std::uint8_t* const module =
            pni_findPniModuleArea(image.data(), image.size(), static_cast<std::uint8_t>(i), true);
        if (module == nullptr) {
            ADD_FAILURE() << i;
            break;
        }
        found.emplace_back(module[0] & 0x3FU, module[56 + 4 + 34 + 5]);
    }
    return found;
}

ModuleStream inSlot(std::uint32_t slot) {
    return {test::nicModule(slot & 0x3FU, false), slot};
}

TEST(HostImage, ModulesAreInOrderOfSlotsWithIdsOfTheirOwn) {
    using Ids = std::vector<std::pair<unsigned, unsigned>>;
    EXPECT_EQ(idsAndSlots({inSlot(0)}), (Ids{{0, 0}}));
    ModuleStream without = inSlot(0);
    without.slot = 0xFFFFFFFF;
    EXPECT_EQ(
        idsAndSlots({without, inSlot(5), inSlot(63), inSlot(0), inSlot(3), inSlot(3), inSlot(4),
                     inSlot(127), inSlot(64), inSlot(0)}),
        (Ids{{0, 0}, {0, 0}, {3, 3}, {4, 3}, {5, 4}, {6, 5}, {63, 63}, {1, 0}, {2, 63}, {0, 0}}));
    const std::vector<ModuleStream> many(70, inSlot(7));
    EXPECT_EQ(idsAndSlots(many)[62].first, 6U);  // the last that is free
    EXPECT_EQ(idsAndSlots(many)[69].first, 7U);
}

TEST(HostImage, IsFilledUpToItsSizeOrRefused) {
    const std::vector<ModuleStream> modules{inSlot(0), inSlot(1)};
    Bytes image = buildImage(modules, {11, std::nullopt});
    EXPECT_EQ(image, test::recordImage(11, {test::nicModule(0, false), test::nicModule(1, true)}));
    const Bytes padded = buildImage(modules, {11, image.size() + 3});
    image.resize(image.size() + 3);
    EXPECT_EQ(padded, image);
    EXPECT_EQ(buildImage(modules, {12, std::nullopt})[17] & 0x0FU, 12U);
    EXPECT_THROW(buildImage(modules, {12, padded.size() - 4}), CHostError);
    EXPECT_THROW(buildImage({}, {}), CHostError);
    EXPECT_THROW(buildImage(std::vector<ModuleStream>(256, {Bytes(8), 1}), {}), CHostError);
    EXPECT_THROW(buildImage({{Bytes(65510), 0}}, {}), CHostError);
    EXPECT_THROW(buildImage({{Bytes{0, 3, 9}, 0}}, {}), CHostError);  // no module at all
}

}  // namespace
}  // namespace em_pni::host_test
