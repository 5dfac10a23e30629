#include "host/machine/fru_controller.h"

#include <utility>
#include <vector>

#include "host/machine/fru_areas.h"
#include "host/output/host_error.h"

namespace em_pni {

std::optional<std::uint32_t> CFruController::Answer(CKrcpMessage& message) {
    const std::int64_t opcode = krcp::GetValue(message, message.index, "OC", 0);
    const std::int64_t extension = krcp::GetValue(message, message.index, "OE", 0);
    const CRecursiveLockGuard guard(lock_);
    if (opcode == krcp::readFru && extension == krcp::pniFruExtension) {
        return ReadFru(message);
    }
    if (opcode == krcp::writeFru && extension == krcp::pniFruExtension) {
        return WriteFru(message);
    }
    return std::nullopt;
}

std::uint32_t CFruController::ReadFru(CKrcpMessage& message) {
    try {
        const std::vector<std::uint8_t> bytes = image_.Read();
        if (!krcp::setRawBytes(message, bytes)) {
            return krcp::INVALID_CMD;
        }
        listener_.OnRead(bytes.size());
        return krcp::SUCCESS;
    } catch (const CHostError& error) {
        listener_.OnReadFailed(error.what());
        return krcp::EXEC_FAILED;
    }
}

std::uint32_t CFruController::WriteFru(const CKrcpMessage& message) {
    if (access_ == Access::readOnly) {
        return krcp::OBJ_WRITE_PROTECT;
    }
    std::vector<std::uint8_t> bytes;
    if (krcp::copyRawBytes(message, bytes) == 0) {
        listener_.OnWriteFailed(image_.Name() + ": the record to write is not an array of bytes");
        return krcp::INVALID_SET_VALUE;
    }
    if (bytes.size() > capacity_) {
        listener_.OnWriteFailed(
            image_.Name() + ": the record to write has " + std::to_string(bytes.size()) +
            " bytes, but the controller takes only " + std::to_string(capacity_));
        return krcp::SET_STRING_TOOLONG;
    }
    try {
        return ReplaceRecord(std::move(bytes));
    } catch (const CHostError& error) {
        listener_.OnWriteFailed(error.what());
        return krcp::EXEC_FAILED;
    }
}

std::uint32_t CFruController::ReplaceRecord(std::vector<std::uint8_t> record) {
    const std::vector<std::uint8_t> bytes = image_.Read();
    const CByteView stored(bytes);
    const std::vector<FruArea> areas = neighbourAreas(stored);
    if (const auto area = areaInTheWay(areas, stored, CByteView(record))) {
        listener_.OnWriteFailed(image_.Name() +
                                ": no room: the record to write needs the place of the " +
                                textOf(*area));
        return krcp::SET_STRING_TOOLONG;
    }
    const std::size_t size = record.size();
    image_.Replace(withAreasOf(areas, stored, std::move(record)));
    listener_.OnWritten(size);
    return krcp::SUCCESS;
}

}  // namespace em_pni
