// KRCP command documents: how a host, its modules and the management controller talk.
//
// A message is a JSON document {"SIP": {"CMD": [command, ...]}} and the index of the current
// command. Members of a command:
//
//   "OC"  opcode, 16 bits                   "MI"  message id, 32 bits, given by the host
//   "OE"  opcode extension, 16 bits         "ST"  status, 8 bits, written by the answering side
//   "OI"  object index                      "DA"  data: number, string, object or array
//   "CA"  cabinet number, signed
//
// Raw bytes travel as "DA": {"RAW": [0..255, ...]}. A message belongs to one thread at a time.
// Every function here takes any document whatever: what is missing or of another type reads as not
// there. Nothing throws except for lack of memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <rapidjson/document.h>
#include <span>
#include <utility>
#include <vector>

namespace em_pni {

struct CKrcpMessage {
    rapidjson::Document document;
    std::uint32_t index = 0;  // of the current command in "CMD"
};

namespace krcp {

enum Opcode : std::uint16_t {
    readFru = 0x0C10,
    writeFru = 0x0C11,
    deviceDataChanged = 0x141E,  // event CM_DeviceInfoDeviceDataChanged
    ipAddressChanged = 0x170F,   // event CM_NetworkInfoIpAddressChanged
    clearNetworkSnapshot = 0x1722,
    readPniData = 0x1740,

