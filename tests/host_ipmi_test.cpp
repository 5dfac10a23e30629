// FRU data behind a management controller that is busy, lies, or goes away.
#include <filesystem>
#include <gtest/gtest.h>
#include <latch>
#include <numeric>
#include <thread>

#include "host/machine/controller_fru.h"
#include "host/machine/fru_controller.h"
#include "tests/fake_controller.h"
#include "tests/temp_directory.h"

namespace em_pni::host_test {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using Message = CFakeController::Message;

constexpr std::uint8_t readCommand = 0x11;
constexpr std::uint8_t writeCommand = 0x12;

Bytes numbered(std::size_t size, std::uint8_t first = 0) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

class HostIpmi : public testing::Test {
  protected:
    CControllerFru Store() { return CControllerFru(place_, 0, controller_.Opener()); }
    std::string ErrorOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const CHostError& error) {
            return error.what();
        }
        return "";
    }
    std::string ReadError() {
        return ErrorOf([this] { static_cast<void>(Store().Read()); });
    }
    [[nodiscard]] bool HasJournal() const {
        return std::filesystem::exists(folder_.File("a.fru.journal"));
    }

    test::CTempDirectory folder_;
    const CFruPlace place_{{.path = folder_.Write("a.fru", "A")}, CFruPlace::Use::write};
    const Bytes old_ = numbered(2048);
    const Bytes new_ = numbered(2048, 7);
    CFakeController controller_{old_};
};

TEST_F(HostIpmi, ReadsAllBytesInChunksThatTheControllerTakes) {
    EXPECT_EQ(Store().Read(), old_);
    EXPECT_EQ(controller_.commands.size(), 65U);
    for (const std::uint8_t code : Bytes{0xC7, 0xC8, 0xCA}) {
        for (const std::size_t limit : {16U, 8U}) {
            controller_.fault = [&](const Message& message) -> std::optional<Bytes> {
                const bool isLong = message.command == readCommand && message.data[3] > limit;
                return isLong ? std::optional(Bytes{code}) : std::nullopt;
            };
            EXPECT_EQ(Store().Read(), old_) << limit;
        }
    }
    controller_.fault = {};
    controller_.longestRead = 7;
    EXPECT_NE(ReadError().find("does not read byte 0, completion code 0xCA"), std::string::npos);
}

TEST_F(HostIpmi, BelievesNoCountAndReadsTheLastByteWithItsNeighbour) {
    // Counts of 255 and 0, too few bytes, and a refusal of the last byte alone.
    for (const std::uint8_t lie : Bytes{255, 9, 0}) {
        controller_.fault = [lie](const Message& message) -> std::optional<Bytes> {
            if (message.command != readCommand || message.data[3] <= 8) {
                return std::nullopt;
            }
            Bytes answer{0, lie};
            for (std::size_t i = 0; i < 9; ++i) {
                answer.push_back(test::byteOf(message.Offset() + i));
            }
            return answer;
        };
        EXPECT_EQ(Store().Read(), old_) << int{lie};
    }
    controller_.stored = numbered(65);
    controller_.fault = [](const Message& message) -> std::optional<Bytes> {
        const bool isLast = message.command == readCommand && message.data[3] == 1;
        return isLast ? std::optional(Bytes{0xC9}) : std::nullopt;
    };
    EXPECT_EQ(Store().Read(), controller_.stored);
}

TEST_F(HostIpmi, SaysWhyItCannotRead) {
    for (const auto& [answer, text] :
         std::vector<std::pair<Bytes, std::string>>{{{0, 0, 8, 1}, "accessed by words"},
                                                    {{0, 0, 0, 0}, "has no bytes"},
                                                    {{0, 0}, "too few bytes"},
                                                    {{0xCB}, "no FRU device with the id 0"},
                                                    {{0xD4}, "completion code 0xD4"},
                                                    {{0x81}, "the controller is busy"},
                                                    {{}, "the controller does not answer"}}) {
        controller_.fault = [&answer = answer](const Message&) { return std::optional(answer); };
        const auto start = controller_.now;
        EXPECT_NE(ReadError().find(text), std::string::npos) << text;
        EXPECT_LE(controller_.now - start, 65s);
    }
    controller_.isGone = true;
    EXPECT_NE(ReadError().find("the IPMI device fails"), std::string::npos);
}

