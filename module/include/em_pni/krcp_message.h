// KRCP command documents. A host, its modules and the management controller exchange them.
//
// A message is a JSON document {"SIP": {"CMD": [command, ...]}} and the index of the current
// command. The members of a command:
//
//   "OC"  opcode, 16 bits                   "MI"  message id, 32 bits, set by the host
//   "OE"  opcode extension, 16 bits         "ST"  status, 8 bits, set by the side that answers
//   "OI"  object index, 32 bits             "DA"  data: number, string, object or array
//   "CA"  cabinet number, signed 32 bits
//
// Raw bytes have the form "DA": {"RAW": [0..255, ...]}, one number per byte.
//
// One thread at a time may use a message. The functions below accept any document. They treat a
// member of the wrong type as missing. They do not touch the document of a message with another tag
// than their own: functions that read find no command in it, functions that write refuse it.
// Without memory, functions that write throw std::bad_alloc in the module. In a host RapidJSON's
// own behaviour applies: it does not check for memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <rapidjson/document.h>
#include <span>
#include <utility>
#include <vector>

#include "em_pni/interface_tag.h"

// These functions are long and called rarely. Copies at each call made a module 20 KB larger.
#define EM_PNI_NOINLINE __attribute__((noinline))

namespace em_pni {

struct CKrcpMessage {
    // The first two members have the same place in all versions: any code can read them.
    InterfaceTag tag = interfaceTag;  // of the code that made the message
    std::uint32_t index = 0;          // position of the current command in "CMD"
    rapidjson::Document document;
};

namespace krcp {

enum Opcode : std::uint16_t {
    // Requests to the host for the FRU image with the record: "OE" is pniFruExtension, "OI" the low
    // 16 bits of the cabinet number, the image is raw bytes.
    readFru = 0x0C10,   // the reply holds the image
    writeFru = 0x0C11,  // the request holds the image

    // Events to the module: "ST" is EVENT_MESSAGE.
    deviceDataChanged = 0x141E,  // CM_DeviceInfoDeviceDataChanged; "DA" is a DeviceAction
    ipAddressChanged = 0x170F,   // CM_NetworkInfoIpAddressChanged

    // Request to the host: read the network interfaces again. The reply must hold data of any kind.
    clearNetworkSnapshot = 0x1722,
    // Request to the module for its inventory. "CA" must be the cabinet number. "DA" may be a
    // filter, a JSON text as a string or as raw bytes:
    // {"Filter": {"ModuleFilter": {"TechnologyType": "FC"}, "ResultFilter": ["Speed", ...]}}
    // The reply holds the inventory as an object.
    readPniData = 0x1740,

