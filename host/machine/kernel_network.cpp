#include "host/machine/kernel_network.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <map>
#include <netlink/attr.h>
#include <netlink/errno.h>
#include <netlink/handlers.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <new>
#include <span>

#include "host/machine/link_facts.h"
#include "host/machine/link_speed.h"
#include "host/output/host_error.h"
#include "platform/pci_address.h"

namespace em_pni {

namespace {

using Bytes = std::vector<std::uint8_t>;

// A callback of libnl, which cannot pass on exceptions.
int keepMessage(nl_msg* message, void* messages) noexcept {
    const nlmsghdr* const header = ::nlmsg_hdr(message);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(header);
    try {
        static_cast<std::vector<Bytes>*>(messages)->emplace_back(bytes, bytes + header->nlmsg_len);
        return NL_OK;
    } catch (const std::bad_alloc&) {
        return -NLE_NOMEM;
    }
}

// The messages of the kernel's answer, with their headers. Asks again when the kernel says that its
// list has changed in between. The callers read the few attributes that they need: the link objects
// of libnl also read all attributes of the kinds of links, and end the program for some bytes.
std::vector<Bytes> askKernel(const NetlinkSocket& socket, int question, const char* failure) {
    std::vector<Bytes> messages;
    requireNetlink(
        ::nl_socket_modify_cb(socket.get(), NL_CB_VALID, NL_CB_CUSTOM, keepMessage, &messages),
        failure);
    int result = 0;
    do {
        messages.clear();
        rtgenmsg all{.rtgen_family = AF_UNSPEC};
        requireNetlink(::nl_send_simple(socket.get(), question, NLM_F_DUMP, &all, sizeof all),
                       failure);
        result = ::nl_recvmsgs_default(socket.get());
    } while (result == -NLE_DUMP_INTR);
    requireNetlink(result, failure);
    return messages;
}

// A message about one link or address: a structure and attributes. Refers to its bytes.
template <class Head>
class CRouteMessage {
  public:
    // Throws a CHostError when the structure is not whole.
    CRouteMessage(Bytes& message, const char* failure) {
        auto* const header = reinterpret_cast<nlmsghdr*>(message.data());
        requireNetlink(
            ::nlmsg_parse(header, sizeof(Head), attributes_.data(), lastAttribute, nullptr),
            failure);
        std::memcpy(&head, ::nlmsg_data(header), sizeof head);
    }

    // Empty = there is no such attribute.
    [[nodiscard]] std::span<const std::uint8_t> Attribute(int type) const {
        const nlattr* const attribute = attributes_.at(static_cast<std::size_t>(type));
        if (attribute == nullptr) {
            return {};
        }
        const auto* const bytes = static_cast<const std::uint8_t*>(::nla_data(attribute));
        return {bytes, static_cast<std::size_t>(::nla_len(attribute))};
    }
    template <class Number>
    [[nodiscard]] Number NumberOr(int type, Number otherwise) const {
        if (const auto bytes = Attribute(type); bytes.size() >= sizeof otherwise) {
            std::memcpy(&otherwise, bytes.data(), sizeof otherwise);
        }
        return otherwise;
    }

    Head head{};

  private:
    static constexpr int lastAttribute = IFLA_OPERSTATE;

    std::array<nlattr*, lastAttribute + 1> attributes_{};
};

using Link = CRouteMessage<ifinfomsg>;
using Address = CRouteMessage<ifaddrmsg>;

// Empty = the message has no name.
std::string nameOf(const Link& link) {
    const auto bytes = link.Attribute(IFLA_IFNAME);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)};
}

NetworkInterface interfaceOf(const Link& link, const std::string& name,
                             CInterfaceControl& control) {
    const auto mac = link.Attribute(IFLA_ADDRESS);
    NetworkInterface interface;
    interface.linkState =
        linkStateOf(link.NumberOr(IFLA_OPERSTATE, std::uint8_t{0}), link.head.ifi_flags);
    interface.mac.assign(mac.begin(), mac.end());
    interface.type = interfaceTypeOf(link.head.ifi_type, mac);
    if (!name.empty()) {
        interface.speed = linkSpeedOf(control, name);
    }
    return interface;
}

