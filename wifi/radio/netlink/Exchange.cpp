#include "Exchange.h"

#include <QLoggingCategory>
#include <cerrno>
#include <cstdlib>
#include <linux/genetlink.h>
#include <netlink/errno.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace vantrel::netlink {

namespace {

Q_LOGGING_CATEGORY(lcNetlink, "vantrel.radio.netlink")

constexpr timeval longestWait{2, 0};

QString libraryText(int error) { return QString::fromLocal8Bit(::nl_geterror(error)); }

QString systemText(int number) { return QString::fromLocal8Bit(std::strerror(number)); }

struct BufferDeleter {
    void operator()(unsigned char* buffer) const { std::free(buffer); } // NOLINT: libnl allocates it with malloc
};

// What one read brings: nothing when the time is over or the socket is empty, else one or more messages, or a negative
// error of libnl. What did not come from the kernel is skipped.
class Datagram {
public:
    static Datagram receive(nl_sock& socket) {
        for (;;) {
            sockaddr_nl sender{};
            unsigned char* buffer = nullptr;
            const int result = ::nl_recv(&socket, &sender, &buffer, nullptr);
            Datagram datagram(buffer, result);
            if (result <= 0 || sender.nl_pid == 0) {
                return datagram;
            }
        }
    }

    [[nodiscard]] bool isEmpty() const { return _result == 0 || _result == -NLE_AGAIN; }
    [[nodiscard]] bool hasFailed() const { return _result < 0 && !isEmpty(); }
    [[nodiscard]] int error() const { return _result; }

    // Until `look` answers false.
    template <typename Look>
    void forEachMessage(Look look) const {
        int left = _result;
        auto* header = reinterpret_cast<nlmsghdr*>(_buffer.get());
        while (::nlmsg_ok(header, left) != 0 && look(*header)) {
            header = ::nlmsg_next(header, &left);
        }
    }

private:
    Datagram(unsigned char* buffer, int result) : _buffer(buffer), _result(result) {}

    std::unique_ptr<unsigned char, BufferDeleter> _buffer;
    int _result;
};

Bytes payloadOf(const nlmsghdr& header) {
    return {static_cast<const std::uint8_t*>(::nlmsg_data(&header)), header.nlmsg_len - NLMSG_HDRLEN};
}

// The kernel's own words on a refusal, which stand behind the copy of the request (linux/netlink.h, struct nlmsgerr).
QString explanation(const nlmsghdr& header, Bytes payload) {
    if ((header.nlmsg_flags & NLM_F_ACK_TLVS) == 0) {
        return {};
    }
    std::size_t before = sizeof(nlmsgerr);
    if ((header.nlmsg_flags & NLM_F_CAPPED) == 0) {
        nlmsgerr error{};
        std::memcpy(&error, payload.data(), sizeof error);
        before += NLMSG_ALIGN(error.msg.nlmsg_len) - sizeof(nlmsghdr);
    }
    QString text;
    if (before < payload.size()) {
        forEachAttribute(payload.subspan(before), [&text](int type, Bytes value) {
            if (type == NLMSGERR_ATTR_MSG) {
                const auto* characters = reinterpret_cast<const char*>(value.data());
                text = QString::fromUtf8(characters, static_cast<qsizetype>(::strnlen(characters, value.size())));
            }
        });
    }
    return text;
}

// The end of an answer: an error number, or 0, and the kernel's own words on it.
struct Refusal {
    int number = 0; // errno
    QString explanation;

    [[nodiscard]] QString text() const {
        return explanation.isEmpty() ? systemText(number) : systemText(number) + QStringLiteral(": ") + explanation;
    }
};

// Follows the answer to the request of that number, message by message.
class Answer {
public:
    Answer(std::uint32_t sequence, const Visit& visit) : _sequence(sequence), _visit(visit) {}

    // False when nothing more is to come.
    bool read(const nlmsghdr& header) {
        if (header.nlmsg_seq != _sequence) {
            return true; // of an earlier request, whose answer came too late
        }
        _torn = _torn || (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
        if (header.nlmsg_type == NLMSG_ERROR || header.nlmsg_type == NLMSG_DONE) {
            end(header);
            return false;
        }
        if (header.nlmsg_type >= NLMSG_MIN_TYPE && _visit) {
            _visit(header.nlmsg_type, payloadOf(header));
        }
        return true;
    }

    // Nothing until the end has come.
    [[nodiscard]] const std::optional<Refusal>& refusal() const { return _refusal; }

private:
    void end(const nlmsghdr& header) {
        const Bytes payload = payloadOf(header);
        int number = 0; // stands in front; the end of a dump may come without one
        if (payload.size() >= sizeof number) {
            std::memcpy(&number, payload.data(), sizeof number);
        }
        _refusal = Refusal{-number, {}};
        if (header.nlmsg_type == NLMSG_ERROR && payload.size() >= sizeof(nlmsgerr)) {
            _refusal->explanation = explanation(header, payload);
        }
        if (number == 0 && _torn) {
            _refusal->number = EAGAIN;
        }
    }

    std::uint32_t _sequence;
    const Visit& _visit;
    bool _torn = false; // what is listed has changed meanwhile
    std::optional<Refusal> _refusal;
};

Expected<Socket> connectedSocket(int protocol) {
    Socket socket(::nl_socket_alloc());
    if (!socket) {
        return failure(QStringLiteral("nl_socket_alloc"), libraryText(-NLE_NOMEM));
    }
    if (const int result = ::nl_connect(socket.get(), protocol); result < 0) {
        return failure(QStringLiteral("nl_connect"), libraryText(result));
    }
    return socket;
}

} // namespace

void SocketDeleter::operator()(nl_sock* socket) const { ::nl_socket_free(socket); }

void Request::MessageDeleter::operator()(nl_msg* message) const { ::nlmsg_free(message); }

Expected<Socket> openSocket(int protocol) {
    auto socket = connectedSocket(protocol);
    if (!socket) {
        return socket;
    }
    const int descriptor = ::nl_socket_get_fd(socket->get());
    if (::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &longestWait, sizeof longestWait) < 0) {
        return errnoFailure(QStringLiteral("SO_RCVTIMEO"));
    }
    const int on = 1;
    if (::setsockopt(descriptor, SOL_NETLINK, NETLINK_EXT_ACK, &on, sizeof on) < 0) {
        qCWarning(lcNetlink).noquote() << Error::fromErrno(QStringLiteral("NETLINK_EXT_ACK")).text();
    }
    return socket;
}

