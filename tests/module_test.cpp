#include <gtest/gtest.h>

#include "tests/module_fixture.h"
#include "tests/unreadable_message.h"

namespace em_pni::test {
namespace {

using namespace std::chrono_literals;

class ModuleTest : public ModuleFixture {
  protected:
    ModuleTest() : ModuleFixture(4) { module_.SetCabinetNumber(-3); }
    // Completed cycles without a change.
    [[nodiscard]] int Cycles() const { return trace_.Count("PNI FRU record not modified"); }
};

TEST_F(ModuleTest, FetchesCropsAndWritesPadded) {
    module_.Start(&host_, 0);
    CPniFruData record;
    ASSERT_TRUE(module_.RequestPniFruData(record));
    EXPECT_EQ(record.GetImage(), sample("three-modules.fru"));
    const auto read = host_.Last(krcp::readFru);
    EXPECT_EQ(read.extension, 46);
    EXPECT_EQ(read.cabinet, -3);
    EXPECT_EQ(read.timeout, 60000U);

    EXPECT_TRUE(module_.WritePniDataOnThisMachine(record));
    EXPECT_EQ(host_.Image(), original_);
    EXPECT_EQ(host_.Last(krcp::writeFru).timeout, 5000U);
    EXPECT_TRUE(trace_.Has("Extend initial FRU (826) bytes by (1222). New size = (2048) bytes."));
    for (const int status : {12, 21, 255, 1, 22, 256}) {
        host_.OnStatus(krcp::writeFru, status);
        const bool isTaken = status == 12 || status == 21 || status == 255;
        EXPECT_EQ(module_.WritePniDataOnThisMachine(record), isTaken) << status;
    }
    host_.On(krcp::writeFru, [](CKrcpMessage&) {});
    EXPECT_FALSE(module_.WritePniDataOnThisMachine(record)) << "no status";
    const int writes = host_.Count(krcp::writeFru);
    EXPECT_FALSE(module_.WritePniDataOnThisMachine(CPniFruData(sample("cut-short.fru"))));
    module_.Notify(notification::switchShutdown, 0);
    EXPECT_TRUE(module_.WritePniDataOnThisMachine(record));
    EXPECT_EQ(host_.Count(krcp::writeFru), writes) << "neither may reach the controller";
}

TEST_F(ModuleTest, AFailedFetchLeavesTheModulePassive) {
    module_.Start(&host_, 0);
    const std::pair<int, const char*> answers[] = {{0, ""},
                                                   {22, "{\"RAW\":[1]}"},
                                                   {0, "{\"RAW\":[]}"},
                                                   {0, "{\"RAW\":[1,300]}"},
                                                   {0, "[1]"},
                                                   {0, "\"text\""},
                                                   {0, "{\"RAW\":{}}"},
                                                   {9, ""},
                                                   {0, "{\"RAW\":[1,2,3]}"}};
    for (const auto& [status, data] : answers) {
        host_.OnStatus(krcp::readFru, status, data);
        EXPECT_EQ(module_.OnSwitchStarted(), 40U);
    }
    EXPECT_EQ(trace_.Count("FAILED to request PNI FRU data (KRCP status 0x"), 3);
    EXPECT_EQ(trace_.Count("PNI FRU data request FAILED (No data)!"), 5);
    EXPECT_EQ(trace_.Count("PNI FRU data are invalid!"), 1);
    host_.On(krcp::readFru, [](CKrcpMessage&) { throw std::runtime_error("host"); });
    EXPECT_EQ(module_.OnSwitchStarted(), 40U);
    EXPECT_FALSE(trace_.Has("Starting a PNI FRU data update thread"));
    EXPECT_EQ(module_.Stop(), 1U);
    EXPECT_FALSE(trace_.Has("CThread"));
}

TEST_F(ModuleTest, PeriodComesFromTheFirstConfigurationFile) {
    Configure("70000", "root");
    module_.Start(&host_, 0);
    EXPECT_TRUE(trace_.Has("Read module property \"FruUpdateCycle\" = 70000 (0x11170)"));
    EXPECT_TRUE(trace_.Has("update check is done every 70000 msec"));
    Configure("50", "program");
    module_.Start(&host_, 0);
    Configure("80000");
    module_.Start(&host_, 0);
    EXPECT_EQ(trace_.Count("done every 50 msec"), 2) << "the stored period is too short to change";

    const auto other = NewModule();
    for (const char* nonsense : {"soon", "-1", "4294967296", "", "4294967295"}) {
        Configure(nonsense);
        other->Start(&host_, 0);
    }
    EXPECT_EQ(trace_.Count("done every 120000 msec"), 4);
    EXPECT_TRUE(trace_.Has("update check is done on CM_NetworkInfoIpAddressChanged KRCP event"));
    EXPECT_TRUE(trace_.Has("Register event log source \"Quillon Agentless Service\" ..."));
}

struct CConfiguringHost final : CIConfiguringHostInterface {
    std::uint32_t SendRequest(CIExtensionModule*, CKrcpMessage&, std::uint32_t) override {
        return 0;
    }
    std::uint32_t SwitchStartFinished(CIExtensionModule*, std::uint32_t) override { return 0; }
    std::uint32_t GetHostKind() override { return configuringHostKind; }
    const char* GetModuleConfig() override { return text; }
    std::uint32_t GetTraceLevel() override { return level; }
    void OnTraceLine(const char* line) override { lines += std::string(line) + '\n'; }
    const char* text = nullptr;
    std::uint32_t level = 0;
    std::string lines;
};

TEST_F(ModuleTest, AHostGivesTheConfigurationAndTakesTheTrace) {
    Configure("70000");
    CConfiguringHost host;
    for (const char* const text : {"[em_pni]\nFruUpdateCycle = 90000\n", "[EM_PNI]\nOther=1\n",
                                   static_cast<const char*>(nullptr)}) {
        host.text = text;
        module_.Start(&host, 0);
    }
    EXPECT_EQ(trace_.Count("done every 90000 msec"), 1);
    EXPECT_EQ(trace_.Count("done every 70000 msec"), 2);
    EXPECT_EQ(host.lines, "");
    host.level = 2;
    module_.Start(&host, 0);
    module_.SetCabinetNumber(7);
    module_.SetCabinetNumber(-3);
    EXPECT_NE(host.lines.find("\nEM_PNI              : ## Server cabinet number = 7 ##\n"),
              std::string::npos)
        << host.lines;
    EXPECT_EQ(host.lines.find("Register event log source"), std::string::npos);
    module_.Start(&host_, 0);
    const std::string before = host.lines;
    module_.SetCabinetNumber(-3);
    EXPECT_EQ(host.lines, before) << "the next host wants no lines";
}

TEST_F(ModuleTest, ThreadRunsACycleAtStartAndPerEvent) {
    Configure("4294967295");
    module_.Start(&host_, 0);
    module_.OnSwitchStarted();
    ASSERT_TRUE(soon([&] { return Cycles() == 1; }));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(Cycles(), 1) << "no period: it sleeps";
    Send(module_, krcp::ipAddressChanged);
    EXPECT_TRUE(soon([&] { return Cycles() == 2; }));
    EXPECT_EQ(host_.Count(krcp::clearNetworkSnapshot), 1);
    EXPECT_EQ(host_.Last(krcp::clearNetworkSnapshot).cabinet, -3);
    EXPECT_TRUE(trace_.Has("Network Interface Snapshot tree cleared!"));
    EXPECT_EQ(module_.Stop(), 1U);
    EXPECT_TRUE(trace_.Has("THREAD_RETURN: ## INFO: Thread = 0x"));
    EXPECT_EQ(host_.Count(krcp::writeFru), 0);
}

TEST_F(ModuleTest, StartingAgainReplacesTheThreadAndTheRecord) {
    module_.Start(&host_, 0);
    for (int i = 1; i <= 50; ++i) {
        module_.OnSwitchStarted();
        module_.Stop();
        ASSERT_EQ(trace_.Count("THREAD_RETURN"), i);
        ASSERT_EQ(Cycles(), i) << "right after the start: it still completes one";
    }
    module_.OnSwitchStarted();
    module_.OnSwitchStarted();
    EXPECT_EQ(trace_.Count("THREAD_RETURN"), 51);
    host_.OnStatus(krcp::readFru, 9);
    module_.OnSwitchStarted();
    EXPECT_EQ(trace_.Count("THREAD_RETURN"), 52);
    EXPECT_EQ(trace_.Count("Starting a PNI FRU data update thread"), 52);
}

TEST_F(ModuleTest, EventsAreNoneWithoutTheEventStatus) {
    module_.Start(&host_, 0);
    for (const char* json :
         {R"({"SIP":{"CMD":[{"ST":0,"OC":5903}]}})", R"({"SIP":{"CMD":[{"OC":5903}]}})",
          R"({"SIP":{"CMD":[{"ST":255,"OC":4711}]}})", "[]", R"({"SIP":{"CMD":[[]]}})"}) {
        CKrcpMessage message = parsedMessage(json);
        module_.ModuleReply(message);
    }
    EXPECT_EQ(host_.Count(krcp::clearNetworkSnapshot), 0);
    host_.OnStatus(krcp::clearNetworkSnapshot, 0, "{}");
    Send(module_, krcp::ipAddressChanged);
    EXPECT_TRUE(trace_.Has("Could not clear Network Interface Snapshot tree."));
    for (const char* action : {"2", "7", "\"no number\""}) {
        Send(module_, krcp::deviceDataChanged, action);
    }
    EXPECT_TRUE(trace_.Has("CMV_DEVINFO_INSTANCE_REMOVED received."));
    EXPECT_TRUE(trace_.Has("ERROR # Invalid CM_DeviceInfoDeviceDataChanged Action!"));
    EXPECT_TRUE(trace_.Has("CMV_DEVINFO_INSTANCE_ADDED received."));
}

TEST_F(ModuleTest, MessagesOfAnotherInterfaceAreRefused) {
    constexpr InterfaceTag other = CUnreadableMessage::OtherTag();
    CUnreadableMessage request(other);
    CUnreadableMessage event(other);
    EXPECT_EQ(module_.ModuleRequest(request.Get()), 0U);
    module_.ModuleReply(event.Get());
    EXPECT_TRUE(request.Get().tag == CUnreadableMessage::RefusalTag());
    EXPECT_TRUE(event.Get().tag == CUnreadableMessage::RefusalTag());
    EXPECT_EQ(trace_.Count("EM_PNI              : ERROR! Message of the host refused: " +
                           tagText(other) + "; expected: " + tagText(interfaceTag) + "\n"),
              2);

    host_.Intercept([](int, CKrcpMessage& message) {
        message.tag = CUnreadableMessage::OtherTag();
        return true;
    });
    module_.Start(&host_, 0);
    module_.OnSwitchStarted();
    EXPECT_TRUE(trace_.Has("ERROR! Message refused by the host: " + tagText(other)));
    EXPECT_TRUE(trace_.Has("FAILED to request PNI FRU data (KRCP status 0x16)"));
    EXPECT_EQ(host_.Total(), 1) << "no thread may start";
}

TEST_F(ModuleTest, AHostCanAskForTheTag) {
    struct CAnsweringModule final : CExtensionModule {
        InterfaceTag tag = interfaceTag;
        std::uint32_t ModuleRequest(CKrcpMessage& request) override {
            request.tag = tag;
            return 0;
        }
    };
    CAnsweringModule other;
    EXPECT_TRUE(askForTag(module_) == interfaceTag);
    EXPECT_TRUE(askForTag(other) == InterfaceTag{})
        << "no status, no refusal: a module without tag";
    other.tag = CUnreadableMessage::OtherTag();
    other.tag.settings |= InterfaceTag::refusal;
    EXPECT_TRUE(askForTag(other) == CUnreadableMessage::OtherTag());
}

TEST_F(ModuleTest, NotificationsAreTracedByName) {
    EXPECT_EQ(module_.Notify(0x40001, 5), 0U);
    EXPECT_TRUE(trace_.Has("EM_PNI              : ## NOTIFY: Code = 0Xx40001, param = 0x00000005"));
    EXPECT_TRUE(trace_.Has("EM_PNI              : *** SCN_POWERSTATE_STANDBY *** "));
    EXPECT_TRUE(trace_.Has("EM_PNI              :   ... OnModuleNotification() completed"));
    module_.Notify(0x40005, 0);
    EXPECT_EQ(trace_.Count("***"), 2);
}

}  // namespace
}  // namespace em_pni::test
