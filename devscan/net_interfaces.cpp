#include "devscan/net_interfaces.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if_arp.h>
#include <span>
#include <string_view>
#include <tuple>

#include "devscan/hardware_address.h"
#include "platform/number.h"
#include "platform/text.h"

namespace em_pni {
namespace {

constexpr const char* netDirectory = "sys/class/net";
constexpr std::size_t maxProcNetDev = std::size_t{1} << 20U;
constexpr std::size_t maxPermanentAddress = 32;  // MAX_ADDR_LEN of the kernel

std::string attributePath(const std::string& interface, const char* attribute) {
    return joinedPath({netDirectory, interface, attribute});
}

// The number in an attribute. Returns the largest number when there is none.
std::uint32_t numberIn(const CFileTree& files, const std::string& path) {
    constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
    const auto text = files.ReadAttribute(path);
    const auto number = text ? parseDecimal(*text, none) : std::nullopt;
    return static_cast<std::uint32_t>(number.value_or(none));
}

// Reads the facts of one interface by its name.
class CInterfaceQuery {
  public:
    CInterfaceQuery(const CFileTree& files, CInterfaceControl& control, const std::string& name)
        : files_(files), control_(control), name_(name) {}

    struct DriverInfo {
        std::string driver;
        std::string firmware;
        std::string optionRom;
        std::string busAddress;
    };
    struct LinkAddress {
        bool ethernet = false;
        MacAddress mac;  // empty = unknown
    };

    [[nodiscard]] std::optional<DriverInfo> Driver() const {
        ethtool_drvinfo info{};
        info.cmd = ETHTOOL_GDRVINFO;
        if (Ethtool(&info) != 0) {
            return std::nullopt;
        }
        return DriverInfo{Text(info.driver), Text(info.fw_version), Text(info.erom_version),
                          Text(info.bus_info)};
    }

    [[nodiscard]] LinkAddress Current() const {
        ifreq request{};
        if (Call(SIOCGIFHWADDR, request) == 0) {
            std::array<std::uint8_t, MacAddress::shortSize> bytes{};
            std::memcpy(bytes.data(), request.ifr_hwaddr.sa_data, bytes.size());
            const MacAddress mac(bytes);
            return {request.ifr_hwaddr.sa_family == ARPHRD_ETHER,
                    mac.IsUsable() ? mac : MacAddress()};
        }
        const auto type = files_.ReadAttribute(attributePath(name_, "type"));
        return {type && parseDecimal(*type, 0xFFFF) == std::uint64_t{ARPHRD_ETHER},
                MacIn("address")};
    }

    // The address of the hardware. Returns `current` when the driver knows no permanent address and
    // `current` is not random, and an empty address when the question failed.
    [[nodiscard]] MacAddress Permanent(const MacAddress& current) const {
        constexpr std::size_t head = sizeof(ethtool_perm_addr);
        ethtool_perm_addr question{};
        question.cmd = ETHTOOL_GPERMADDR;
        question.size = maxPermanentAddress;
        alignas(ethtool_perm_addr) std::array<std::uint8_t, head + maxPermanentAddress> answer{};
        std::memcpy(answer.data(), &question, head);
        const int error = Ethtool(answer.data());
        if (error == 0) {
            std::memcpy(&question, answer.data(), head);
            const MacAddress mac(
                std::span<const std::uint8_t>(answer).subspan(head, MacAddress::shortSize));
            if (question.size == mac.size() && mac.IsUsable()) {
                return mac;
            }
        }
        const auto member = files_.ReadAttribute(attributePath(name_, "bonding_slave/perm_hwaddr"));
        const bool mayBeMember = !member && errno != ENOENT && errno != ENOTDIR;
        if (const auto mac = member ? parseMacAddress(*member) : std::nullopt) {
            return *mac;
        }
        // The current address can be set by software. It stands for the permanent address only when
        // the driver does not know that, not when the question failed.
        const bool unsupported = error == 0 || error == EOPNOTSUPP || error == ENOTTY;
        return unsupported && !mayBeMember && !MayBeRandom() ? current : MacAddress();
    }

