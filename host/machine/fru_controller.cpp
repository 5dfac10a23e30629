#include "host/machine/fru_controller.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "host/machine/fru_areas.h"

namespace em_pni {

CFruController::~CFruController() {
    Finish();
}

void CFruController::Finish() {
    const CRecursiveLockGuard guard(lock_);
    if (!write_.valid()) {
        return;
    }
    if (write_.get() == krcp::SUCCESS) {
        listener_.OnWritten(late_.size());
    } else {
        late_.clear();
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

void CFruController::BeginStart(std::vector<std::uint8_t> bytes) {
    const CRecursiveLockGuard guard(lock_);
    Finish();
    known_ = std::move(bytes);
    isStart_ = true;
    if (!known_.empty()) {
        listener_.OnRead(known_.size());
    }
}

std::uint32_t CFruController::ReadFru(CKrcpMessage& message) {
    try {
        late_.clear();
        if (!isStart_ || known_.empty()) {
            ReadStore();
        }
        return krcp::setRawBytes(message, known_) ? krcp::SUCCESS : krcp::INVALID_CMD;
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
    if (std::exchange(late_, {}) == bytes) {
        return krcp::SUCCESS;
    }
    state_ = WriteState::running;
    try {
        write_ = std::async(std::launch::async, [this, record = bytes]() mutable {
            return RunWrite(std::move(record));
        });
    } catch (const std::exception&) {
        state_ = WriteState::none;
        listener_.OnWriteFailed(store_.Name() + ": cannot start a thread for the write");
        return krcp::EXEC_FAILED;
    }
    auto running = WriteState::running;
    if (write_.wait_for(timeout) != std::future_status::ready &&
        state_.compare_exchange_strong(running, WriteState::late)) {
        late_ = std::move(bytes);
        return krcp::DEVICE_BUSY;
    }
    return write_.get();
}

std::uint32_t CFruController::RunWrite(std::vector<std::uint8_t> record) noexcept {
    const std::size_t size = record.size();
    std::uint32_t status = krcp::EXEC_FAILED;
    try {
        status = ReplaceRecord(std::move(record));
    } catch (const std::exception&) {
        // There is too little memory for the text of an error.
    }
    const bool isLate = state_.exchange(WriteState::none) == WriteState::late;
    if (status == krcp::SUCCESS) {
        isLate ? listener_.OnLateWrite() : listener_.OnWritten(size);
    }
    return status;
}

std::uint32_t CFruController::ReplaceRecord(std::vector<std::uint8_t> record) {
    std::uint32_t status = krcp::EXEC_FAILED;
    try {
        status = TryToReplaceRecord(std::move(record));
    } catch (const CFruProtected& error) {
        listener_.OnWriteFailed(error.what());
        status = krcp::OBJ_WRITE_PROTECT;
    } catch (const CHostError& error) {
        listener_.OnWriteFailed(error.what());
    } catch (const std::bad_alloc&) {
        listener_.OnWriteFailed(store_.Name() + ": too little memory for the write");
    }
    if (status != krcp::SUCCESS) {
        EndStart();
    }
    return status;
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
    const std::vector<std::uint8_t> image =
        withAreasOf(areas, CByteView(stored), std::move(record));
    if (image != stored) {
        lastWrite_ = Clock::now();  // also of a write that fails
        store_.Write(stored, image);
        lastWrite_ = Clock::now();
    }
    known_ = image;
    return krcp::SUCCESS;
}

void CFruController::ReadStore() {
    if (access_ == Access::readWrite) {
        MendStore();
    }
    known_ = store_.Read();
    listener_.OnRead(known_.size());
}

void CFruController::MendStore() {
    if (const auto note = store_.Mend()) {
        listener_.OnNote(store_.Name() + ": " + *note);
    }
}

}  // namespace em_pni
