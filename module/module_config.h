// The module's own configuration: the host's text or the file em_pni.ini, section [EM_PNI].
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace em_pni {

// Where the file is looked for, in this order.
struct ModuleConfigPlaces {
    std::string currentDirectory = ".";
    std::string programDirectory;  // empty = the folder of the running program
    std::string dataRoot = "/opt/QuillonRT/vital/etc/qlagent";
};

// An integer property of the module, decimal, hexadecimal (0x) or octal (0), 0..4294967295. Looks
// in `hostText`, which may be null, and for a property that is not there in the file. No value when
// the property is missing or is not such a number.
std::optional<std::uint32_t> readModuleProperty(const char* hostText,
                                                const ModuleConfigPlaces& places,
                                                const char* moduleName, const char* property);

}  // namespace em_pni
