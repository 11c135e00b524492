#include "netlink/Links.h"

#include "Exchange.h"

#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <netlink/errno.h>
#include <netlink/socket.h>

namespace vantrel::netlink {

namespace {

Request linkRequest(int type, const QString& name, int interfaceIndex, unsigned flags, unsigned change) {
    ifinfomsg header{};
    header.ifi_family = AF_UNSPEC;
    header.ifi_index = interfaceIndex;
    header.ifi_flags = flags;
    header.ifi_change = change;
    return Request::route(type, {reinterpret_cast<const std::uint8_t*>(&header), sizeof header}, name);
}

Error notThere(const QString& what) { return {what, QString::fromLocal8Bit(std::strerror(ENODEV))}; }

} // namespace

Expected<std::unique_ptr<Links>> Links::open() {
    auto socket = openSocket(NETLINK_ROUTE);
    if (!socket) {
        return tl::unexpected<Error>(socket.error());
    }
    return std::unique_ptr<Links>(new Links(std::move(*socket)));
}

Links::Links(Socket socket) : _socket(std::move(socket)) {}

Links::~Links() = default;

Expected<bool> Links::isUp(int interfaceIndex) {
    const auto what = QStringLiteral("RTM_GETLINK");
    std::optional<bool> up;
    const auto done = linkRequest(RTM_GETLINK, what, interfaceIndex, 0, 0)
                          .exchange(*_socket, [&up, interfaceIndex](int type, Bytes payload) {
                              ifinfomsg link{};
                              if (type == RTM_NEWLINK && payload.size() >= sizeof link) {
                                  std::memcpy(&link, payload.data(), sizeof link);
                                  if (link.ifi_index == interfaceIndex) {
                                      up = (link.ifi_flags & IFF_UP) != 0;
                                  }
                              }
                          });
    if (!done) {
        return tl::unexpected<Error>(done.error().error);
    }
    if (!up) {
        return tl::unexpected<Error>(notThere(what));
    }
    return *up;
}

Expected<void> Links::setUp(int interfaceIndex, bool up) {
    const auto now = isUp(interfaceIndex);
    if (!now) {
        return tl::unexpected<Error>(now.error());
    }
    if (*now == up) {
        return {};
    }
    const auto done =
        linkRequest(RTM_NEWLINK, QStringLiteral("RTM_NEWLINK"), interfaceIndex, up ? unsigned{IFF_UP} : 0U, IFF_UP)
            .exchange(*_socket);
    if (!done) {
        return tl::unexpected<Error>(done.error().error);
    }
    return {};
}

Expected<std::unique_ptr<LinkEvents>> LinkEvents::open() {
    auto socket = openEventSocket(NETLINK_ROUTE);
    if (!socket) {
        return tl::unexpected<Error>(socket.error());
    }
    if (const int result = ::nl_socket_add_membership(socket->get(), RTNLGRP_LINK); result < 0) {
        return failure(QStringLiteral("nl_socket_add_membership"), QString::fromLocal8Bit(::nl_geterror(result)));
    }
    return std::unique_ptr<LinkEvents>(new LinkEvents(std::move(*socket)));
}

LinkEvents::LinkEvents(Socket socket) : _socket(std::move(socket)) {}

LinkEvents::~LinkEvents() = default;

int LinkEvents::descriptor() const { return ::nl_socket_get_fd(_socket.get()); }

bool LinkEvents::drain() {
    return netlink::drain(*_socket, [](int type, Bytes) { return type == RTM_NEWLINK || type == RTM_DELLINK; });
}

} // namespace vantrel::netlink
