// libnl with owners for its objects and exceptions for its errors.
#pragma once

#include <memory>
#include <string>

struct nl_sock;

namespace em_pni {

struct FreeNetlinkSocket {
    void operator()(nl_sock* socket) const noexcept;
};
using NetlinkSocket = std::unique_ptr<nl_sock, FreeNetlinkSocket>;

// To the kernel's routing family, in the calling thread's network namespace.
NetlinkSocket openRouteSocket();

// Throws a CHostError "<what>: <libnl's text>" when the result of a libnl call is an error.
void requireNetlink(int result, const std::string& what);

}  // namespace em_pni
