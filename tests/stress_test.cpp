// All calls of a host at the same time, with slow and failing answers. Run it with ThreadSanitizer.
// EM_PNI_STRESS_SECONDS sets the duration, EM_PNI_STRESS_SEED repeats a run.
#include <gtest/gtest.h>
#include <random>

#include "frudata/pni_fru.h"
#include "tests/module_fixture.h"

namespace em_pni::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

unsigned setting(const char* name, unsigned otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::stoul(text)) : otherwise;
}

class StressTest : public ModuleFixture {
  public:
    StressTest() : ModuleFixture(2) { ::alarm(120 + seconds_); }  // a deadlock ends the test
    ~StressTest() override { ::alarm(0); }

    // A number below `limit`. Each thread has its generator: a lock would order the threads.
    unsigned Random(unsigned limit) {
        thread_local std::mt19937 random(seed_++);
        return static_cast<unsigned>(random() % limit);
    }
    bool SlowAndFailing(CKrcpMessage& message) {
        std::this_thread::sleep_for(std::chrono::microseconds(Random(50) == 0 ? 30000 : 300));
        const unsigned way = Random(12);
        if (way == 1 || way == 2) {
            krcp::setMember(message, "DA", rapidjson::Value("text"));
            krcp::setStatus(message, way == 1 ? krcp::EXEC_FAILED : krcp::SUCCESS);
        }
        return way <= 2;  // 0: no answer
    }
    void Request() {
        static constexpr const char* filters[] = {"", R"({"ResultFilter":["ActiveMAC"]})",
                                                  R"({"TechnologyType":"Eth"})", "{"};
        CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
        if (const unsigned filter = Random(4); filter > 0) {
            krcp::setMember(request, "DA", rapidjson::Value(rapidjson::StringRef(filters[filter])));
        }
        owner_->ModuleRequest(request);
        EXPECT_NE(krcp::status(request), krcp::REQUEST_PENDING);
    }
    void Event() {
        CKrcpMessage event = krcp::makeRequest(
            Random(2) == 0 ? krcp::ipAddressChanged : krcp::deviceDataChanged, 0, 0, 0);
        krcp::setMember(event, "DA", krcp::number(Random(3)));
        krcp::setStatus(event, krcp::EVENT_MESSAGE);
        owner_->ModuleReply(event);
    }
    void Notification() {
        static constexpr std::uint32_t codes[] = {
            notification::switchRequestEnabled, notification::systemShutdown,
            notification::powerStateSuspend, notification::powerStateResume, 7,
            // Rare: nothing is written after it.
            notification::switchShutdown};
        owner_->Notify(codes[Random(Random(100) == 0 ? 6 : 5)], 0);
        std::this_thread::sleep_for(1ms);
    }
    void StartOrStop() {
        std::this_thread::sleep_for(std::chrono::milliseconds(Random(20)));
        switch (Random(5)) {
            case 0:
                owner_->SetCabinetNumber(0);
                owner_->Start(&host_, 0);
                return;
            case 1:
            case 2:
                owner_->OnSwitchStarted();
                return;
            default:
                const auto start = Clock::now();
                owner_->Stop();
                EXPECT_LT(Clock::now() - start, 6s);
        }
    }

    const unsigned seconds_ = setting("EM_PNI_STRESS_SECONDS", 3);
    std::atomic<unsigned> seed_ = setting("EM_PNI_STRESS_SEED", 1);
};

TEST_F(StressTest, EverythingAtOnce) {
    Configure("10");
    const auto end = Clock::now() + std::chrono::seconds(seconds_);
    network_.interfaces[0].primary = {{10, 0, 0, 1}};  // there is something to write
    // A loaded machine may need more time for the first write.
    while (Clock::now() < end || host_.Count(krcp::writeFru) == 0) {
        owner_->SetCabinetNumber(0);
        owner_->Start(&host_, 0);
        host_.Intercept([this](int, CKrcpMessage& message) { return SlowAndFailing(message); });
        const auto roundEnd = Clock::now() + 400ms;
        std::vector<std::thread> threads;
        for (const auto action :
             {&StressTest::Request, &StressTest::Request, &StressTest::Event,
              &StressTest::Notification, &StressTest::StartOrStop, &StressTest::StartOrStop}) {
            threads.emplace_back([this, action, roundEnd] {
                while (Clock::now() < roundEnd) {
                    (this->*action)();
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        if (Random(2) == 0) {
            owner_->Stop();
            const int asked = host_.Total();
            std::this_thread::sleep_for(20ms);
            EXPECT_EQ(host_.Total(), asked) << "asked after Stop";
        }
        std::thread([this] { owner_.reset(); }).join();
        const Bytes image = host_.Image();
        ASSERT_EQ(pniValidateFru(image.data(), image.size()), PNI_SUCCESS);
        host_.Put(original_);
        owner_ = NewModule();
    }
    EXPECT_GT(host_.Count(krcp::clearNetworkSnapshot), 0);
}

}  // namespace
}  // namespace em_pni::test
