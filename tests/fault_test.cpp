// Each answer of the host fails in turn.
#include <gtest/gtest.h>
#include <set>

#include "module/krcp_trace.h"
#include "tests/module_fixture.h"
#include "tests/sanitizer.h"

namespace em_pni::test {
namespace {

enum class Fault { errorStatus, noAnswer, wrongType, late };

class FaultTest : public ModuleFixture {
  protected:
    FaultTest() : ModuleFixture(1) {
        network_.interfaces[0].primary = {{10, 0, 0, 1}};  // there is something to write
        machine_.interfaces->interfaces.at("ens3f1").permanent = {0x0A, 1, 2, 3, 4, 5};
        Begin();
        answers_.insert(Ask());
        Cycle();
        new_ = host_.Image();
        answers_.insert(Ask());
        EXPECT_EQ(answers_.size(), 2U);
    }

    void Begin() {
        host_.Put(original_);
        owner_ = NewModule();
        owner_->SetCabinetNumber(0);
        owner_->Start(&host_, 0);
    }
    void Cycle() {
        owner_->OnSwitchStarted();
        owner_->Stop();
    }
    // A start, an event and another start. Each start runs a cycle.
    void TwoCycles() {
        CKrcpMessage event = krcp::makeRequest(krcp::ipAddressChanged, 0, 0, 0);
        krcp::setStatus(event, krcp::EVENT_MESSAGE);
        Cycle();
        owner_->ModuleReply(event);
        Cycle();
    }
    // The data of the answer to ReadPniData.
    [[nodiscard]] std::string Ask() {
        CKrcpMessage request = krcp::makeRequest(krcp::readPniData, 0, 0, 0);
        owner_->ModuleRequest(request);
        const rapidjson::Value* const data = krcp::findData(request);
        return data != nullptr ? krcp::jsonText(*data) : "";
    }
    bool Fail(Fault fault, CKrcpMessage& message) {
        if (fault == Fault::wrongType) {
            krcp::setMember(message, "DA", rapidjson::Value("text"));
            return krcp::setStatus(message, krcp::SUCCESS);
        }
        if (Bytes bytes; fault == Fault::late && krcp::copyRawBytes(message, bytes) > 0) {
            host_.Put(bytes);  // the controller has stored it
        }
        return fault == Fault::noAnswer ||
               krcp::setStatus(message,
                               fault == Fault::late ? krcp::REQUEST_PENDING : krcp::EXEC_FAILED);
    }
    // The image without IP addresses: a failed request leaves some out.
    static Bytes Bare(const Bytes& image) {
        CPniFruData record(image);
        record.CropToValidSize();
        record.ClearIpAddresses();
        return record.GetImage();
    }
    // Checks the image after the fault, and that a cycle without faults corrects it.
    void ExpectWhole(const std::string& after) {
        const Bytes bare = Bare(host_.Image());
        EXPECT_TRUE(bare == Bare(original_) || bare == Bare(new_)) << after;
        EXPECT_NE(Ask(), "") << after;
        Cycle();
        EXPECT_TRUE(host_.Image() == new_ && Ask() == *answers_.begin()) << after;
    }

    Bytes new_;
    std::set<std::string> answers_;  // for the new record and for the old one, in this order
};

TEST_F(FaultTest, OfEveryAnswerInTurn) {
    Begin();
    host_.Intercept(nullptr);
    TwoCycles();
    const int asked = host_.Total();
    EXPECT_GT(asked, 150);
    for (const Fault fault : {Fault::errorStatus, Fault::noAnswer, Fault::wrongType, Fault::late}) {
        for (int n = 1; n <= asked; n += isSanitized ? 11 : 1) {
            Begin();
            host_.Intercept([&](int number, CKrcpMessage& message) {
                return number == n && Fail(fault, message);
            });
            TwoCycles();
            host_.Intercept(nullptr);
            ExpectWhole("fault " + std::to_string(static_cast<int>(fault)) + " of request " +
                        std::to_string(n));
        }
    }
}

}  // namespace
}  // namespace em_pni::test
