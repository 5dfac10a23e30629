#include "devscan/system_adapter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "platform/text.h"
#include "platform/trace.h"

namespace em_pni {
namespace {

// The index is the base class, 0x00 to 0x13.
constexpr std::array<const char*, 20> classNames{
    "Unclassified", "Storage",        "Net",
    "Display",      "Multimedia",     "Memory",
    "Bridge",       "Communication",  "System",
    "Input",        "Docking",        "Processor",
    "SerialBus",    "Wireless",       "IntelligentIO",
    "Satellite",    "Encryption",     "SignalProcessing",
    "Accelerator",  "Instrumentation"};

// The names in a directory. A missing directory has none. Any other failure sets `error` to errno.
std::vector<std::string> listIfThere(const CFileTree& files, const std::string& directory,
                                     int& error) {
    auto names = files.List(directory);
    if (!names) {
        if (errno != ENOENT && errno != ENOTDIR) {
            error = errno;
        }
        return {};
    }
    return std::move(*names);
}

// The link_layer files of all ports of the function. Sets `error` to errno when a directory cannot
// be listed.
std::vector<std::string> linkLayerFiles(const CFileTree& files, const std::string& function,
                                        int& error) {
    std::vector<std::string> found;
    const std::string devices = function + "/infiniband";
    for (const std::string& device : listIfThere(files, devices, error)) {
        const std::string ports = joinedPath({devices, device, "ports"});
        for (const std::string& port : listIfThere(files, ports, error)) {
            const auto attributes = listIfThere(files, joinedPath({ports, port}), error);
            if (std::binary_search(attributes.begin(), attributes.end(), "link_layer")) {
                found.push_back(joinedPath({ports, port, "link_layer"}));
            }
        }
    }
    return found;
}

}  // namespace

const char* CSystemAdapter::ClassName() const noexcept {
    const std::size_t base = pciBaseClass(facts_.classCode);
    return base < classNames.size() ? classNames[base] : "";
}

bool CSystemAdapter::IsInfinibandAdapter() const {
    PNI_TRACE(5, "\nCSystemAdapter      : -> IsInfinibandAdapter()");
    const bool infiniband = DetectInfiniband();
    PNI_TRACE(5, "\nCSystemAdapter      : <- IsInfinibandAdapter() - %s",
              infiniband ? "true" : "false");
    return infiniband;
}

bool CSystemAdapter::DetectInfiniband() const {
    if (facts_.classCode == pciClassInfiniband) {
        PNI_TRACE(3,
                  "\nCSystemAdapter::IsInfinibandAdapter() BaseClass:SerialBus, "
                  "SubClass:Infiniband");
        return true;
    }
    const CFileTree& files = machine_->Files();
    const std::string function = "sys/bus/pci/devices/" + pciAddressText(facts_.address);
    int error = 0;
    const auto paths = linkLayerFiles(files, function, error);
    // Without a driver only the class tells. Ports of this class can also be in Ethernet mode.
    if (paths.empty() && facts_.classCode == pciClassInfinibandNetwork) {
        return true;
    }
    if (paths.empty() && error != 0) {
        PNI_TRACE(2,
                  "\nCSystemAdapter::IsInfinibandAdapter() ERROR ## Could not glob infiniband node "
                  "on device! Glob = %s Status = %d",
                  files.FullPath(function + "/infiniband/*/ports/*/link_layer").c_str(), error);
    } else if (paths.empty()) {
        PNI_TRACE(3,
                  "\nCSystemAdapter::IsInfinibandAdapter() No matched link_layer files. Not an "
                  "infiniband adapter.");
    }
    for (const std::string& path : paths) {
        const auto text = files.ReadAttribute(path);
        if (!text) {
            PNI_TRACE(2, "\nCSystemAdapter::IsInfinibandAdapter() ERROR ## Could not open file %s.",
                      files.FullPath(path).c_str());
            continue;
        }
        std::string_view rest = *text;
        if (containsIgnoringCase(takeUntil(rest, '\n'), "Infiniband")) {
            PNI_TRACE(3,
                      "\nCSystemAdapter      : Detected infiniband port on adapter, finish "
                      "searching...");
            return true;
        }
    }
    return false;
}

}  // namespace em_pni
