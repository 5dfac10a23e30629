// The request "ReadPniData", its two filters and its answer.
#pragma once

#include <string>
#include <vector>

#include "em_pni/krcp_message.h"

namespace em_pni {

struct InventoryFilter {
    std::string technology;           // of the modules; empty = all modules
    std::vector<std::string> fields;  // names of the members; empty = all members
};

// Does not check the filter: the module does, and answers with a status.
CKrcpMessage makeInventoryRequest(const InventoryFilter& filter);

// The inventory document of an answer; null when the status is not SUCCESS.
const rapidjson::Value* findInventory(const CKrcpMessage& answer) noexcept;

// The status of an answer as a text: "CHECKSUM_ERROR [16]".
std::string answerText(const CKrcpMessage& answer);

}  // namespace em_pni
