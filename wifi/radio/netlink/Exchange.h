// One request to the kernel over a netlink socket and all of its answer, or whatever the kernel sends unasked.
//
// Every wait is bounded. A socket belongs to one thread.
#pragma once

#include "Attributes.h"
#include "base/Error.h"
#include "netlink/NetlinkSocket.h"

#include <QString>
#include <functional>

struct nl_msg;

namespace vantrel::netlink {

// A failure with its errno, for whoever has another way.
struct Failure {
    Error error;
    int number = 0; // 0 when it was no system call that failed
};

// Gets the type of a message and what stands behind its header.
using Visit = std::function<void(int type, Bytes payload)>;

// A connected socket of that protocol (NETLINK_GENERIC, NETLINK_ROUTE) whose reads end after two seconds.
[[nodiscard]] Expected<Socket> openSocket(int protocol);

// The same, that does not block: for multicast groups.
[[nodiscard]] Expected<Socket> openEventSocket(int protocol);

// The message to send. The name is what an error says has failed.
class Request {
public:
    // Of generic netlink. The flags are NLM_F_ ones; request and acknowledgement go without saying.
    [[nodiscard]] static Request generic(int family, std::uint8_t command, const QString& name, int flags = 0);
    // Of rtnetlink: the header is what stands in front of the attributes, such as an ifinfomsg.
    [[nodiscard]] static Request route(int type, Bytes header, const QString& name);

    Request& add(int attribute, std::uint32_t value);
    Request& addWide(int attribute, std::uint64_t value);
    Request& add(int attribute, const QByteArray& text); // a zero is put behind it
    Request& addFlag(int attribute);

    // Sends it, shows each message of the answer, and returns when the kernel has acknowledged it, has come to the end
    // of the dump, or has refused. EAGAIN: what was listed changed meanwhile, and some of it may be missing.
    [[nodiscard]] tl::expected<void, Failure> exchange(nl_sock& socket, const Visit& visit = {});

private:
    struct MessageDeleter {
        void operator()(nl_msg* message) const;
    };
    using Message = std::unique_ptr<nl_msg, MessageDeleter>;
    Request(Message message, QString name) : _message(std::move(message)), _name(std::move(name)) {}

    void note(int result);
    [[nodiscard]] tl::unexpected<Failure> fail(const QString& why, int number = 0) const;
    [[nodiscard]] tl::unexpected<Failure> fail(int libraryError) const;

    Message _message; // empty when there was no memory for it
    QString _name;
    int _trouble = 0; // the first error of libnl while building
};

// Reads all that has arrived at a socket that does not block. True when any message is a change, or when some was lost.
[[nodiscard]] bool drain(nl_sock& socket, const std::function<bool(int type, Bytes payload)>& isChange);

} // namespace vantrel::netlink
