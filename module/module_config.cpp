#include "module/module_config.h"

#include <array>
#include <unistd.h>

#include "platform/number.h"
#include "platform/profile_file.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

constexpr const char* fileName = "/em_pni.ini";

std::string runningProgramDirectory() {
    std::array<char, 4096> path{};
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0) {
        return {};
    }
    const std::string program(path.data(), static_cast<std::size_t>(length));
    return program.substr(0, program.rfind('/'));
}

std::optional<std::string> findConfigFile(const ModuleConfigPlaces& places) {
    const auto isThere = [](const std::string& path) { return ::access(path.c_str(), R_OK) == 0; };

    std::string path = places.currentDirectory + fileName;
    PNI_TRACE(3, "\nCExtensionModule    : Check for config file in current directory %s...",
              path.c_str());
    if (isThere(path)) {
        return path;
    }
    path = (places.programDirectory.empty() ? runningProgramDirectory() : places.programDirectory) +
           fileName;
    PNI_TRACE(3,
              "\nModuleConfigFile    : Check for config file in HostSteward/ornd binary path %s...",
              path.c_str());
    if (isThere(path)) {
        return path;
    }
    path = places.dataRoot + fileName;
    PNI_TRACE(3,
              "\nModuleConfigFile    : Check for config file in HostSteward/ornd data root %s...",
              path.c_str());
    if (isThere(path)) {
        return path;
    }
    PNI_TRACE(2, "\nModuleConfigFile    : ## ERROR! Module specific config file %s not found!",
              fileName + 1);
    return std::nullopt;
}

std::optional<std::string> findInText(const char* text, const char* section, const char* key) {
    const auto value = text != nullptr ? CProfileText(text).Find(section, key) : std::nullopt;
    return value ? std::optional<std::string>(*value) : std::nullopt;
}

std::optional<std::string> findInFile(const ModuleConfigPlaces& places, const char* section,
                                      const char* key) {
    const auto path = findConfigFile(places);
    return path ? GetPrivateProfileString(section, key, *path) : std::nullopt;
}

}  // namespace

std::optional<std::uint32_t> readModuleProperty(const char* hostText,
                                                const ModuleConfigPlaces& places,
                                                const char* moduleName, const char* property) {
    auto text = findInText(hostText, moduleName, property);
    if (!text) {
        text = findInFile(places, moduleName, property);
    }
    const auto number = text ? parseNumber(*text) : std::nullopt;
    if (!number) {
        return std::nullopt;
    }
    const auto value = static_cast<std::uint32_t>(*number);
    PNI_TRACE(3, "\n%-20s: Read module property \"%s\" = %d (0x%02X)", moduleName, property,
              static_cast<int>(value), value);
    return value;
}

}  // namespace em_pni
