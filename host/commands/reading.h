// Reads FRU data for a command that does not change them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/machine/fru_place.h"
#include "host/machine/fru_store.h"
#include "host/output/console.h"
#include "platform/bytes.h"

namespace em_pni {

// Reads again when another pni-host has written meanwhile, and reports an error when the bytes may
// still be a mixture of two images. Throws a CHostError.
std::vector<std::uint8_t> readBetweenWrites(CIFruStore& store, CConsole& console);

// A copy of such bytes. Shows a bar on a terminal while a controller is read. Never null. Throws a
// CHostError.
std::unique_ptr<CFruCopy> copyOf(const FruSource& source, CConsole& console);

// Why the record in the image is not valid; no value = it is valid.
std::optional<std::string> faultOf(CByteView image);

}  // namespace em_pni
