// FRU data behind a management controller that is busy, lies, or goes away.
#include <filesystem>
#include <gtest/gtest.h>
#include <latch>
#include <numeric>
#include <sstream>
#include <thread>

#include "host/commands/reading.h"
#include "host/machine/controller_fru.h"
#include "host/machine/fru_controller.h"
#include "tests/fake_controller.h"
#include "tests/temp_directory.h"

namespace em_pni::host_test {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using Message = CFakeController::Message;

constexpr std::uint8_t infoCommand = 0x10;
constexpr std::uint8_t readCommand = 0x11;
constexpr std::uint8_t writeCommand = 0x12;
constexpr auto npos = std::string::npos;

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

    test::CTempDirectory folder_{"/dev/shm"};  // flushing a thousand journals to a disk takes long
    const CFruPlace place_{{.path = folder_.Write("a.fru", "A")}, CFruPlace::Use::write};
    const Bytes old_ = numbered(2048);
    const Bytes new_ = numbered(2048, 7);
    CFakeController controller_{old_};
};

TEST_F(HostIpmi, ReadsAllBytesInChunksThatTheControllerTakes) {
    EXPECT_EQ(Store().Read(), old_);
    EXPECT_EQ(controller_.commands.size(), 65U);
    for (const std::uint8_t code : Bytes{0xC7, 0xC8, 0xCA}) {
        for (const std::size_t limit : {16U, 8U, 7U}) {
            controller_.fault = [&](const Message& message) -> std::optional<Bytes> {
                const bool isLong = message.command == readCommand && message.data[3] > limit;
                return isLong ? std::optional(Bytes{code}) : std::nullopt;
            };
            EXPECT_EQ(ReadError().find("does not read byte 0, completion code 0xC") != npos,
                      limit == 7);
            EXPECT_TRUE(limit == 7 || Store().Read() == old_) << limit;
        }
    }
}

