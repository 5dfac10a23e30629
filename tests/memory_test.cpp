// Each allocation of a query and of a cycle fails in turn, alone or with all later ones.
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <set>

#include "module/krcp_trace.h"
#include "pni/guarded.h"
#include "tests/module_fixture.h"
#include "tests/sanitizer.h"

namespace {

constexpr long never = std::numeric_limits<long>::max();

std::atomic<long> left{never};  // allocations before one fails
std::atomic<bool> lasts{false};
thread_local bool isSpared = false;  // while the host of the test runs

bool fails() noexcept {
    if (isSpared) {
        return false;
    }
    const long before = left.fetch_sub(1);
    return lasts ? before <= 1 : before == 1;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* memory, std::size_t size);
void* __wrap_malloc(std::size_t size) {
    return fails() ? nullptr : __real_malloc(size);
}
void* __wrap_realloc(void* memory, std::size_t size) {
    return fails() ? nullptr : __real_realloc(memory, size);
}
}

// All forms are defined: a sanitizer brings its own for those that are missing.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return __wrap_malloc(size);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* const memory = __wrap_malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    operator delete(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

namespace em_pni::test {
namespace {

// Forwards to a host whose allocations never fail.
class CSparedHost final : public CIHostInterface {
  public:
    explicit CSparedHost(CIHostInterface& host) : host_(host) {}
    std::uint32_t SendRequest(CIExtensionModule* module, CKrcpMessage& message,
                              std::uint32_t timeoutMs) override {
        const bool before = std::exchange(isSpared, true);
        host_.SendRequest(module, message, timeoutMs);
        isSpared = before;
        return 1;
    }
    std::uint32_t SwitchStartFinished(CIExtensionModule*, std::uint32_t) override { return 1; }
    std::uint32_t GetHostKind() override { return 0; }

  private:
    CIHostInterface& host_;
};

class MemoryTest : public ModuleFixture, public testing::WithParamInterface<bool> {
  protected:
    MemoryTest() : ModuleFixture(GetParam() ? 5 : 0) {
        network_.interfaces[0].primary = {{10, 0, 0, 1}};  // there is something to write
        Begin();
        Cycle();
        new_ = host_.Image();
        newAnswer_ = Ask("");
        host_.Put(original_);
        Begin();
        oldAnswer_ = Ask("");
        EXPECT_NE(oldAnswer_, newAnswer_);
    }

    // Starts a new module. The controller keeps its record.
    void Begin() {
        owner_ = NewModule();
        owner_->SetCabinetNumber(0);
        owner_->Start(&sparedHost_, 0);
    }
    void Cycle() {
        owner_->OnSwitchStarted();
        owner_->Stop();
    }
    // The data of the answer, or its status.
    std::string Ask(const std::string& members, long failing = never) {
        CKrcpMessage request =
            parsedMessage(R"({"SIP":{"CMD":[{"CA":0,"OC":5952)" + members + "}]}}");
        Short(failing, [&] { owner_->ModuleRequest(request); });
        const rapidjson::Value* const data = krcp::findData(request);
        return krcp::status(request) == krcp::SUCCESS ? krcp::jsonText(*data)
                                                      : std::to_string(krcp::status(request));
    }
    // Runs `action`; the allocation with this number fails.
    template <class Action>
    void Short(long failing, Action action) {
        lasts = GetParam();
        left = failing;
        action();
        if (const long still = left.exchange(never); failing != never) {
            reached_ = still <= 0;
        }
        lasts = false;
    }

