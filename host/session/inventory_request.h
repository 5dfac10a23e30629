// The request "ReadPniData" and the two ways to narrow its answer.
#pragma once

#include <string>
#include <vector>

#include "em_pni/krcp_message.h"

namespace em_pni {

struct InventoryFilter {
    std::string technology;           // of the modules wanted; empty = all
    std::vector<std::string> fields;  // names of the members wanted; empty = all
};

// The module judges technology and fields itself, in the status of its answer.
CKrcpMessage makeInventoryRequest(const InventoryFilter& filter);

// The inventory document in the answer; null unless the status is SUCCESS.
const rapidjson::Value* findInventory(const CKrcpMessage& answer) noexcept;

// The status of an answer for the user: "CHECKSUM_ERROR [16]".
std::string answerText(const CKrcpMessage& answer);

}  // namespace em_pni
