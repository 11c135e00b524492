// The socket over which a process speaks with the kernel, as libnl holds it; closed when its owner goes.
#pragma once

#include <memory>

struct nl_sock;

namespace vantrel::netlink {

struct SocketDeleter {
    void operator()(nl_sock* socket) const;
};
using Socket = std::unique_ptr<nl_sock, SocketDeleter>;

} // namespace vantrel::netlink
