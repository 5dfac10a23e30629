#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "module/krcp_trace.h"
#include "tests/module_fixture.h"

namespace em_pni::test {
namespace {

class RequestTest : public ModuleFixture {
  protected:
    RequestTest() : ModuleFixture(2) {
        module_.SetCabinetNumber(7);
        module_.Start(&host_, 0);
    }

    struct Answer {
        std::uint32_t result;
        std::uint32_t status;
        std::string data;
    };
    Answer Ask(const std::string& members, std::uint16_t opcode = krcp::readPniData) {
        CKrcpMessage request = parsedMessage(R"({"SIP":{"CMD":[{"CA":7,"OC":)" +
                                             std::to_string(opcode) + members + "}]}}");
        const std::uint32_t result = module_.ModuleRequest(request);
        const rapidjson::Value* const data = krcp::findData(request);
        return {result, krcp::status(request), data != nullptr ? krcp::jsonText(*data) : ""};
    }
};

TEST_F(RequestTest, AnswersFromTheRecordAndKeepsADump) {
    const Answer answer = Ask("");
    EXPECT_EQ(answer.result, 1U);
    EXPECT_EQ(answer.status, krcp::SUCCESS);
    EXPECT_EQ(answer.data.rfind(R"({"NumberOfModules":3,"Modules":[{"ModuleId":0,)", 0), 0U);
    EXPECT_EQ(host_.Count(krcp::readFru), 1) << "fetched by the request itself";
    EXPECT_EQ(contentOf(directory_.File("pnidump")), answer.data + "\n");
    EXPECT_EQ(std::filesystem::status(directory_.File("pnidump")).permissions(),
              std::filesystem::perms(0600));
    EXPECT_TRUE(trace_.Has("EM_PNI (RETURN)     :  Complete PNI Data"));

    const Answer filtered = Ask(R"(,"DA":"{\"ResultFilter\":[\"ActiveMAC\"]}")");
    EXPECT_LT(filtered.data.size(), answer.data.size());
    EXPECT_EQ(contentOf(directory_.File("pnidump")), filtered.data + "\n");
    EXPECT_TRUE(trace_.Has("EM_PNI (REQUEST)    : \nResultFilter:\n-ActiveMAC"));
    EXPECT_TRUE(trace_.Has("EM_PNI (RETURN)     :  Filtered PNI Data"));
    EXPECT_EQ(host_.Count(krcp::readFru), 1);
}

TEST_F(RequestTest, DumpGoesOnlyIntoAFileOfItsOwn) {
    const std::string victim = directory_.Write("victim", "precious");
    const std::string dump = directory_.File("pnidump");
    ASSERT_EQ(::symlink(victim.c_str(), dump.c_str()), 0);
    EXPECT_EQ(Ask("").status, krcp::SUCCESS);
    EXPECT_EQ(contentOf(victim), "precious");
    ASSERT_EQ(::unlink(dump.c_str()), 0);
    ASSERT_EQ(::mkfifo(dump.c_str(), 0600), 0);
    EXPECT_EQ(Ask("").status, krcp::SUCCESS);
}

TEST_F(RequestTest, RefusalsHaveTheirStatus) {
    const Answer unknown = Ask("", 0x1741);
    EXPECT_EQ(unknown.result, 0U);
    EXPECT_EQ(unknown.status, krcp::INVALID_CMD);
    EXPECT_FALSE(trace_.Has("ModuleRequest() Error!"));
    EXPECT_EQ(host_.Count(krcp::readFru), 0);

    const Answer badFilter = Ask(R"(,"DA":"{\"ResultFilter\":[\"Colour\"]}")");
    EXPECT_EQ(badFilter.result, 1U);
    EXPECT_EQ(badFilter.status, krcp::INVALID_CMD);
    EXPECT_TRUE(trace_.Has("Result filter error - unknown field 'Colour'"));
    EXPECT_TRUE(trace_.Has("ModuleRequest() Error! - INVALID_CMD"));

    for (const std::string cabinet : {"", R"("CA":8,)"}) {
        CKrcpMessage other = parsedMessage(R"({"SIP":{"CMD":[{)" + cabinet + R"("OC":5952}]}})");
        EXPECT_EQ(module_.ModuleRequest(other), 0U);
        EXPECT_EQ(krcp::status(other), krcp::INVALID_CABINET_NUMBER) << cabinet;
    }
    EXPECT_FALSE(std::filesystem::exists(directory_.File("pnidump")));

    CKrcpMessage malformed = parsedMessage(R"({"SIP":{"CMD":["",null]}})");
    EXPECT_EQ(module_.ModuleRequest(malformed), 0U);
    EXPECT_EQ(krcp::jsonText(malformed.document), R"({"SIP":{"CMD":["",null]}})");
}

TEST_F(RequestTest, RecordThatIsMissingOrDamaged) {
    host_.OnStatus(krcp::readFru, 9);
    EXPECT_EQ(Ask("").status, krcp::NOT_SUPPORTED);
    host_.On(krcp::readFru, [](CKrcpMessage&) { throw 1; });
    EXPECT_EQ(Ask("").status, krcp::ACCESS_VIOLATION);
    EXPECT_TRUE(
        trace_.Has("## EXCEPTION! CABID 0007: OpCode 0x1740-0x0000 ObjId 0x0000 Status 0x0D"));
    host_.OnStatus(krcp::readFru, 0, "{\"RAW\":[1,1,0,0]}");
    const Answer damaged = Ask("");
    EXPECT_EQ(damaged.result, 0U);
    EXPECT_EQ(damaged.status, krcp::CHECKSUM_ERROR);
    EXPECT_EQ(damaged.data, "");
}

}  // namespace
}  // namespace em_pni::test