    // Requests to the host about its network interfaces. "OI" is the number of the interface, from
    // 0, unless a line says otherwise. A number is in "DA" of the reply. An address is raw bytes in
    // network order.
    interfaceCount = 0x1700,  // "OI" is 0
    interfaceType = 0x1701,   // ethernetType or another number
    ipAddress = 0x1703,   // "OE" is an IpAddressKind, "OI" is index << 16 | interface; the index
                          // counts the addresses of this kind from 0; 4 or 16 bytes
    macAddress = 0x1707,  // 6 or 8 bytes
    linkSpeed = 0x170C,   // kbit/s
    linkState = 0x1730,   // linkIsUp or another number
};

// What happened to a device. The module reads missing data as instanceAdded.
enum DeviceAction : std::uint8_t {
    instanceAdded = 0,    // a card was plugged in
    instanceChanged = 1,  // the module looks for new cards, as for instanceAdded
    instanceRemoved = 2,  // a card was pulled
};

enum IpAddressKind : std::uint16_t {
    anyAddress = 0,        // primary and transient addresses
    primaryAddress = 1,    // permanent addresses
    transientAddress = 2,  // temporary addresses
};

inline constexpr std::uint32_t ethernetType = 6;  // as ifType of the interfaces MIB
inline constexpr std::uint32_t linkIsUp = 1;      // as ifOperStatus of the interfaces MIB

inline constexpr std::uint16_t pniFruExtension = 0x002E;  // "OE" of readFru and writeFru

// <netdb.h> defines a macro NO_DATA. A file that includes both headers writes the number 19.
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

// The name of a status code. "UNKNOWN" for a code without a name. The text is static.
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

// Whether the message has the tag of this code. Any use of the document of another message, also a
// copy or a move, reads memory of an unknown layout.
inline bool isReadable(const CKrcpMessage& message) noexcept {
    return message.tag == interfaceTag;
}

// Returns whether a side may use a message of the other side. When it may not, replaces the tag by
// its own tag with the bit `refusal`, so that the owner of the message sees who refuses it. Changes
// nothing when there is no mark.
inline bool accept(CKrcpMessage& message) noexcept {
    if (isReadable(message)) {
        return true;
    }
    if (hasMark(message.tag)) {
        message.tag = interfaceTag;
        message.tag.settings |= InterfaceTag::refusal;
    }
    return false;
}

// Returns a member of an object. Returns null when `value` is not an object or has no such member.
inline const rapidjson::Value* findMember(const rapidjson::Value& value, const char* key) noexcept {
    if (!value.IsObject()) {
        return nullptr;
    }
    const auto member = value.FindMember(key);
    return member != value.MemberEnd() ? &member->value : nullptr;
}

// Returns the command with this index. Returns null when it is missing or not an object, or the
// message has another tag.
inline const rapidjson::Value* findCommand(const CKrcpMessage& message,
                                           std::uint32_t index) noexcept {
    if (!isReadable(message)) {
        return nullptr;
    }
    const rapidjson::Value* const sip = findMember(message.document, "SIP");
    const rapidjson::Value* const commands = sip != nullptr ? findMember(*sip, "CMD") : nullptr;
    if (commands == nullptr || !commands->IsArray() || index >= commands->Size() ||
        !(*commands)[index].IsObject()) {
        return nullptr;
    }
    return &(*commands)[index];
}

// Returns the integer member `key` of a command, or `defaultValue` when it is missing or not a
// signed 64-bit integer.
EM_PNI_NOINLINE inline std::int64_t GetValue(const CKrcpMessage& message, std::uint32_t index,
                                             const char* key, std::int64_t defaultValue) noexcept {
    const rapidjson::Value* const command = findCommand(message, index);
    const rapidjson::Value* const value = command != nullptr ? findMember(*command, key) : nullptr;
    return value != nullptr && value->IsInt64() ? value->GetInt64() : defaultValue;
}

// Returns the low 16 bits of "OC" of the current command, 0 when it is missing.
inline std::uint16_t opcode(const CKrcpMessage& message) noexcept {
    return static_cast<std::uint16_t>(GetValue(message, message.index, "OC", 0));
}

// Returns "ST" of the current command, or REQUEST_PENDING when it is missing or not 0..255.
inline std::uint32_t status(const CKrcpMessage& message) noexcept {
    const std::int64_t value = GetValue(message, message.index, "ST", REQUEST_PENDING);
    return value >= 0 && value <= 255 ? static_cast<std::uint32_t>(value)
                                      : std::uint32_t{REQUEST_PENDING};
}

// Returns "DA" of the current command, or null.
inline const rapidjson::Value* findData(const CKrcpMessage& message) noexcept {
    const rapidjson::Value* const command = findCommand(message, message.index);
    return command != nullptr ? findMember(*command, "DA") : nullptr;
}

// Whether a reply succeeded and has data.
inline bool hasData(const CKrcpMessage& message) noexcept {
    return isSuccess(status(message)) && findData(message) != nullptr;
}

// Appends the raw bytes of the current command to `bytes` and returns their number. When an element
// is not an integer 0..255, appends nothing and returns 0.
EM_PNI_NOINLINE inline std::size_t copyRawBytes(const CKrcpMessage& message,
                                                std::vector<std::uint8_t>& bytes) {
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

// Returns a JSON number: unsigned when it is not negative, else signed.
inline rapidjson::Value number(std::int64_t value) {
    return value >= 0 ? rapidjson::Value(static_cast<std::uint64_t>(value))
                      : rapidjson::Value(value);
}

// Returns the current command for writing. Appends empty commands up to the index. Returns null
// when "SIP" or "CMD" is missing, the command is not an object, the index is 4096 or more, or the
// message is refused.
inline rapidjson::Value* commandForWriting(CKrcpMessage& message) {
    constexpr std::uint32_t maxCommands = 4096;
    if (!accept(message)) {
        return nullptr;
    }
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

// Makes room for one more member of an object. When there is no memory, throws and does not change
// the object. RapidJSON's AddMember counts the new room before it allocates it.
EM_PNI_NOINLINE inline void reserveMember(rapidjson::Value& object,
                                          rapidjson::Document::AllocatorType& allocator) {
    rapidjson::Value larger(rapidjson::kObjectType);
    for (rapidjson::SizeType i = 0; i <= object.MemberCount(); ++i) {
        larger.AddMember("", rapidjson::Value(), allocator);
    }
    larger.RemoveAllMembers();
    std::for_each(object.MemberBegin(), object.MemberEnd(),
                  [&](auto& member) { larger.AddMember(member.name, member.value, allocator); });
    object.Swap(larger);
}

// Sets a member of the current command and replaces its old value. `value` must use the allocator
// of the message. `key` must be a literal: the document refers to its characters. Returns false and
// changes nothing when there is no command to write to.
EM_PNI_NOINLINE inline bool setMember(CKrcpMessage& message, const char* key,
                                      rapidjson::Value value) {
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

// The next two return the result of setMember.
inline bool setStatus(CKrcpMessage& message, std::uint32_t statusCode) {
    return setMember(message, "ST", number(statusCode));
}

EM_PNI_NOINLINE inline bool setRawBytes(CKrcpMessage& message,
                                        std::span<const std::uint8_t> bytes) {
    if (commandForWriting(message) == nullptr) {
        return false;
    }
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

// Returns a message with one command, without status and data. Its index is 0.
EM_PNI_NOINLINE inline CKrcpMessage makeRequest(std::uint16_t opcodeValue, std::uint16_t extension,
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

#undef EM_PNI_NOINLINE
