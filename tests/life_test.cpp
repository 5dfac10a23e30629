// The life of the update thread with a host that is slow, silent, or calls back.
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "tests/module_fixture.h"

namespace em_pni::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class LifeTest : public ModuleFixture {
  protected:
    LifeTest() : ModuleFixture(5) { module_.Start(&host_, 0); }

    // Something for each cycle to write.
    void ChangeAnAddress() { network_.interfaces[0].primary = {{10, 0, 0, 1}}; }
    [[nodiscard]] int Threads() const { return trace_.Count("THREAD_RETURN"); }
};

TEST_F(LifeTest, AnOldCycleNeverWritesAfterANewStart) {
    ChangeAnAddress();
    std::atomic<bool> isBlocked{false};
    std::atomic<bool> isReleased{false};
    host_.Intercept([&](int, CKrcpMessage& message) {
        if (krcp::opcode(message) == krcp::interfaceCount && !isBlocked.exchange(true)) {
            soon([&] { return isReleased.load(); });
            std::this_thread::sleep_for(2s);
        }
        return false;
    });
    module_.OnSwitchStarted();
    ASSERT_TRUE(soon([&] { return isBlocked.load(); }));
    network_.interfaces[0].primary = {{10, 0, 0, 2}};
    const auto start = Clock::now();
    module_.OnSwitchStarted();
    EXPECT_LT(Clock::now() - start, 9s);
    ASSERT_TRUE(soon([&] { return host_.Image() != original_; })) << "the new thread works";
    const Bytes written = host_.Image();
    const int asked = host_.Total();
    isReleased = true;
    ASSERT_TRUE(soon([&] { return Threads() == 1; })) << "the old thread ends";
    EXPECT_EQ(host_.Total(), asked) << "without a request";
    EXPECT_EQ(host_.Image(), written);
    module_.Stop();
    EXPECT_EQ(Threads(), 2);
}

TEST_F(LifeTest, NoThreadStartsAfterAStopDuringTheFetch) {
    host_.On(krcp::readFru, [this](CKrcpMessage& message) {
        std::thread([this] { module_.Stop(); }).join();
        krcp::setRawBytes(message, original_);
        krcp::setStatus(message, krcp::SUCCESS);
    });
    module_.OnSwitchStarted();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(host_.Count(krcp::interfaceCount), 0);
    EXPECT_EQ(Threads(), 0);
}

TEST_F(LifeTest, DeletingTheModuleWaitsForOneAnswerOnly) {
    network_.interfaces.resize(12, network_.interfaces[0]);
    host_.Intercept([](int, CKrcpMessage& message) {
        const bool isSilent = krcp::opcode(message) == krcp::ipAddress;
        if (isSilent) {
            std::this_thread::sleep_for(200ms);
        }
        return isSilent;
    });
    module_.OnSwitchStarted();
    ASSERT_TRUE(soon([this] { return host_.Count(krcp::ipAddress) > 0; }));
    const auto start = Clock::now();
    owner_.reset();
    EXPECT_LT(Clock::now() - start, 1200ms);
    EXPECT_EQ(Threads(), 1);
    EXPECT_EQ(host_.Count(krcp::writeFru), 0) << "half of the addresses are no record";
}

TEST_F(LifeTest, ACardIsAddedAlthoughTheHostWasSilentAtFirst) {
    const std::string card = "pci0000:00/0000:00:15.0/0000:15:00.0";
    machine_.File("sys/firmware/dmi/tables/DMI", smbiosSlot(5, {0, 0x15, 0, 0}));
    machine_.Pci(card, 0x8086, 0x1572, 0x0200, "i40e");
    machine_.Net(card, "ens5", fakeInterface(sampleMac(9, 5), 10));
    for (const krcp::Opcode opcode :
         {krcp::interfaceCount, krcp::interfaceType, krcp::macAddress}) {
        host_.Put(original_);
        std::atomic<int> silent{3};  // the questions of one collection
        host_.Intercept([&silent, opcode](int, CKrcpMessage& message) {
            return krcp::opcode(message) == opcode && silent-- > 0;
        });
        Send(module_, krcp::deviceDataChanged);
        module_.OnSwitchStarted();
        EXPECT_TRUE(soon([this] {
            return CPniFruData(host_.Image()).FindModuleByMacAddress(sampleMac(9, 5)).first;
        })) << opcode;
        module_.Stop();
        host_.Intercept(nullptr);
    }
}

TEST_F(LifeTest, AnEventOnTheUpdateThreadItselfIsNotLost) {
    std::atomic<bool> isReported{false};
    host_.Intercept([&](int, CKrcpMessage& message) {
        if (krcp::opcode(message) == krcp::macAddress && !isReported.exchange(true)) {
            Send(module_, krcp::deviceDataChanged, "2");
        }
        return false;
    });
    Send(module_, krcp::deviceDataChanged);
    module_.OnSwitchStarted();
    EXPECT_TRUE(soon([this] { return trace_.Count("Track changes in") == 2; }));
    EXPECT_TRUE(trace_.Has("event not reset! Retry 2 more time(s)."));
    module_.Stop();
    EXPECT_EQ(trace_.Count("Track changes in"), 2);
}

}  // namespace
}  // namespace em_pni::test
