#include "host/machine/network_answers.h"

#include <algorithm>
#include <limits>

#include "host/output/host_error.h"

namespace em_pni {

namespace {

std::uint32_t answerNumber(CKrcpMessage& message, std::optional<std::uint64_t> value) {
    if (!value) {
        return krcp::NO_DATA;
    }
    return krcp::setMember(message, "DA", rapidjson::Value(*value)) ? krcp::SUCCESS
                                                                    : krcp::INVALID_CMD;
}

std::uint32_t answerBytes(CKrcpMessage& message, std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) {
        return krcp::NO_DATA;
    }
    return krcp::setRawBytes(message, bytes) ? krcp::SUCCESS : krcp::INVALID_CMD;
}

// The address with this index among those of the kind. Empty when there is no such index.
IpAddress findAddress(const NetworkInterface& interface, std::int64_t kind, std::uint32_t index) {
    const AddressLists& lists = interface.addresses;
    const auto& list = kind == krcp::primaryAddress     ? lists.primary
                       : kind == krcp::transientAddress ? lists.transient
                                                        : lists.any;
    return index < list.size() ? list[index] : IpAddress();
}

std::uint32_t answerAbout(const NetworkInterface& interface, std::int64_t opcode,
                          CKrcpMessage& message) {
    switch (opcode) {
        case krcp::interfaceType:
            return answerNumber(message, interface.type);
        case krcp::macAddress:
            return answerBytes(message, interface.mac);
        case krcp::linkSpeed:
            return answerNumber(message, interface.speed);
        case krcp::linkState:
            return answerNumber(message, interface.linkState);
        default:
            return krcp::INVALID_CMD;
    }
}

bool isNetworkOpcode(std::int64_t opcode) noexcept {
    static constexpr krcp::Opcode opcodes[] = {krcp::interfaceCount, krcp::interfaceType,
                                               krcp::ipAddress,      krcp::macAddress,
                                               krcp::linkSpeed,      krcp::linkState};
    return std::find(std::begin(opcodes), std::end(opcodes), opcode) != std::end(opcodes);
}

// `message` has a network opcode.
std::uint32_t answerNetworkRequest(const NetworkSnapshot& snapshot, CKrcpMessage& message) {
    const std::int64_t opcode = krcp::GetValue(message, message.index, "OC", 0);
    const std::int64_t extension = krcp::GetValue(message, message.index, "OE", 0);
    const std::int64_t object = krcp::GetValue(message, message.index, "OI", 0);
    const std::int64_t lastExtension = opcode == krcp::ipAddress ? krcp::transientAddress : 0;
    if (extension < 0 || extension > lastExtension) {
        return krcp::INVALID_CMD;
    }
    if (opcode == krcp::interfaceCount) {
        return answerNumber(message, snapshot.size());
    }
    if (object < 0 || object > std::numeric_limits<std::uint32_t>::max()) {
        return krcp::INVALID_OBJ;
    }
    const auto parameter = static_cast<std::uint32_t>(object);
    const std::uint32_t number = opcode == krcp::ipAddress ? parameter & 0xFFFFU : parameter;
    if (number >= snapshot.size()) {
        return krcp::INVALID_OBJ;
    }
    if (opcode == krcp::ipAddress) {
        return answerBytes(message, findAddress(snapshot[number], extension, parameter >> 16U));
    }
    return answerAbout(snapshot[number], opcode, message);
}

}  // namespace

std::optional<std::uint32_t> CNetworkAnswers::Answer(CKrcpMessage& message) {
    const std::int64_t opcode = krcp::GetValue(message, message.index, "OC", 0);
    const CRecursiveLockGuard guard(lock_);
    if (opcode == krcp::clearNetworkSnapshot) {
        snapshot_.reset();
        // The module takes an answer without data as a failure.
        return answerNumber(message, 1);
    }
    if (!isNetworkOpcode(opcode)) {
        return std::nullopt;
    }
    if (!RequireSnapshot()) {
        return krcp::EXEC_FAILED;
    }
    return answerNetworkRequest(*snapshot_, message);
}

bool CNetworkAnswers::RequireSnapshot() {
    if (snapshot_) {
        return true;
    }
    try {
        snapshot_ = view_.Take();
        failed_ = false;
    } catch (const CHostError& error) {
        if (!failed_) {
            console_.Error(error.what());
        }
        failed_ = true;
    }
    return !failed_;
}

}  // namespace em_pni
