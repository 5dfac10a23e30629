// The input is what the kernel sends about links and addresses. libnl reads it, pni-host answers
// the module from it, and the module stores it in a record.
//
// Input: two bytes, the length of the messages about links; these messages; the messages about
// addresses.
#include <cstring>
#include <linux/netlink.h>
#include <netlink/handlers.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <set>
#include <sstream>

#include "fuzz/fuzz_input.h"
#include "fuzz/no_interfaces.h"
#include "host/machine/kernel_network.h"
#include "host/machine/network_answers.h"
#include "host/output/host_error.h"
#include "pni/ip_update.h"
#include "tests/record_builder.h"

using namespace em_pni;
using namespace em_pni::fuzz;

namespace {

// The parts of the input, one for each request of libnl. Static, because the callbacks of libnl
// have no room for a pointer.
std::vector<Bytes> theParts;
std::size_t thePart = 0;  // from 1; 0 = before the first request
bool isPartSent = false;

int takeQuestion(nl_sock* /*socket*/, nl_msg* /*question*/) {
    ++thePart;
    isPartSent = false;
    return 0;
}

// libnl frees the buffer. Behind each part follows the message that ends an answer.
int giveAnswer(nl_sock* /*socket*/, sockaddr_nl* sender, unsigned char** buffer,
               ucred** /*credentials*/) {
    nlmsghdr end{};
    end.nlmsg_len = NLMSG_HDRLEN;
    end.nlmsg_type = NLMSG_DONE;
    end.nlmsg_flags = NLM_F_MULTI;
    const auto* const endBytes = reinterpret_cast<const std::uint8_t*>(&end);
    const bool isPart = thePart <= theParts.size() && !isPartSent && !theParts[thePart - 1].empty();
    const Bytes bytes = isPart ? theParts[thePart - 1] : Bytes(endBytes, endBytes + sizeof end);
    isPartSent = true;
    *sender = {};
    *buffer = static_cast<unsigned char*>(std::malloc(bytes.size()));
    std::memcpy(*buffer, bytes.data(), bytes.size());
    return static_cast<int>(bytes.size());
}

NetlinkSocket playedSocket() {
    NetlinkSocket socket(::nl_socket_alloc());
    ::nl_socket_disable_seq_check(socket.get());
    nl_cb* const callbacks = ::nl_socket_get_cb(socket.get());
    ::nl_cb_overwrite_send(callbacks, takeQuestion);
    ::nl_cb_overwrite_recv(callbacks, giveAnswer);
    ::nl_cb_put(callbacks);
    return socket;
}

class CPlayedView final : public CINetworkView {
  public:
    NetworkSnapshot Take() override {
        thePart = 0;
        CNoInterfaces control;
        return readNetwork(playedSocket(), CFileTree("/nowhere"), control);
    }
};

class CPlayedConnection final : public CKrcpConnection {
  public:
    explicit CPlayedConnection(CINetworkView& view) : answers_(view, console_) {}
    std::uint32_t SendRequest(CKrcpMessage& message, std::uint32_t /*timeoutMs*/) override {
        krcp::setStatus(message, answers_.Answer(message).value_or(krcp::INVALID_CMD));
        return 1;
    }

  private:
    std::ostringstream output_;
    CConsole console_{output_, output_};
    CNetworkAnswers answers_;
};

void checkList(const std::vector<IpAddress>& list) {
    require(std::set(list.begin(), list.end()).size() == list.size(), "each address occurs once");
    for (const IpAddress& ip : list) {
        require(!ip.IsEmpty(), "each entry has an address");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CFuzzInput input({data, size});
    std::size_t length = input.Byte();
    length += input.Byte() * std::size_t{256};
    theParts = {input.Take(std::min(length, size)), input.TakeRest()};
    CPlayedView view;
    try {
        for (const NetworkInterface& interface : view.Take()) {
            checkList(interface.addresses.any);
            checkList(interface.addresses.primary);
            checkList(interface.addresses.transient);
        }
    } catch (const CHostError&) {
        return 0;
    }
    static const Bytes sample = test::sample("three-modules.fru");
    CPniFruData record(sample);
    CPlayedConnection connection(view);
    const CNetworkRequests requests(&connection, 0);
    ReplaceIpAddresses(requests, record);
    require(record.IsValid(), "a valid record stays valid");
    const Bytes once = record.GetImage();
    ReplaceIpAddresses(requests, record);
    require(record.GetImage() == once, "the same answers lead to the same bytes");
    return 0;
}
