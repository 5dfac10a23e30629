#include "host/machine/hardware_database.h"

#include <libudev.h>
#include <string>
#include <string_view>

#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {

namespace {

// The property of a device. `modalias` is the beginning of the text in sysfs: the database has
// names for a vendor and for a vendor with a device. Empty = not known.
std::string property(udev_hwdb* database, const std::string& modalias, std::string_view wanted) {
    udev_list_entry* entry = ::udev_hwdb_get_properties_list_entry(database, modalias.c_str(), 0);
    for (; entry != nullptr; entry = ::udev_list_entry_get_next(entry)) {
        const char* const value = ::udev_list_entry_get_value(entry);
        if (::udev_list_entry_get_name(entry) == wanted && value != nullptr) {
            return std::string(trimBlanks(value));
        }
    }
    return "";
}

std::string vendorAlias(std::uint16_t vendor) {
    return "pci:v" + upperHex(vendor, 8);
}

}  // namespace

void CHardwareDatabase::Free::operator()(udev* context) const noexcept {
    ::udev_unref(context);
}

void CHardwareDatabase::Free::operator()(udev_hwdb* database) const noexcept {
    ::udev_hwdb_unref(database);
}

CHardwareDatabase::CHardwareDatabase() : context_(::udev_new()) {
    if (context_) {
        database_.reset(::udev_hwdb_new(context_.get()));
    }
}

AdapterNames CHardwareDatabase::Find(const PciIds& ids) {
    if (!database_) {
        return {};
    }
    constexpr std::string_view vendorName = "ID_VENDOR_FROM_DATABASE";
    AdapterNames names;
    names.vendor = property(database_.get(), vendorAlias(ids.vendor), vendorName);
    names.subVendor = property(database_.get(), vendorAlias(ids.subVendor), vendorName);
    names.device =
        property(database_.get(), vendorAlias(ids.vendor) + "d" + upperHex(ids.device, 8),
                 "ID_MODEL_FROM_DATABASE");
    return names;
}

}  // namespace em_pni