TEST_F(HostIpmi, AWriteSendsOnlyWhatDiffers) {
    Bytes image = old_;
    image[100] = 1;  // one range with the next
    image[108] = 2;
    image[2047] = 3;
    Store().Write(old_, image);
    EXPECT_EQ(controller_.stored, image);
    EXPECT_EQ(controller_.Count(writeCommand), 2U);
    EXPECT_EQ(controller_.Count(readCommand), 2U);
    Store().Write(image, image);
    EXPECT_EQ(controller_.Count(writeCommand), 2U);
    EXPECT_THROW(Store().Write(image, numbered(2049)), CHostError);
    EXPECT_FALSE(HasJournal());
}

// Every message of a write of 2 KiB meets each fault once. The data are old or new afterwards, at
// the latest after the next start.
TEST_F(HostIpmi, AFaultOfAnyMessageLeavesTheOldOrTheNewBytes) {
    enum Kind { busy, silent, refused, accepted, shortCount, zeroCount, gone };
    for (const Kind kind : {busy, silent, refused, accepted, shortCount, zeroCount, gone}) {
        for (unsigned faulty = 1; faulty <= 129; ++faulty) {  // size, 64 writes, 64 reads
            controller_.stored = old_;
            controller_.isGone = false;
            controller_.commands.clear();
            controller_.fault = [&](const Message& message) -> std::optional<Bytes> {
                if (message.number != faulty) {
                    return std::nullopt;
                }
                controller_.isGone = kind == gone;
                const bool isWrite = message.command == writeCommand;
                switch (kind) {
                    case busy:
                        return Bytes{0xC0};
                    case accepted:  // and not stored
                        return isWrite ? std::optional(Bytes{0, 32}) : std::nullopt;
                    case shortCount:
                    case zeroCount:
                        return isWrite
                                   ? std::optional(Bytes{
                                         0, static_cast<std::uint8_t>(kind == zeroCount ? 0 : 5)})
                                   : std::nullopt;
                    case refused:
                        return Bytes{0xD5};
                    default:
                        return Bytes{};
                }
            };
            const bool isWritten = ErrorOf([&] { Store().Write(old_, new_); }).empty();
            EXPECT_GE(controller_.commands.size(), kind == gone || kind == refused ? faulty : 129U);
            EXPECT_EQ(isWritten, kind != refused && kind != gone) << kind << ' ' << faulty;
            if (isWritten || kind == refused) {
                EXPECT_EQ(controller_.stored, isWritten ? new_ : old_) << kind << ' ' << faulty;
                EXPECT_FALSE(HasJournal());
                continue;
            }
            controller_.isGone = false;
            EXPECT_TRUE(Store().IsBeingWritten());
            Store().Mend();
            EXPECT_TRUE(controller_.stored == old_ || controller_.stored == new_) << faulty;
            EXPECT_EQ(controller_.stored == old_, faulty <= 2);
            EXPECT_FALSE(HasJournal());
        }
    }
}

TEST_F(HostIpmi, AControllerThatDoesNotStoreIsAFailedWrite) {
    Bytes image = old_;
    image[5] = 77;
    controller_.fault = [](const Message& message) -> std::optional<Bytes> {
        return message.command == writeCommand ? std::optional(Bytes{0, 1}) : std::nullopt;
    };
    EXPECT_NE(ErrorOf([&] {
                  Store().Write(old_, image);
              }).find("byte 5 reads 0x05 after 0x4D was written twice"),
              std::string::npos);
    controller_.fault = [](const Message& message) -> std::optional<Bytes> {
        return message.command == writeCommand ? std::optional(Bytes{0x80}) : std::nullopt;
    };
    EXPECT_THROW(Store().Write(old_, image), CFruProtected);
    EXPECT_EQ(controller_.stored, old_);
    EXPECT_FALSE(HasJournal());
}

