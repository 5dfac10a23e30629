#include "host/machine/fru_controller.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "host/machine/fru_areas.h"

namespace em_pni {

namespace {

// Ends the time of a write.
class CWriteMark {
  public:
    explicit CWriteMark(std::atomic<bool>& flag) : flag_(flag) {}
    ~CWriteMark() { flag_ = false; }
    CWriteMark(const CWriteMark&) = delete;
    CWriteMark& operator=(const CWriteMark&) = delete;

  private:
    std::atomic<bool>& flag_;
};

}  // namespace

CFruController::~CFruController() {
    Finish();
}

void CFruController::Finish() {
    const CRecursiveLockGuard guard(lock_);
    if (write_.valid()) {
        write_.wait();
    }
}

std::optional<std::uint32_t> CFruController::Answer(CKrcpMessage& message,
                                                    std::chrono::milliseconds timeout) {
    const std::int64_t opcode = krcp::GetValue(message, message.index, "OC", 0);
    const std::int64_t extension = krcp::GetValue(message, message.index, "OE", 0);
    if (extension != krcp::pniFruExtension ||
        (opcode != krcp::readFru && opcode != krcp::writeFru)) {
        return std::nullopt;
    }
    const CRecursiveLockGuard guard(lock_);
    Finish();
    return opcode == krcp::readFru ? ReadFru(message) : WriteFru(message, timeout);
}

std::uint32_t CFruController::ReadFru(CKrcpMessage& message) {
    try {
        if (access_ == Access::readWrite) {
            MendStore();
        }
        known_ = store_.Read();
        if (!krcp::setRawBytes(message, known_)) {
            return krcp::INVALID_CMD;
        }
        listener_.OnRead(known_.size());
        return krcp::SUCCESS;
    } catch (const CHostError& error) {
        listener_.OnReadFailed(error.what());
        return krcp::EXEC_FAILED;
    }
}

std::uint32_t CFruController::WriteFru(const CKrcpMessage& message,
                                       std::chrono::milliseconds timeout) {
    if (access_ == Access::readOnly) {
        return krcp::OBJ_WRITE_PROTECT;
    }
    std::vector<std::uint8_t> bytes;
    if (krcp::copyRawBytes(message, bytes) == 0) {
        listener_.OnWriteFailed(store_.Name() + ": the record to write is not an array of bytes");
        return krcp::INVALID_SET_VALUE;
    }
    isWriting_ = true;
    try {
        write_ = std::async(std::launch::async, [this, record = std::move(bytes)]() mutable {
            const CWriteMark mark(isWriting_);
            return ReplaceRecord(std::move(record));
        });
    } catch (const std::system_error&) {
        isWriting_ = false;
        listener_.OnWriteFailed(store_.Name() + ": cannot start a thread for the write");
        return krcp::EXEC_FAILED;
    }
    if (write_.wait_for(timeout) != std::future_status::ready) {
        return krcp::DEVICE_BUSY;
    }
    return write_.get();
}

std::uint32_t CFruController::ReplaceRecord(std::vector<std::uint8_t> record) {
    try {
        return TryToReplaceRecord(std::move(record));
    } catch (const CFruProtected& error) {
        listener_.OnWriteFailed(error.what());
        return krcp::OBJ_WRITE_PROTECT;
    } catch (const CHostError& error) {
        listener_.OnWriteFailed(error.what());
        return krcp::EXEC_FAILED;
    }
}

std::uint32_t CFruController::TryToReplaceRecord(std::vector<std::uint8_t> record) {
    MendStore();
    const std::vector<std::uint8_t> stored = store_.Read();
    const std::size_t room = std::min(capacity_, store_.Capacity(stored.size()));
    if (record.size() > room) {
        listener_.OnWriteFailed(store_.Name() + ": the record to write has " +
                                std::to_string(record.size()) +
                                " bytes, but the controller takes only " + std::to_string(room));
        return krcp::SET_STRING_TOOLONG;
    }
    if (!known_.empty() && known_ != stored) {
        listener_.OnChangedByOthers();
        return krcp::EXEC_FAILED;
    }
    const std::vector<FruArea> areas = neighbourAreas(CByteView(stored));
    if (const auto area = areaInTheWay(areas, CByteView(stored), CByteView(record))) {
        listener_.OnWriteFailed(store_.Name() +
                                ": no room: the record to write needs the place of the " +
                                textOf(*area));
        return krcp::SET_STRING_TOOLONG;
    }
    const std::size_t size = record.size();
    const std::vector<std::uint8_t> image =
        withAreasOf(areas, CByteView(stored), std::move(record));
    if (image != stored) {
        store_.Write(stored, image);
    }
    known_ = image;
    listener_.OnWritten(size);
    return krcp::SUCCESS;
}

void CFruController::MendStore() {
    if (const auto note = store_.Mend()) {
        listener_.OnNote(store_.Name() + ": " + *note);
    }
}

}  // namespace em_pni
