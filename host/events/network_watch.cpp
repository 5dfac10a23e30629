#include "host/events/network_watch.h"

#include <algorithm>
#include <cerrno>
#include <linux/rtnetlink.h>
#include <netlink/socket.h>
#include <sys/socket.h>
#include <utility>

#include "host/output/host_error.h"

namespace em_pni {

namespace {

constexpr const char* failure = "cannot watch the network; use --no-watch to run without";

}  // namespace

CNetworkWatch::CNetworkWatch(std::chrono::milliseconds writeInterval, LastWrite lastWrite)
    : writeInterval_(writeInterval), lastWrite_(std::move(lastWrite)), socket_(openRouteSocket()) {
    requireNetlink(::nl_socket_add_memberships(socket_.get(), RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR,
                                               RTNLGRP_IPV6_IFADDR, RTNLGRP_NONE),
                   failure);
}

int CNetworkWatch::Descriptor() const noexcept {
    return ::nl_socket_get_fd(socket_.get());
}

void CNetworkWatch::Take(Clock::time_point now) {
    if (TakeReports()) {
        bursts_.Note(HostEvent::addressChanged, "", now);
    }
}

std::optional<CIEventSource::Clock::time_point> CNetworkWatch::DueAt() const {
    auto due = bursts_.DueAt();
    if (due && writeInterval_.count() > 0) {
        due = std::max(*due, lastWrite_() + writeInterval_);
    }
    return due;
}

std::optional<EventReport> CNetworkWatch::NextReport(Clock::time_point now) {
    const auto due = DueAt();
    return due && *due <= now ? bursts_.TakeDue(now) : std::nullopt;
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
