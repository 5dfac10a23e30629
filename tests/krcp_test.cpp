#include <gtest/gtest.h>

#include "module/krcp_trace.h"
#include "tests/scripted_host.h"
#include "tests/trace_capture.h"

namespace em_pni::test {
namespace {

// Documents that are no proper command documents, in every place where one can go wrong.
const char* const malformed[] = {
    "",
    "null",
    "7",
    "\"SIP\"",
    "[]",
    "{}",
    R"({"SIP":null})",
    R"({"SIP":[]})",
    R"({"SIP":{}})",
    R"({"SIP":{"CMD":null}})",
    R"({"SIP":{"CMD":{}}})",
    R"({"SIP":{"CMD":[]}})",
    R"({"SIP":{"CMD":[null]}})",
    R"({"SIP":{"CMD":[[{"OC":5952}]]}})",
    R"({"SIP":{"CMD":["ST"]}})",
    R"({"SIP":{"CMD":[{"OC":"5952","ST":"0","CA":[],"MI":{},"DA":true}]}})",
    R"({"SIP":{"CMD":[{"OC":5952.5,"ST":1e300,"CA":99999999999999999999,"DA":null}]}})",
    R"({"SIP":{"CMD":[{"ST":0,"DA":{"RAW":5}}]}})",
    R"({"SIP":{"CMD":[{"ST":0,"DA":{"RAW":[]}}]}})",
    R"({"SIP":{"CMD":[{"ST":0,"DA":{"RAW":[1,2,256]}}]}})",
    R"({"SIP":{"CMD":[{"ST":0,"DA":{"RAW":[1,-1]}}]}})",
    R"({"SIP":{"CMD":[{"ST":0,"DA":{"RAW":[1,2.0]}}]}})",
    R"({"SIP":{"CMD":[{"ST":0,"DA":{"RAW":[1,"2"]}}]}})",
    R"({"SIP":{"CMD":[{"ST":0,"DA":{"RAW":[[]]}}]}})",
};

TEST(Krcp, AnyDocumentCanBeReadAndWritten) {
    const CTraceCapture trace(2);
    for (const char* json : malformed) {
        for (const std::uint32_t index : {0U, 1U, 0xFFFFFFFFU}) {
            CKrcpMessage message = parsedMessage(json, index);
            EXPECT_EQ(krcp::GetValue(message, index, "OC", 7) != 7, false) << json;
            Bytes bytes = {42};
            EXPECT_EQ(krcp::copyRawBytes(message, bytes), 0U) << json;
            EXPECT_EQ(bytes, Bytes{42}) << "no part of bad bytes may arrive: " << json;
            krcp::traceMessage(2, "EM_PNI", " (REQ)", message);
            krcp::setStatus(message, krcp::NO_DATA);
            krcp::setRawBytes(message, Bytes{1});
            EXPECT_LE(krcp::jsonText(message.document).size(), 200U);
        }
    }
}

TEST(Krcp, StatusOfAReply) {
    const auto reply = [](const std::string& members, std::uint32_t index = 0) {
        return parsedMessage(R"({"SIP":{"CMD":[{)" + members + "}]}}", index);
    };
    for (const int status : {0, 12, 21, 255}) {
        EXPECT_TRUE(krcp::hasData(reply("\"DA\":1,\"ST\":" + std::to_string(status)))) << status;
    }
    for (const char* members : {"\"ST\":0", "\"DA\":1", "\"DA\":1,\"ST\":22", "\"DA\":1,\"ST\":256",
                                "\"DA\":1,\"ST\":-1", "\"DA\":1,\"ST\":\"0\""}) {
        EXPECT_FALSE(krcp::hasData(reply(members))) << members;
    }
    EXPECT_FALSE(krcp::hasData(reply("\"ST\":0,\"DA\":1", 1)));
    EXPECT_EQ(krcp::status(reply("")), 22U);
    for (const unsigned status : {11U, 14U, 27U, 254U, 256U}) {
        EXPECT_STREQ(krcp::statusName(status), "UNKNOWN");
    }
    EXPECT_STREQ(krcp::statusName(13), "ACCESS_VIOLATION");
    EXPECT_STREQ(krcp::statusName(26), "OBJ_WRITEONLY");
    EXPECT_STREQ(krcp::statusName(255), "EVENT_MESSAGE");
}

TEST(Krcp, WritingAppendsCommandsUpToTheIndex) {
    CKrcpMessage message = parsedMessage(R"({"SIP":{"CMD":[{"ST":7}]}})", 2);
    EXPECT_TRUE(krcp::setStatus(message, 19));
    EXPECT_EQ(krcp::jsonText(message.document), R"({"SIP":{"CMD":[{"ST":7},{},{"ST":19}]}})");
    message.index = 0;
    EXPECT_TRUE(krcp::setStatus(message, 0));
    EXPECT_EQ(krcp::jsonText(message.document), R"({"SIP":{"CMD":[{"ST":0},{},{"ST":19}]}})");
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
    traced(R"(,"DA":[1,2,3])");
    EXPECT_TRUE(trace.Has("Stat 0x16 Len 3\n"));
    traced(R"(,"DA":{"RAW":[1,2]})");
    EXPECT_TRUE(trace.Has("Stat 0x16 Data (JSON struct):\n{\"RAW\":[1,2]}\n"));

    // Deeper than any stack could follow.
    CKrcpMessage deep = krcp::makeRequest(1, 0, 0, 0);
    auto& allocator = deep.document.GetAllocator();
    rapidjson::Value nested(rapidjson::kObjectType);
    for (int i = 0; i < 1000000; ++i) {
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