    [[nodiscard]] std::uint32_t Index() const {
        ifreq request{};
        return Call(SIOCGIFINDEX, request) == 0 ? static_cast<std::uint32_t>(request.ifr_ifindex)
                                                : numberIn(files_, attributePath(name_, "ifindex"));
    }

    [[nodiscard]] std::uint32_t Port() const {
        return numberIn(files_, attributePath(name_, "dev_port"));
    }

    // Empty = the driver names no port. Returns no value when it cannot be read now.
    [[nodiscard]] std::optional<std::string> PortName() const {
        const auto name = files_.ReadAttribute(attributePath(name_, "phys_port_name"));
        return name || isOutOfResources(errno) ? name : std::optional<std::string>("");
    }

  private:
    [[nodiscard]] bool MayBeRandom() const {
        constexpr const char* random = "1";  // NET_ADDR_RANDOM
        const auto origin = files_.ReadAttribute(attributePath(name_, "addr_assign_type"));
        return origin ? *origin == random : isOutOfResources(errno);
    }

    int Call(unsigned long request, ifreq& data) const {
        if (name_.size() >= IFNAMSIZ) {
            return ENODEV;
        }
        name_.copy(data.ifr_name, name_.size());
        return control_.Ioctl(request, data);
    }

    int Ethtool(void* command) const {
        ifreq request{};
        request.ifr_data = static_cast<char*>(command);
        return Call(SIOCETHTOOL, request);
    }

    template <std::size_t size>
    static std::string Text(const char (&field)[size]) {
        return printableText({field, ::strnlen(field, size)});
    }

    [[nodiscard]] MacAddress MacIn(const char* attribute) const {
        const auto text = files_.ReadAttribute(attributePath(name_, attribute));
        return text ? parseMacAddress(*text).value_or(MacAddress()) : MacAddress();
    }

    const CFileTree& files_;
    CInterfaceControl& control_;
    const std::string& name_;
};

// Without sysfs: /proc/net/dev has two header lines, then lines "  name: numbers".
ClassDevices listByBusAddress(const CFileTree& files, CInterfaceControl& control) {
    ClassDevices devices;
    const auto table = files.ReadFile("proc/net/dev", maxProcNetDev);
    std::string_view rest = table ? std::string_view(*table) : std::string_view();
    while (!rest.empty()) {
        std::string_view line = takeUntil(rest, '\n');
        if (line.find(':') == std::string_view::npos) {
            continue;
        }
        const std::string name(trimBlanks(takeUntil(line, ':')));
        const auto info = CInterfaceQuery(files, control, name).Driver();
        if (const auto function = info ? parsePciAddress(info->busAddress) : std::nullopt) {
            devices[*function].push_back({name, ""});
        }
    }
    return devices;
}

// Removes a decimal number from the front of `rest`. Returns false when there is none.
bool takeDigits(std::string_view& rest) noexcept {
    const std::size_t count = std::min(rest.find_first_not_of("0123456789"), rest.size());
    rest.remove_prefix(count);
    return count > 0;
}

enum class PortKind {
    own,
    wholeFunction,  // "pf0": the port itself, or the representor of a function of another host
    representor,    // of a virtual or scalable function, or of a function of another host
};

// Drivers name the ports of representors "pf0vf1", "pf0sf88", "pf0hpf", "c1pf0", "c1pf0vf1".
PortKind kindOfPort(std::string_view name) noexcept {
    if (name.starts_with('c')) {
        name.remove_prefix(1);
        return takeDigits(name) ? PortKind::representor : PortKind::own;
    }
    if (!name.starts_with("pf")) {
        return PortKind::own;
    }
    name.remove_prefix(2);
    if (!takeDigits(name)) {
        return PortKind::own;
    }
    if (name.empty()) {
        return PortKind::wholeFunction;
    }
    if (name.starts_with("vf") || name.starts_with("sf")) {
        name.remove_prefix(2);
        return takeDigits(name) ? PortKind::representor : PortKind::own;
    }
    return name == "hpf" ? PortKind::representor : PortKind::own;
}

// Whether the interface belongs to a scalable function of the PCI function. Its device path is
// ".../0000:03:00.0/mlx5_core.sf.2/net/enp3s0s88".
bool isOfScalableFunction(std::string_view link) noexcept {
    constexpr std::string_view mark = ".sf.";
    const std::string_view device = link.substr(0, link.rfind("/net/"));
    const std::size_t at = device.rfind(mark);
    std::string_view rest =
        at == std::string_view::npos ? std::string_view() : device.substr(at + mark.size());
    return takeDigits(rest) && (rest.empty() || rest.front() == '/');
}

// The facts of one interface.
struct Contribution {
    std::string name;
    std::uint32_t port = 0;
    std::uint32_t index = 0;
    CInterfaceQuery::LinkAddress address;
    MacAddress permanent;
    CInterfaceQuery::DriverInfo driver;

