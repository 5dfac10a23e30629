// The management controller as the module sees it: answers requests for the FRU data.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <optional>
#include <string>
#include <vector>

#include "em_pni/krcp_message.h"
#include "host/machine/fru_store.h"
#include "platform/recursive_lock.h"

namespace em_pni {

// Learns what the controller does, in that order, in one thread at a time. Must not call the
// module, which waits for the answer.
class CIFruListener {
  public:
    virtual void OnRead(std::size_t /*bytes*/) {}
    virtual void OnWritten(std::size_t /*bytes*/) {}
    // A write has ended after its answer DEVICE_BUSY. OnWritten follows with the next answer, best
    // to the same write, which sends nothing then: a cycle of the module asks for it.
    virtual void OnLateWrite() {}
    virtual void OnReadFailed(const std::string& reason) = 0;
    virtual void OnWriteFailed(const std::string& reason) = 0;
    // The FRU data are not those that the module has read: nothing is written until it reads again.
    virtual void OnChangedByOthers() {}
    // A remark for the user.
    virtual void OnNote(const std::string& text) = 0;

  protected:
    ~CIFruListener() = default;
};

class CFruController {
  public:
    using Clock = std::chrono::steady_clock;
    enum class Access { readOnly, readWrite };

    // Both must outlive the controller. With readOnly, the answer to a write is OBJ_WRITE_PROTECT
    // and the listener is not called. SET_STRING_TOOLONG refuses a record of more than `capacity`
    // bytes, and one that needs the place of another area of the image. A write keeps the bytes of
    // the other areas and never shortens the image. It is refused when the stored bytes are not
    // those of the last read or write.
    CFruController(CIFruStore& store, CIFruListener& listener, Access access,
                   std::size_t capacity = SIZE_MAX)
        : store_(store), listener_(listener), access_(access), capacity_(capacity) {}
    // Finishes.
    ~CFruController();
    CFruController(const CFruController&) = delete;
    CFruController& operator=(const CFruController&) = delete;

    // Writes the data of the answer and returns its status. Returns no value for a command that is
    // not about the FRU data. Any thread may call. A write that takes longer than `timeout` is
    // answered DEVICE_BUSY and goes on in another thread. The next answer waits for it.
    std::optional<std::uint32_t> Answer(CKrcpMessage& message, std::chrono::milliseconds timeout);

    // A start of the module reads the FRU data several times. From now on the answer to a read is
    // what was read or written last, so that a slow controller is read once. A write compares with
    // the stored bytes all the same. When one fails, the next answer comes from the store again.
    // `bytes` were read by the caller just before; empty = the first answer comes from the store.
    void BeginStart(std::vector<std::uint8_t> bytes);
    // From now on each read is answered from the store. Any thread may call.
    void EndStart() noexcept { isStart_ = false; }

    // Waits for a write that goes on.
    void Finish();
    // Any thread may call this and the next function.
    [[nodiscard]] bool IsWriting() const noexcept { return state_ != WriteState::none; }
    // When the last write of bytes ended; now while one may be under way.
    [[nodiscard]] Clock::time_point LastWrite() const noexcept {
        return IsWriting() ? Clock::now() : lastWrite_.load();
    }

  private:
    // Each returns the status of the answer.
    std::uint32_t ReadFru(CKrcpMessage& message) PNI_REQUIRES(lock_);
    void ReadStore() PNI_REQUIRES(lock_);
    std::uint32_t WriteFru(const CKrcpMessage& message, std::chrono::milliseconds timeout)
        PNI_REQUIRES(lock_);
    // These run in one thread at a time: `lock_` is held, or `write_` is not ready.
    std::uint32_t RunWrite(std::vector<std::uint8_t> record) noexcept;
    std::uint32_t ReplaceRecord(std::vector<std::uint8_t> record);
    std::uint32_t TryToReplaceRecord(std::vector<std::uint8_t> record);
    void MendStore();

    CRecursiveLock lock_;  // one request at a time, its listener call included
    CIFruStore& store_;
    CIFruListener& listener_;
    const Access access_;
    const std::size_t capacity_;       // in bytes
    std::vector<std::uint8_t> known_;  // as last read or written; empty = not yet
    std::atomic<bool> isStart_{false};
    enum class WriteState { none, running, late };  // late: answered DEVICE_BUSY
    std::atomic<WriteState> state_{WriteState::none};
    std::atomic<Clock::time_point> lastWrite_{Clock::time_point::min()};
    std::future<std::uint32_t> write_ PNI_GUARDED_BY(lock_);
    // The record of the last late write, until the module knows that it is stored.
    std::vector<std::uint8_t> late_ PNI_GUARDED_BY(lock_);
};

}  // namespace em_pni
