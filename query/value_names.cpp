#include "query/value_names.h"

#include <array>
#include <cstddef>

#include "frudata/layout.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

template <std::size_t N>
const char* nameIn(const std::array<const char*, N>& names, std::uint8_t code,
                   const char* complaint) {
    if (code < N) {
        return names[code];
    }
    PNI_TRACE(5, "%s", complaint);
    return nullptr;
}

using Header = layout::OEM_PNI_MULTIRECORD_HEADER;

}  // namespace

const char* moduleTypeName(std::uint8_t code) {
    static constexpr std::array names = {"Onboard", "Mezzanine", "PCI-AddIn"};
    return nameIn(names, code, "CPNI_Data::GetModuleTypeString  Failed to assign - unknown mt");
}

const char* moduleTechnologyName(std::uint8_t code) {
    static constexpr std::array names = {"CNA", "FC", "IB", "Eth", "SAS"};
    return nameIn(names, code,
                  "CPNI_Data::GetModuleTechnologyString  Failed to assign - unknown mt");
}

const char* functionTechnologyName(std::uint8_t code) {
    static constexpr std::array names = {"Eth", "FC", "FcoE", "iSCSI", "IB", "SAS", "Eth/RoCe"};
    const char* const name = nameIn(
        names, code, "CPNI_Data::GetPortFnTechnologyTypeString  Failed to assign - unknown ptt");
    if (name != nullptr) {
        PNI_TRACE(5, "CPNI_Data::GetPortFnTechnologyTypeString  Fn Technology Type : %s", name);
    }
    return name;
}

const char* speedUnitName(std::uint8_t code) {
    static constexpr std::array names = {"Mb/s", "Gb/s", "10Gb/s"};
    return nameIn(names, code, "CPNI_Data::GetSpeedUnitString  Failed to assign - unknown su");
}

const char* wolBehaviorName(std::uint8_t code, std::uint8_t formatVersion) {
    static constexpr std::array byDriver = {"DriverEnabled", "ForceDisabled", "ForceEnabled"};
    static constexpr std::array byCode = {"Disabled", "BootSequence", "ForceLanBoot"};
    constexpr std::uint8_t acpiControlled = 3;
    constexpr const char* complaint =
        "CPNI_Data::GetWolBehaviorString  Failed to assign - unknown wolbeh";
    if (formatVersion < Header::firstVersion) {
        return nullptr;
    }
    if (formatVersion < Header::firstVersionWithCodes) {
        return nameIn(byDriver, code, complaint);
    }
    // Code 3 has a name and is traced as unknown too. This is intended.
    const char* const name = nameIn(byCode, code, complaint);
    return code == acpiControlled ? "AcpiControlled" : name;
}

}  // namespace em_pni