    [[nodiscard]] auto Rank() const noexcept {
        return std::tuple(!address.ethernet, port, permanent.IsEmpty(), index);
    }
};

// A single interface needs no rank: `isOnly` leaves port and index out.
Contribution contributionOf(const std::string& name, const CInterfaceQuery& query, bool isOnly) {
    Contribution result;
    result.name = name;
    if (!isOnly) {
        result.port = query.Port();
        result.index = query.Index();
    }
    result.address = query.Current();
    if (result.address.ethernet) {
        result.permanent = query.Permanent(result.address.mac);
    }
    result.driver = query.Driver().value_or(CInterfaceQuery::DriverInfo());
    return result;
}

// The facts of the interfaces that stand for the function itself.
std::vector<Contribution> contributionsOf(const CFileTree& files, CInterfaceControl& control,
                                          const std::vector<ClassDevice>& interfaces) {
    std::vector<Contribution> own;
    std::vector<Contribution> wholeFunction;
    for (const ClassDevice& interface : interfaces) {
        const CInterfaceQuery query(files, control, interface.name);
        if (isOfScalableFunction(interface.link)) {
            continue;
        }
        const auto portName = query.PortName();
        const PortKind kind = portName ? kindOfPort(*portName) : PortKind::representor;
        if (kind == PortKind::representor) {
            continue;
        }
        Contribution next = contributionOf(interface.name, query, interfaces.size() == 1);
        if (interface.link.empty() || isStill(files, netDirectory, interface)) {
            (kind == PortKind::own ? own : wholeFunction).push_back(std::move(next));
        }
    }
    return own.empty() ? std::move(wholeFunction) : std::move(own);
}

}  // namespace

ClassDevices listNetInterfaces(const CFileTree& files, CInterfaceControl& control) {
    auto devices = listClassDevices(files, netDirectory);
    return devices ? std::move(*devices) : listByBusAddress(files, control);
}

void addInterfaceFacts(const CFileTree& files, CInterfaceControl& control,
                       const std::vector<ClassDevice>& interfaces, AdapterFacts& facts) {
    std::vector<Contribution> found = contributionsOf(files, control, interfaces);
    if (found.empty()) {
        return;
    }
    std::swap(found.front(), *std::min_element(found.begin(), found.end(),
                                               [](const Contribution& a, const Contribution& b) {
                                                   return a.Rank() < b.Rank();
                                               }));
    for (Contribution& one : found) {
        facts.interfaces.push_back(std::move(one.name));
    }
    Contribution& best = found.front();
    if (best.address.ethernet) {
        facts.activeMac = best.address.mac;
        facts.permanentMac = best.permanent;
    }
    facts.optionRom = versionText(best.driver.optionRom);
    facts.firmware = std::move(best.driver.firmware);
    if (!best.driver.driver.empty()) {
        facts.driver = std::move(best.driver.driver);
    }
}

}  // namespace em_pni
