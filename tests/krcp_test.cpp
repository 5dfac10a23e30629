#include <gtest/gtest.h>

#include "module/krcp_trace.h"
#include "tests/scripted_host.h"
#include "tests/trace_capture.h"
#include "tests/unreadable_message.h"

namespace em_pni::test {
namespace {

TEST(Krcp, NoDocumentOfAnotherTagIsTouched) {
    const CTraceCapture trace(2);
    for (std::size_t i = 0; i < sizeof(InterfaceTag); ++i) {
        InterfaceTag tag = interfaceTag;
        reinterpret_cast<unsigned char*>(&tag)[i] ^= 4U;
        CUnreadableMessage foreign(tag);
        CKrcpMessage& message = foreign.Get();
        EXPECT_EQ(krcp::opcode(message), 0U) << i;
        EXPECT_FALSE(krcp::hasData(message)) << i;
        Bytes bytes;
        EXPECT_EQ(krcp::copyRawBytes(message, bytes), 0U) << i;
        krcp::traceMessage(2, "EM_PNI", " (REQ)", message);
        for (int attempt = 0; attempt < 2; ++attempt) {
            EXPECT_FALSE(krcp::setStatus(message, 0)) << i;
            EXPECT_FALSE(krcp::setRawBytes(message, Bytes{1})) << i;
        }
        EXPECT_EQ(krcp::status(message), krcp::REQUEST_PENDING) << i;
        EXPECT_TRUE(message.tag == (i < 4 ? tag : CUnreadableMessage::RefusalTag())) << i;
    }
    EXPECT_EQ(tagText(InterfaceTag{}), "no tag");
}

TEST(Krcp, StatusOfAReply) {
    const auto reply = [](const std::string& members) {
        return parsedMessage(R"({"SIP":{"CMD":[{)" + members + "}]}}");
    };
    for (const int status : {0, 12, 21, 255}) {
        EXPECT_TRUE(krcp::hasData(reply("\"DA\":1,\"ST\":" + std::to_string(status)))) << status;
    }
    for (const char* members : {"\"ST\":0", "\"DA\":1", "\"DA\":1,\"ST\":22", "\"DA\":1,\"ST\":256",
                                "\"DA\":1,\"ST\":-1", "\"DA\":1,\"ST\":\"0\""}) {
        EXPECT_FALSE(krcp::hasData(reply(members))) << members;
    }
    EXPECT_EQ(krcp::status(reply("")), 22U);
    const std::pair<unsigned, const char*> names[] = {
        {11, "UNKNOWN"}, {13, "ACCESS_VIOLATION"}, {14, "UNKNOWN"},        {26, "OBJ_WRITEONLY"},
        {27, "UNKNOWN"}, {254, "UNKNOWN"},         {255, "EVENT_MESSAGE"}, {256, "UNKNOWN"}};
    for (const auto& [status, name] : names) {
        EXPECT_STREQ(krcp::statusName(status), name);
    }
}

TEST(Krcp, WritingAppendsCommandsUpToTheIndex) {
    CKrcpMessage message = parsedMessage(R"({"SIP":{"CMD":[{"ST":7}]}})", 2);
    EXPECT_TRUE(krcp::setStatus(message, 19));
    EXPECT_EQ(krcp::jsonText(message.document), R"({"SIP":{"CMD":[{"ST":7},{},{"ST":19}]}})");
    message.index = 0;
    EXPECT_TRUE(krcp::setStatus(message, 0));
    EXPECT_EQ(krcp::jsonText(message.document), R"({"SIP":{"CMD":[{"ST":0},{},{"ST":19}]}})");
    message.index = 4096;
    EXPECT_FALSE(krcp::setStatus(message, 0)) << "too many commands";
    CKrcpMessage nonObject = parsedMessage(R"({"SIP":{"CMD":[5]}})");
    EXPECT_FALSE(krcp::setStatus(nonObject, 0));
    EXPECT_EQ(krcp::jsonText(nonObject.document), R"({"SIP":{"CMD":[5]}})");
}

TEST(Krcp, TraceShowsTheCommandByWhatItHolds) {
    const CTraceCapture trace(3);
    const auto traced = [](const char* members) {
        krcp::traceMessage(
            2, "EM_PNI", " (RET)",
            parsedMessage(
                std::string(R"({"SIP":{"CMD":[{"OC":3088,"OE":46,"OI":1,"MI":305419896)") +
                members + "}]}}"));
    };
    traced(R"(,"CA":-2,"ST":0)");
    EXPECT_TRUE(trace.Has(
        "EM_PNI (RET)        : OC 0x0C10-0x002E OID 0x0001 CABID -002 MID 0x12345678 Stat 0x00\n"));
    traced(R"(,"DA":-5)");
    EXPECT_TRUE(trace.Has("OID 0x0001 MID 0x12345678 Stat 0x16 Data -5\n"));
    for (const std::string number : {"-1.5", "18446744073709551615", "1e30"}) {
        traced((R"(,"DA":)" + number).c_str());
        EXPECT_TRUE(trace.Has("Stat 0x16 Data " + number + "\n")) << number;
    }
    traced(R"(,"DA":[1,2,3])");
    EXPECT_TRUE(trace.Has("Stat 0x16 Len 3\n"));
    traced(R"(,"DA":{"RAW":[1,2]})");
    EXPECT_TRUE(trace.Has("Stat 0x16 Data (JSON struct):\n{\"RAW\":[1,2]}\n"));

    // Too deep for recursion.
    CKrcpMessage deep = krcp::makeRequest(1, 0, 0, 0);
    auto& allocator = deep.document.GetAllocator();
    rapidjson::Value nested(rapidjson::kObjectType);
    for (int i = 0; i < 300000; ++i) {
        rapidjson::Value outer(rapidjson::kObjectType);
        outer.AddMember("x", nested, allocator);
        nested = outer;
    }
    krcp::setMember(deep, "DA", std::move(nested));
    krcp::traceMessage(2, "EM_PNI", " (REQ)", deep);
    EXPECT_TRUE(trace.Has("OC 0x0001"));
}

}  // namespace
}  // namespace em_pni::test