    // Questions about the host's network interfaces; "OI" is the number of the interface, from 0,
    // where nothing else is said. Numbers come back as "DA", addresses as raw bytes.
    interfaceCount = 0x1700,  // "OI" 0
    interfaceType = 0x1701,   // ethernetType or another number
    ipAddress = 0x1703,       // "OE" IpAddressKind, "OI" index among those << 16 | interface
    macAddress = 0x1707,
    linkSpeed = 0x170C,  // kbit/s
    linkState = 0x1730,  // linkIsUp or another number
};

enum IpAddressKind : std::uint16_t { anyAddress = 0, primaryAddress = 1, transientAddress = 2 };

inline constexpr std::uint64_t ethernetType = 6;
inline constexpr std::uint64_t linkIsUp = 1;

inline constexpr std::uint16_t pniFruExtension = 0x002E;  // "OE" of readFru and writeFru

// <netdb.h> has a macro of this name; whoever includes that as well writes the number.
#pragma push_macro("NO_DATA")
#undef NO_DATA

enum Status : std::uint8_t {
    SUCCESS = 0,
    INVALID_CMD = 1,
    INVALID_OBJ = 2,
    DEVICE_NOT_EXIST = 3,
    INVALID_SET_VALUE = 4,
    DEVICE_BUSY = 5,
    EXEC_FAILED = 6,
    OBJ_READONLY = 7,
    OBJ_WRITE_PROTECT = 8,
    INTERFACE_CORRUPT = 9,
    SET_STRING_TOOLONG = 10,
    NO_MORE_REPLIES = 12,
    ACCESS_VIOLATION = 13,
    DEVICE_NOT_RESPONDING = 15,
    CHECKSUM_ERROR = 16,
    OUT_OF_MEMORY = 17,
    ILLEGAL_NR_ARGS = 18,
    NO_DATA = 19,
    INVALID_CABINET_NUMBER = 20,
    MORE_REPLIES_FOLLOWING = 21,
    REQUEST_PENDING = 22,
    CMD_HEADER_INCOMPLETE = 23,
    ACCESS_DENIED = 24,
    NOT_SUPPORTED = 25,
    OBJ_WRITEONLY = 26,
    EVENT_MESSAGE = 255,
};

#pragma pop_macro("NO_DATA")

// The word for a status; "UNKNOWN" where a code has none.
inline const char* statusName(std::uint32_t status) noexcept {
    static constexpr const char* unknown = "UNKNOWN";
    static constexpr const char* names[] = {
        "SUCCESS",
        "INVALID_CMD",
        "INVALID_OBJ",
        "DEVICE_NOT_EXIST",
        "INVALID_SET_VALUE",
        "DEVICE_BUSY",
        "EXEC_FAILED",
        "OBJ_READONLY",
        "OBJ_WRITE_PROTECT",
        "INTERFACE_CORRUPT",
        "SET_STRING_TOOLONG",
        unknown,
        "NO_MORE_REPLIES",
        "ACCESS_VIOLATION",
        unknown,
        "DEVICE_NOT_RESPONDING",
        "CHECKSUM_ERROR",
        "OUT_OF_MEMORY",
        "ILLEGAL_NR_ARGS",
        "NO_DATA",
        "INVALID_CABINET_NUMBER",
        "MORE_REPLIES_FOLLOWING",
        "REQUEST_PENDING",
        "CMD_HEADER_INCOMPLETE",
        "ACCESS_DENIED",
        "NOT_SUPPORTED",
        "OBJ_WRITEONLY",
    };
    if (status == EVENT_MESSAGE) {
        return "EVENT_MESSAGE";
    }
    return status < std::size(names) ? names[status] : unknown;
}

inline bool isSuccess(std::uint32_t status) noexcept {
    return status == SUCCESS || status == NO_MORE_REPLIES || status == MORE_REPLIES_FOLLOWING ||
           status == EVENT_MESSAGE;
}

// A member of an object, null when `value` is no object or has no such member.
inline const rapidjson::Value* findMember(const rapidjson::Value& value, const char* key) noexcept {
    if (!value.IsObject()) {
        return nullptr;
    }
    const auto member = value.FindMember(key);
    return member != value.MemberEnd() ? &member->value : nullptr;
}

// The command with this index when it is there and an object, else null.
inline const rapidjson::Value* findCommand(const CKrcpMessage& message,
                                           std::uint32_t index) noexcept {
    const rapidjson::Value* const sip = findMember(message.document, "SIP");
    const rapidjson::Value* const commands = sip != nullptr ? findMember(*sip, "CMD") : nullptr;
    if (commands == nullptr || !commands->IsArray() || index >= commands->Size() ||
        !(*commands)[index].IsObject()) {
        return nullptr;
    }
    return &(*commands)[index];
}

// The integer member `key` of a command; `defaultValue` when it is missing or no integer.
inline std::int64_t GetValue(const CKrcpMessage& message, std::uint32_t index, const char* key,
                             std::int64_t defaultValue) noexcept {
    const rapidjson::Value* const command = findCommand(message, index);
    const rapidjson::Value* const value = command != nullptr ? findMember(*command, key) : nullptr;
    return value != nullptr && value->IsInt64() ? value->GetInt64() : defaultValue;
}

// Fields of the current command, 0 when missing.
inline std::uint16_t opcode(const CKrcpMessage& message) noexcept {
    return static_cast<std::uint16_t>(GetValue(message, message.index, "OC", 0));
}

// "ST" of the current command: REQUEST_PENDING when it is missing or can be no status.
inline std::uint32_t status(const CKrcpMessage& message) noexcept {
    const std::int64_t value = GetValue(message, message.index, "ST", REQUEST_PENDING);
    return value >= 0 && value <= 255 ? static_cast<std::uint32_t>(value)
                                      : std::uint32_t{REQUEST_PENDING};
}

// "DA" of the current command, null when there is none.
inline const rapidjson::Value* findData(const CKrcpMessage& message) noexcept {
    const rapidjson::Value* const command = findCommand(message, message.index);
    return command != nullptr ? findMember(*command, "DA") : nullptr;
}

// Whether a reply succeeded and carries data.
inline bool hasData(const CKrcpMessage& message) noexcept {
    return isSuccess(status(message)) && findData(message) != nullptr;
}

// Appends the raw bytes of the current command to `bytes`; returns their number. An element that is
// no integer 0..255 means that there are none: nothing is appended.
inline std::size_t copyRawBytes(const CKrcpMessage& message, std::vector<std::uint8_t>& bytes) {
    const rapidjson::Value* const data = findData(message);
    const rapidjson::Value* const raw = data != nullptr ? findMember(*data, "RAW") : nullptr;
    if (raw == nullptr || !raw->IsArray()) {
        return 0;
    }
    const std::size_t before = bytes.size();
    bytes.reserve(before + raw->Size());
    for (const rapidjson::Value& element : raw->GetArray()) {
        if (!element.IsUint() || element.GetUint() > 255) {
            bytes.resize(before);
            return 0;
        }
        bytes.push_back(static_cast<std::uint8_t>(element.GetUint()));
    }
    return raw->Size();
}

// A non-negative number is stored as unsigned, a negative one as signed.
inline rapidjson::Value number(std::int64_t value) {
    return value >= 0 ? rapidjson::Value(static_cast<std::uint64_t>(value))
                      : rapidjson::Value(value);
}

// The current command, for writing. Empty commands are appended up to the index; null when "SIP" or
// "CMD" is missing, the entry is no object, or the index is beyond all reason.
inline rapidjson::Value* commandForWriting(CKrcpMessage& message) {
    constexpr std::uint32_t maxCommands = 4096;
    const rapidjson::Value* const sip = findMember(message.document, "SIP");
    const rapidjson::Value* const found = sip != nullptr ? findMember(*sip, "CMD") : nullptr;
    if (found == nullptr || !found->IsArray() || message.index >= maxCommands) {
        return nullptr;
    }
    rapidjson::Value& commands = message.document["SIP"]["CMD"];
    while (commands.Size() <= message.index) {
        commands.PushBack(rapidjson::Value(rapidjson::kObjectType),
                          message.document.GetAllocator());
    }
    rapidjson::Value& command = commands[message.index];
    return command.IsObject() ? &command : nullptr;
}

// Makes room for one more member of an object, or throws and leaves it as it was. RapidJSON's own
// growth counts room that it may then not get.
inline void reserveMember(rapidjson::Value& object, rapidjson::Document::AllocatorType& allocator) {
    rapidjson::Value larger(rapidjson::kObjectType);
    for (rapidjson::SizeType i = 0; i <= object.MemberCount(); ++i) {
        larger.AddMember("", rapidjson::Value(), allocator);
    }
    larger.RemoveAllMembers();
    std::for_each(object.MemberBegin(), object.MemberEnd(),
                  [&](auto& member) { larger.AddMember(member.name, member.value, allocator); });
    object.Swap(larger);
}

// Sets a member of the current command, replacing what it holds; `value` must come from the
// message's own allocator. False, and nothing changed, where there is no command to write to.
// `key` is kept by reference: a literal.
inline bool setMember(CKrcpMessage& message, const char* key, rapidjson::Value value) {
    rapidjson::Value* const command = commandForWriting(message);
    if (command == nullptr) {
        return false;
    }
    if (findMember(*command, key) != nullptr) {
        (*command)[key] = std::move(value);
    } else {
        reserveMember(*command, message.document.GetAllocator());
        command->AddMember(rapidjson::Value(rapidjson::StringRef(key)), value,
                           message.document.GetAllocator());
    }
    return true;
}

inline bool setStatus(CKrcpMessage& message, std::uint32_t statusCode) {
    return setMember(message, "ST", number(statusCode));
}

inline bool setRawBytes(CKrcpMessage& message, std::span<const std::uint8_t> bytes) {
    auto& allocator = message.document.GetAllocator();
    rapidjson::Value raw(rapidjson::kArrayType);
    raw.Reserve(static_cast<rapidjson::SizeType>(bytes.size()), allocator);
    for (const std::uint8_t byte : bytes) {
        raw.PushBack(static_cast<unsigned>(byte), allocator);
    }
    rapidjson::Value data(rapidjson::kObjectType);
    data.AddMember("RAW", raw, allocator);
    return setMember(message, "DA", std::move(data));
}

// A message with one command and without status and data.
inline CKrcpMessage makeRequest(std::uint16_t opcodeValue, std::uint16_t extension,
                                std::uint32_t objectIndex, std::int32_t cabinet) {
    CKrcpMessage message;
    auto& allocator = message.document.GetAllocator();
    rapidjson::Value command(rapidjson::kObjectType);
    command.AddMember("OC", number(opcodeValue), allocator);
    command.AddMember("OE", number(extension), allocator);
    command.AddMember("OI", number(objectIndex), allocator);
    command.AddMember("CA", number(cabinet), allocator);
    rapidjson::Value commands(rapidjson::kArrayType);
    commands.PushBack(command, allocator);
    rapidjson::Value sip(rapidjson::kObjectType);
    sip.AddMember("CMD", commands, allocator);
    message.document.SetObject().AddMember("SIP", sip, allocator);
    return message;
}

}  // namespace krcp
}  // namespace em_pni