TEST_F(HostIpmi, BelievesNoCountAndReadsTheLastByteWithItsNeighbour) {
    // Counts of 255 and 0, too few and too many bytes, and a refusal of the last byte alone.
    for (const std::uint8_t lie : Bytes{255, 9, 0, 41}) {
        controller_.fault = [lie](const Message& message) -> std::optional<Bytes> {
            if (message.command != readCommand || message.data[3] <= 8) {
                return std::nullopt;
            }
            Bytes answer{0, lie};
            for (std::size_t i = 0; i < (lie == 41 ? 41U : 9U); ++i) {
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
        controller_.fault = [&reply = answer](const Message&) { return std::optional(reply); };
        const auto start = controller_.now;
        EXPECT_NE(ReadError().find(text), npos) << text;
        EXPECT_LE(controller_.now - start, 65s);
    }
    controller_.isGone = true;
    EXPECT_NE(ReadError().find("the IPMI device fails"), npos);
}

TEST_F(HostIpmi, AWriteSendsOnlyWhatDiffers) {
    Bytes image = old_;
    image[100] = 1;  // one range with the next
    image[108] = 2;
    image[2047] = 3;
    std::vector<std::string> ended;
    CControllerFru(place_, 0, controller_.Opener(),
                   [&](std::string_view action, std::size_t done, std::size_t total) {
                       EXPECT_EQ(total, 10U);
                       done < total ? void() : void(ended.emplace_back(action));
                   })
        .Write(old_, image);
    EXPECT_EQ(ended, (std::vector<std::string>{"writing", "comparing"}));
    EXPECT_EQ(controller_.stored, image);
    EXPECT_EQ(controller_.Count(writeCommand), 2U);
    EXPECT_EQ(controller_.Count(readCommand), 2U);
    Store().Write(image, image);
    EXPECT_EQ(controller_.Count(writeCommand), 2U);
    controller_.fault = [this](const Message& message) -> std::optional<Bytes> {
        if (message.command != writeCommand || message.data.size() <= 8) {
            return std::nullopt;
        }
        test::put(controller_.stored, message.Offset(),
                  {message.data.begin() + 3, message.data.begin() + 8});
        return Bytes{0, 5};  // takes five bytes of each command
    };
    Store().Write(image, new_);
    EXPECT_EQ(controller_.stored, new_);
    image = new_;
    EXPECT_THROW(Store().Write(image, numbered(2049)), CHostError);
    EXPECT_FALSE(HasJournal());
}

// Every message of a write of 2 KiB meets each fault once. The data are old or new afterwards, at
// the latest after the next start.
TEST_F(HostIpmi, AFaultOfAnyMessageLeavesTheOldOrTheNewBytes) {
    using Answer = std::optional<Bytes>;
    const auto ofWrite = [](const Bytes& answer) {
        return [answer](const Message& message) {
            return message.command == writeCommand ? Answer(answer) : std::nullopt;
        };
    };
    const auto goAway = [this](const Message&) {
        controller_.isGone = true;
        return Bytes{};
    };
    for (const auto& [isWritten, fault] : std::vector<std::pair<bool, CFakeController::Fault>>{
             {true,
              [](const Message& m) {
                  return Bytes{Bytes{0x81, 0xC0, 0xC3}[m.number % 3]};
              }},
             {true, [](const Message&) { return Bytes{}; }},
             {true, ofWrite({0, 32})},  // accepted, but not stored
             {true, ofWrite({0, 5})},
             {true, ofWrite({0, 0})},
             {false, [](const Message&) { return Bytes{0xD5}; }},
             {false, goAway}}) {
        for (unsigned faulty = 1; faulty <= 129; ++faulty) {  // size, 64 writes, 64 reads
            controller_.stored = old_;
            controller_.commands.clear();
            controller_.fault = [&, &cause = fault](const Message& message) {
                return message.number == faulty ? cause(message) : std::nullopt;
            };
            EXPECT_EQ(ErrorOf([&] { Store().Write(old_, new_); }).empty(), isWritten) << faulty;
            EXPECT_GE(controller_.commands.size(), isWritten ? 129U : faulty);
            if (std::exchange(controller_.isGone, false)) {
                EXPECT_FALSE(Store().WriteMark());
                Store().Mend();
                EXPECT_EQ(controller_.stored, faulty <= 2 ? old_ : new_) << faulty;
            } else {
                EXPECT_EQ(controller_.stored, isWritten ? new_ : old_) << faulty;
            }
            EXPECT_FALSE(HasJournal());
        }
    }
}

TEST_F(HostIpmi, ABackupIsNoMixtureOfTwoImages) {
    std::filesystem::last_write_time(folder_.Path(), std::filesystem::file_time_type());
    std::ostringstream errors;
    CConsole console(errors, errors);
    bool hasMore = false;
    controller_.fault = [&](const Message& message) -> std::optional<Bytes> {
        if (message.number == 30 || (hasMore && message.number % 65 == 30)) {
            controller_.stored = controller_.stored == old_ ? new_ : old_;
            std::filesystem::last_write_time(folder_.Path(),
                                             std::filesystem::file_time_type(1s * message.number));
        }
        return std::nullopt;
    };
    CControllerFru store = Store();
    EXPECT_EQ(readBetweenWrites(store, console), new_);
    EXPECT_EQ(controller_.commands.size(), 130U);
    EXPECT_EQ(errors.str(), "");
    hasMore = true;
    static_cast<void>(readBetweenWrites(store, console));
    EXPECT_EQ(controller_.commands.size(), 130U + 195U);
    EXPECT_NE(errors.str().find("a write is under way"), npos);
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
              npos);
    controller_.fault = [](const Message& message) -> std::optional<Bytes> {
        return message.command == writeCommand ? std::optional(Bytes{0x80}) : std::nullopt;
    };
    EXPECT_THROW(Store().Write(old_, image), CFruProtected);
    EXPECT_EQ(controller_.stored, old_);
    EXPECT_FALSE(HasJournal());
    controller_.stored.resize(1024);
    const std::string error = ErrorOf([&] { Store().Write(old_, image); });
    EXPECT_NE(error.find("the size of the FRU device has changed"), npos);
    EXPECT_TRUE(HasJournal());
}

TEST_F(HostIpmi, AJournalOfOtherBytesChangesNothing) {
    const CFruJournal journal(place_);
    journal.Keep(old_, new_);
    controller_.stored[1000] = 99;  // neither old nor new
    EXPECT_NE(Store().Mend()->find("kept as"), npos);
    journal.Keep(old_, new_);
    controller_.stored = Bytes(old_.begin(), old_.begin() + 1024);
    EXPECT_NE(Store().Mend()->find("a.fru.journal.kept2"), npos);
    std::string damaged = test::contentOf(folder_.File("a.fru.journal.kept1"));
    ++damaged[1000];
    for (const std::string& content : {damaged, damaged.substr(0, 15)}) {
        folder_.Write("a.fru.journal", content);
        EXPECT_NE(Store().Mend()->find("damaged"), npos);
    }
    std::filesystem::create_symlink("a.fru.journal.kept1", folder_.File("a.fru.journal"));
    EXPECT_NE(ErrorOf([&] { Store().Mend(); }).find("cannot read the journal"), npos);
    EXPECT_TRUE(std::filesystem::remove(folder_.File("a.fru.journal"))) << "it is still there";
    EXPECT_EQ(controller_.Count(writeCommand), 0U);
    EXPECT_FALSE(HasJournal());
}

Bytes imageWith(std::uint8_t lastMacByte) {
    Bytes image = test::functionImage(test::function(0, true, 0, test::nicAddresses(lastMacByte)));
    image.resize(2048);
    return image;
}

// The module's view: what it reads and writes through the played controller.
class HostIpmiController : public HostIpmi {
  protected:
    HostIpmiController() { controller_.stored = imageWith(1); }
    // The bytes of the answer; empty = the read has failed.
    Bytes Read() {
        CKrcpMessage message = krcp::makeRequest(krcp::readFru, krcp::pniFruExtension, 0, 0);
        played_.Answer(message, 1min);
        Bytes bytes;
        krcp::copyRawBytes(message, bytes);
        return bytes;
    }
    std::uint32_t Write(const Bytes& image, std::chrono::milliseconds timeout = 1min) {
        CKrcpMessage message = krcp::makeRequest(krcp::writeFru, krcp::pniFruExtension, 0, 0);
        krcp::setRawBytes(message, image);
        return played_.Answer(message, timeout).value();
    }
    [[nodiscard]] bool HasWritten() const {
        return played_.LastWrite() != CFruController::Clock::time_point::min();
    }

    CControllerFru store_ = Store();
    CListener listener_;
    CFruController played_{store_, listener_, CFruController::Access::readWrite};
};

TEST_F(HostIpmiController, WritesNothingOverAChangeOfOthers) {
    ASSERT_EQ(Read(), imageWith(1));
    controller_.stored[2000] = 1;
    EXPECT_EQ(Write(imageWith(2)), krcp::EXEC_FAILED);
    EXPECT_EQ(listener_.changes, 1);
    EXPECT_EQ(controller_.Count(writeCommand), 0U);
    EXPECT_FALSE(HasWritten()) << "address events need not wait";
    ASSERT_EQ(Read()[2000], 1);
    EXPECT_EQ(Write(imageWith(2)), krcp::SUCCESS);
    EXPECT_EQ(controller_.stored, imageWith(2));
    EXPECT_TRUE(HasWritten());
    const unsigned writes = controller_.Count(writeCommand);
    EXPECT_EQ(Write(imageWith(2)), krcp::SUCCESS);
    EXPECT_EQ(controller_.Count(writeCommand), writes) << "nothing changed";
    EXPECT_EQ(Write(Bytes(2049)), krcp::SET_STRING_TOOLONG);
}

TEST_F(HostIpmiController, AStartReadsOnceAndStillSeesChangesOfOthers) {
    played_.BeginStart(store_.Read());
    EXPECT_EQ(Read(), imageWith(1));
    EXPECT_EQ(Write(imageWith(2)), krcp::SUCCESS);
    EXPECT_EQ(Read(), imageWith(2));
    EXPECT_EQ(controller_.Count(infoCommand), 3U) << "a read, the comparison, the write";
    controller_.stored[2000] = 1;
    EXPECT_EQ(Write(imageWith(3)), krcp::EXEC_FAILED);
    EXPECT_EQ(Read()[2000], 1);
    EXPECT_EQ(Write(imageWith(3)), krcp::SUCCESS);
    played_.BeginStart({});
    controller_.stored = imageWith(4);
    EXPECT_EQ(Read(), imageWith(4));
    played_.EndStart();
    controller_.stored = imageWith(5);
    EXPECT_EQ(Read(), imageWith(5));
    EXPECT_EQ(listener_.reads, 4);
}

TEST_F(HostIpmiController, AWriteThatTakesTooLongGoesOnBeforeTheNextAnswer) {
    std::latch goOn(1);
    controller_.fault = [&](const Message& message) -> std::optional<Bytes> {
        if (message.command == writeCommand) {
            goOn.wait();
        }
        return std::nullopt;
    };
    ASSERT_EQ(Read(), imageWith(1));
    EXPECT_EQ(Write(imageWith(2), 20ms), krcp::DEVICE_BUSY);
    EXPECT_LT(CFruController::Clock::now() - played_.LastWrite(), 1s);
    std::thread release([&] {
        std::this_thread::sleep_for(50ms);
        goOn.count_down();
    });
    // The same write again sends nothing. The one after it is another.
    EXPECT_EQ(Write(imageWith(2)), krcp::SUCCESS);
    release.join();
    EXPECT_EQ(listener_.writes, 1);
    EXPECT_EQ(controller_.Count(infoCommand), 3U);
    EXPECT_EQ(Write(imageWith(3)), krcp::SUCCESS);
    EXPECT_EQ(Read(), imageWith(3));
}

}  // namespace
}  // namespace em_pni::host_test