    CSparedHost sparedHost_{host_};
    Bytes new_;
    std::string oldAnswer_, newAnswer_;
    bool reached_ = false;
};

TEST_P(MemoryTest, OfAQuery) {
    const std::set<std::string> refusals = {std::to_string(krcp::ACCESS_VIOLATION),
                                            std::to_string(krcp::NOT_SUPPORTED),
                                            // no memory for the status
                                            std::to_string(krcp::REQUEST_PENDING)};
    const std::string filter = R"(,"DA":"{\"TechnologyType\":\"Eth\"}")";
    const std::string filtered = Ask(filter);
    int refused = 0;
    for (long n = 1; n == 1 || reached_; ++n) {
        Begin();
        const std::string answer = Ask(filter, n);
        ASSERT_TRUE(answer == filtered || refusals.contains(answer)) << n << ": " << answer;
        refused += answer == filtered ? 0 : 1;
        ASSERT_TRUE(Ask("") == oldAnswer_) << n;
    }
    EXPECT_GT(refused, 40);
}

TEST_P(MemoryTest, OfACycle) {
    const int step = !GetParam() && !isSanitized ? 1 : 7;
    long n = 1;
    for (; n == 1 || reached_; n += step) {
        host_.Put(original_);
        Begin();
        Short(n, [this] { Cycle(); });
        const Bytes image = host_.Image();
        ASSERT_TRUE(image == original_ || image == new_) << n;
        ASSERT_TRUE(Ask("") == (image == new_ ? newAnswer_ : oldAnswer_)) << n;
        Cycle();
        ASSERT_TRUE(host_.Image() == new_ && Ask("") == newAnswer_) << n;
    }
    EXPECT_GT(n, 500);
}

// The thread continues by itself when there is memory again.
TEST_P(MemoryTest, OfTheThread) {
    Configure("1");
    for (long n = 1; n < 1000; n += n < 10 ? 1 : 33) {
        host_.Put(original_);
        Begin();
        Short(n, [this] {
            isSpared = true;
            owner_->OnSwitchStarted();
            EXPECT_TRUE(soon([this] { return left <= 0 || host_.Image() == new_; }));
            isSpared = false;
        });
        ASSERT_TRUE(soon([this] { return host_.Image() == new_; })) << n;
        owner_->Stop();
        ASSERT_TRUE(Ask("") == newAnswer_) << n;
    }
}

TEST_P(MemoryTest, OfAnAddressThatMakesTheRecordLonger) {
    for (long n = 1; n == 1 || reached_; ++n) {
        CPniFruData record(sample("three-modules.fru"));
        Short(n, [&record] {
            guarded("the test", false, [&record] {
                return record.AssignIpv6Address(sampleMac(3, 1), Bytes(16, 1), 1);
            });
        });
        ASSERT_TRUE(record.IsValid()) << n;
    }
}

// A failed member must not be counted: the next one would be written behind the object.
TEST_P(MemoryTest, OfADocument) {
    const std::string before = R"({"SIP":{"CMD":[{"OC":1}]}})";
    CKrcpMessage message = parsedMessage(before);
    auto& allocator = message.document.GetAllocator();
    allocator.Malloc(allocator.Capacity() - allocator.Size());
    Short(1, [&] { guarded("the test", false, [&] { return krcp::setStatus(message, 7); }); });
    EXPECT_EQ(krcp::jsonText(message.document), before);
    EXPECT_TRUE(krcp::setStatus(message, 7));
    EXPECT_EQ(krcp::jsonText(message.document), R"({"SIP":{"CMD":[{"OC":1,"ST":7}]}})");
}

// Without memory the trace stays off and the process continues.
TEST_P(MemoryTest, OfTheTrace) {
    trace_.End();
    ASSERT_EQ(::setenv("QL_LOG_FILE_DIR", directory_.Path().c_str(), 1), 0);
    for (long n = 1; n == 1 || reached_; ++n) {
        Short(n, [] { const CDebugClient client("EM_PNI"); });
    }
    EXPECT_NE(contentOf(directory_.File("log.EM_PNI")), "");
}

// True: all later allocations fail too, and tracing is on.
INSTANTIATE_TEST_SUITE_P(, MemoryTest, testing::Bool());

}  // namespace
}  // namespace em_pni::test
