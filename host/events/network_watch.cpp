#include "host/events/network_watch.h"

#include <cerrno>
#include <linux/rtnetlink.h>
#include <netlink/socket.h>
#include <sys/socket.h>

#include "host/output/host_error.h"

namespace em_pni {

namespace {

constexpr const char* failure = "cannot watch the network; use --no-watch to run without";

}  // namespace

CNetworkWatch::CNetworkWatch() : socket_(openRouteSocket()) {
    requireNetlink(::nl_socket_add_memberships(socket_.get(), RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR,
                                               RTNLGRP_IPV6_IFADDR, RTNLGRP_NONE),
                   failure);
}

int CNetworkWatch::Descriptor() const noexcept {
    return bursts_.DueAt() ? -1 : ::nl_socket_get_fd(socket_.get());
}

void CNetworkWatch::Take(Clock::time_point now) {
    if (TakeReports()) {
        bursts_.Note(HostEvent::addressChanged, "", now);
    }
}

std::optional<EventReport> CNetworkWatch::NextReport(Clock::time_point now) {
    std::optional<EventReport> report = bursts_.TakeDue(now);
    if (report) {
        TakeReports();  // changes during the burst are part of it
    }
    return report;
}

bool CNetworkWatch::TakeReports() {
    const int descriptor = ::nl_socket_get_fd(socket_.get());
    bool taken = false;
    for (;;) {
        char start = 0;  // only that there is a report counts, not its content
        const bool received = ::recv(descriptor, &start, sizeof start, MSG_DONTWAIT) >= 0;
        if (!received && errno == EAGAIN) {
            return taken;
        }
        if (!received && errno == EINTR) {
            continue;
        }
        if (!received && errno != ENOBUFS) {
            throw CHostError(systemErrorText(failure, errno));
        }
        taken = true;
    }
}

}  // namespace em_pni