using AddressesByIndex = std::map<unsigned, std::vector<InterfaceAddress>>;

InterfaceAddress addressOf(const Address& address, unsigned flags) {
    const auto local = address.Attribute(IFA_LOCAL);
    InterfaceAddress result;
    result.ip = IpAddress(local.empty() ? address.Attribute(IFA_ADDRESS) : local);
    result.linkLocal = address.head.ifa_scope >= RT_SCOPE_LINK;
    result.deprecated = (flags & IFA_F_DEPRECATED) != 0;
    // For IPv4 the bit of IFA_F_TEMPORARY marks a secondary address of a network.
    if (result.ip.size() == IpAddress::longSize && (flags & IFA_F_TEMPORARY) != 0) {
        result.lifetime = Lifetime::temporary;
    } else if ((flags & IFA_F_PERMANENT) == 0) {
        result.lifetime = Lifetime::dynamic;
    }
    return result;
}

// Leaves out addresses whose check for duplicates has not ended or has failed.
AddressesByIndex readAddresses(const NetlinkSocket& socket) {
    constexpr const char* failure = "cannot read IP addresses";
    AddressesByIndex addresses;
    for (Bytes& message : askKernel(socket, RTM_GETADDR, failure)) {
        const Address address(message, failure);
        const unsigned flags = address.NumberOr(IFA_FLAGS, std::uint32_t{address.head.ifa_flags});
        const int family = address.head.ifa_family;
        const bool usable = (flags & (IFA_F_TENTATIVE | IFA_F_DADFAILED)) == 0;
        if (usable && (family == AF_INET || family == AF_INET6)) {
            addresses[address.head.ifa_index].push_back(addressOf(address, flags));
        }
    }
    return addresses;
}

bool hasPciDevice(const CFileTree& files, const std::string& name) {
    const auto link =
        name.empty() ? std::nullopt : files.ReadLink(joinedPath({"sys/class/net", name}));
    return link && pciAddressOfPath(*link);
}

}  // namespace

void FreeNetlinkSocket::operator()(nl_sock* socket) const noexcept {
    ::nl_socket_free(socket);
}

NetlinkSocket openRouteSocket() {
    NetlinkSocket socket(::nl_socket_alloc());
    if (!socket) {
        throw std::bad_alloc();
    }
    requireNetlink(::nl_connect(socket.get(), NETLINK_ROUTE),
                   "cannot ask the kernel about network interfaces");
    return socket;
}

void requireNetlink(int result, const std::string& what) {
    if (result < 0) {
        throw CHostError(what + ": " + ::nl_geterror(result));
    }
}

NetworkSnapshot readNetwork(const NetlinkSocket& socket, const CFileTree& files,
                            CInterfaceControl& control) {
    constexpr const char* failure = "cannot read network interfaces";
    std::map<std::pair<bool, unsigned>, NetworkInterface> interfaces;  // by hasPciDevice and index
    for (Bytes& message : askKernel(socket, RTM_GETLINK, failure)) {
        const Link link(message, failure);
        const std::string name = nameOf(link);
        interfaces.emplace(
            std::pair(hasPciDevice(files, name), static_cast<unsigned>(link.head.ifi_index)),
            interfaceOf(link, name, control));
    }
    const AddressesByIndex addresses = readAddresses(socket);
    NetworkSnapshot snapshot;
    for (auto& [key, interface] : interfaces) {
        if (const auto found = addresses.find(key.second); found != addresses.end()) {
            interface.addresses = listAddresses(found->second);
        }
        snapshot.push_back(std::move(interface));
    }
    return snapshot;
}

NetworkSnapshot CKernelNetwork::Take() {
    CSocketControl control;
    return readNetwork(openRouteSocket(), files_, control);
}

}  // namespace em_pni