TEST_F(HostIpmi, AJournalOfOtherBytesChangesNothing) {
    const CFruJournal journal(place_);
    journal.Keep(old_, new_);
    controller_.stored[1000] = 99;  // neither old nor new
    const Bytes found = controller_.stored;
    EXPECT_NE(Store().Mend()->find("kept as"), std::string::npos);
    journal.Keep(old_, new_);
    controller_.stored.resize(1024);
    EXPECT_NE(Store().Mend()->find("a.fru.journal.kept2"), std::string::npos);
    folder_.Write("a.fru.journal", "PNIJRNL1damaged");
    EXPECT_NE(Store().Mend()->find("damaged"), std::string::npos);
    EXPECT_EQ(controller_.Count(writeCommand), 0U);
    EXPECT_FALSE(HasJournal());
    EXPECT_TRUE(std::equal(controller_.stored.begin(), controller_.stored.end(), found.begin()));
}

struct CListener final : CIFruListener {
    void OnRead(std::size_t) override {}
    void OnWritten(std::size_t) override { ++written; }
    void OnReadFailed(const std::string&) override {}
    void OnWriteFailed(const std::string& reason) override { failures.push_back(reason); }
    void OnChangedByOthers() override { ++changes; }
    void OnNote(const std::string&) override {}
    std::atomic<int> written{0};
    int changes = 0;
    std::vector<std::string> failures;
};

CKrcpMessage writeRequest(const Bytes& image) {
    CKrcpMessage message = krcp::makeRequest(krcp::writeFru, krcp::pniFruExtension, 0, 0);
    krcp::setRawBytes(message, image);
    return message;
}

Bytes imageWith(std::uint8_t lastMacByte) {
    Bytes image = test::functionImage(test::function(0, true, 0, test::nicAddresses(lastMacByte)));
    image.resize(2048);
    return image;
}

TEST_F(HostIpmi, WritesNothingOverAChangeOfOthers) {
    controller_.stored = imageWith(1);
    CControllerFru store = Store();
    CListener listener;
    CFruController controller(store, listener, CFruController::Access::readWrite);
    CKrcpMessage read = krcp::makeRequest(krcp::readFru, krcp::pniFruExtension, 0, 0);
    CKrcpMessage write = writeRequest(imageWith(2));
    ASSERT_EQ(controller.Answer(read, 1min), krcp::SUCCESS);
    controller_.stored[2000] = 1;
    EXPECT_EQ(controller.Answer(write, 1min), krcp::EXEC_FAILED);
    EXPECT_EQ(listener.changes, 1);
    EXPECT_EQ(controller_.Count(writeCommand), 0U);
    ASSERT_EQ(controller.Answer(read, 1min), krcp::SUCCESS);
    EXPECT_EQ(controller.Answer(write, 1min), krcp::SUCCESS);
    EXPECT_EQ(controller_.stored, imageWith(2));
    const unsigned writes = controller_.Count(writeCommand);
    EXPECT_EQ(controller.Answer(write, 1min), krcp::SUCCESS);
    EXPECT_EQ(controller_.Count(writeCommand), writes) << "nothing changed";
    CKrcpMessage longer = writeRequest(Bytes(2049));
    EXPECT_EQ(controller.Answer(longer, 1min), krcp::SET_STRING_TOOLONG);
}

TEST_F(HostIpmi, AWriteThatTakesTooLongGoesOnBeforeTheNextAnswer) {
    controller_.stored = imageWith(1);
    std::latch goOn(1);
    controller_.fault = [&](const Message& message) -> std::optional<Bytes> {
        if (message.command == writeCommand) {
            goOn.wait();
        }
        return std::nullopt;
    };
    CControllerFru store = Store();
    CListener listener;
    CFruController controller(store, listener, CFruController::Access::readWrite);
    CKrcpMessage write = writeRequest(imageWith(2));
    EXPECT_EQ(controller.Answer(write, 20ms), krcp::DEVICE_BUSY);
    std::thread release([&] {
        std::this_thread::sleep_for(50ms);
        goOn.count_down();
    });
    CKrcpMessage read = krcp::makeRequest(krcp::readFru, krcp::pniFruExtension, 0, 0);
    EXPECT_EQ(controller.Answer(read, 1min), krcp::SUCCESS);
    release.join();
    Bytes bytes;
    krcp::copyRawBytes(read, bytes);
    EXPECT_EQ(bytes, imageWith(2));
    EXPECT_EQ(listener.written, 1);
}

}  // namespace
}  // namespace em_pni::host_test
