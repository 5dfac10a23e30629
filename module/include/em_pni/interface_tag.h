// The tag at the beginning of each message. It says how the code that made the message was built.
//
// A message holds a RapidJSON document. The layout of a document depends on the version and the
// settings of RapidJSON. So host and module use a message of the other side only when its tag is
// equal to their own. The layout of the tag is the same in all versions: any code can read it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <rapidjson/document.h>
#include <string>

#include "em_pni/em_pni_version.h"

namespace em_pni {

// 16 bytes without padding. Sizes are in bytes.
struct InterfaceTag {
    static constexpr std::uint8_t shortPointers = 0x01;  // RAPIDJSON_48BITPOINTER_OPTIMIZATION
    static constexpr std::uint8_t membersMap = 0x02;     // RAPIDJSON_USE_MEMBERSMAP
    static constexpr std::uint8_t refusal = 0x80;  // the message was refused by this tag's owner

    std::uint8_t mark[4];         // 'K', 'R', 'C', 'P' in each tag
    std::uint8_t version;         // of the interface: EM_PNI_VERSION_MAJOR
    std::uint8_t jsonVersion[3];  // of RapidJSON: major, minor, patch
    std::uint8_t valueSize;       // of rapidjson::Value
    std::uint8_t documentSize;    // of rapidjson::Document
    std::uint8_t allocatorSize;   // of the allocator of a document
    std::uint8_t sizeTypeSize;    // of rapidjson::SizeType
    std::uint8_t alignment;       // of memory from the allocator
    std::uint8_t settings;        // the bits above
    std::uint8_t reserved[2];     // 0

    bool operator==(const InterfaceTag&) const noexcept = default;
};
static_assert(sizeof(InterfaceTag) == 16);

// The tag of the code that includes this header.
inline constexpr InterfaceTag interfaceTag = {
    .mark = {'K', 'R', 'C', 'P'},
    .version = EM_PNI_VERSION_MAJOR,
    .jsonVersion = {RAPIDJSON_MAJOR_VERSION, RAPIDJSON_MINOR_VERSION, RAPIDJSON_PATCH_VERSION},
    .valueSize = sizeof(rapidjson::Value),
    .documentSize = sizeof(rapidjson::Document),
    .allocatorSize = sizeof(rapidjson::Document::AllocatorType),
    .sizeTypeSize = sizeof(rapidjson::SizeType),
    .alignment = RAPIDJSON_ALIGN(1),
    .settings = 0
#if defined(RAPIDJSON_48BITPOINTER_OPTIMIZATION) && RAPIDJSON_48BITPOINTER_OPTIMIZATION
                | InterfaceTag::shortPointers
#endif
#if defined(RAPIDJSON_USE_MEMBERSMAP) && RAPIDJSON_USE_MEMBERSMAP
                | InterfaceTag::membersMap
#endif
    ,
    .reserved = {},
};

inline bool hasMark(const InterfaceTag& tag) noexcept {
    return std::memcmp(tag.mark, interfaceTag.mark, sizeof tag.mark) == 0;
}

// The tag as a text for a log: "interface 2, RapidJSON 1.1.0, sizes 16 96 40 4, alignment 8,
// settings 1". The sizes have the order of the fields. "no tag" when the mark is missing.
inline std::string tagText(const InterfaceTag& tag) {
    if (!hasMark(tag)) {
        return "no tag";
    }
    char text[128];
    std::snprintf(text, sizeof text,
                  "interface %d, RapidJSON %d.%d.%d, sizes %d %d %d %d, alignment %d, settings %d",
                  tag.version, tag.jsonVersion[0], tag.jsonVersion[1], tag.jsonVersion[2],
                  tag.valueSize, tag.documentSize, tag.allocatorSize, tag.sizeTypeSize,
                  tag.alignment, tag.settings & ~InterfaceTag::refusal);
    return text;
}

// Compares the tag with that of this code: "<text of the tag>; expected: <text of this tag>".
inline std::string tagDifference(const InterfaceTag& tag) {
    return tagText(tag) + "; expected: " + tagText(interfaceTag);
}

}  // namespace em_pni