Expected<Socket> openEventSocket(int protocol) {
    auto socket = connectedSocket(protocol);
    if (!socket) {
        return socket;
    }
    if (const int result = ::nl_socket_set_nonblocking(socket->get()); result < 0) {
        return failure(QStringLiteral("nl_socket_set_nonblocking"), libraryText(result));
    }
    return socket;
}

Request Request::generic(int family, std::uint8_t command, const QString& name, int flags) {
    Request request(Message(::nlmsg_alloc()), name);
    if (request._message &&
        ::genlmsg_put(request._message.get(), NL_AUTO_PORT, NL_AUTO_SEQ, family, 0, flags, command, 0) == nullptr) {
        request.note(-NLE_NOMEM);
    }
    return request;
}

Request Request::route(int type, Bytes header, const QString& name) {
    Request request(Message(::nlmsg_alloc_simple(type, 0)), name);
    if (request._message) {
        // libnl copies from it, but its parameter does not say so.
        request.note(::nlmsg_append(request._message.get(), const_cast<std::uint8_t*>(header.data()), header.size(),
                                    NLMSG_ALIGNTO));
    }
    return request;
}

Request& Request::add(int attribute, std::uint32_t value) {
    if (_message) {
        note(::nla_put_u32(_message.get(), attribute, value));
    }
    return *this;
}

Request& Request::addWide(int attribute, std::uint64_t value) {
    if (_message) {
        note(::nla_put_u64(_message.get(), attribute, value));
    }
    return *this;
}

Request& Request::add(int attribute, const QByteArray& text) {
    if (_message) {
        note(::nla_put_string(_message.get(), attribute, text.constData()));
    }
    return *this;
}

Request& Request::addFlag(int attribute) {
    if (_message) {
        note(::nla_put_flag(_message.get(), attribute));
    }
    return *this;
}

void Request::note(int result) {
    if (_trouble == 0 && result < 0) {
        _trouble = result;
    }
}

tl::unexpected<Failure> Request::fail(const QString& why, int number) const {
    return tl::unexpected<Failure>({{_name, why}, number});
}

tl::unexpected<Failure> Request::fail(int libraryError) const { return fail(libraryText(libraryError)); }

tl::expected<void, Failure> Request::exchange(nl_sock& socket, const Visit& visit) {
    if (!_message || _trouble < 0) {
        return fail(_message ? _trouble : -NLE_NOMEM);
    }
    if (const int sent = ::nl_send_auto(&socket, _message.get()); sent < 0) {
        return fail(sent);
    }
    Answer answer(::nlmsg_hdr(_message.get())->nlmsg_seq, visit);
    while (!answer.refusal()) {
        const auto datagram = Datagram::receive(socket);
        if (datagram.isEmpty()) {
            return fail(systemText(ETIMEDOUT), ETIMEDOUT);
        }
        if (datagram.hasFailed()) {
            return fail(datagram.error());
        }
        datagram.forEachMessage([&answer](const nlmsghdr& header) { return answer.read(header); });
    }
    if (answer.refusal()->number != 0) {
        return fail(answer.refusal()->text(), answer.refusal()->number);
    }
    return {};
}

bool drain(nl_sock& socket, const std::function<bool(int type, Bytes payload)>& isChange) {
    bool changed = false;
    for (;;) {
        const auto datagram = Datagram::receive(socket);
        if (datagram.isEmpty()) {
            return changed;
        }
        if (datagram.hasFailed()) {
            // libnl says of ENOBUFS, too, that there is no memory: messages were lost, others may stand behind.
            changed = true;
            if (datagram.error() != -NLE_NOMEM) {
                qCWarning(lcNetlink).noquote() << "nl_recv:" << libraryText(datagram.error());
                return changed;
            }
            continue;
        }
        datagram.forEachMessage([&](const nlmsghdr& header) {
            changed = changed || isChange(header.nlmsg_type, payloadOf(header));
            return true;
        });
    }
}

} // namespace vantrel::netlink
