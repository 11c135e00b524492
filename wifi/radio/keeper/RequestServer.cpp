#include "keeper/RequestServer.h"

#include "Logging.h"

#include <chrono>
#include <type_traits>

namespace vantrel {

namespace {

using namespace std::chrono_literals;

constexpr auto burst = 30ms;
// Between the end of a capture and its last tuning, and between a tuning and the capture on that channel, the station
// is not given back for the moment.
constexpr auto idleAside = 1500ms;

protocol::Done doneAs(const Expected<void>& outcome) {
    return outcome ? protocol::Done{}
                   : protocol::Done{.what = outcome.error().what, .why = outcome.error().why, .result = {}};
}

} // namespace

RequestServer::RequestServer(AdapterKeeper& keeper, protocol::PacketSocket socket)
    : _keeper(keeper),
      _socket(std::move(socket)) {
    for (QTimer* timer : {&_settled, &_idleAside}) {
        timer->setSingleShot(true);
    }
    connect(&_settled, &QTimer::timeout, this, [this] {
        watchRadios();
        _keeper.refresh(std::exchange(_channelsMayHaveChanged, false));
        announceChanges();
    });
    connect(&_idleAside, &QTimer::timeout, this, [this] {
        if (_keeper.isIdleAside()) {
            _keeper.giveBack();
            announceChanges();
        }
    });
    watch(_socket.descriptor(), [this] { readRequest(); });
    announceChanges();
}

void RequestServer::watch(int descriptor, const std::function<void()>& readable) {
    auto notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, readable);
    _notifiers.push_back(std::move(notifier));
}

void RequestServer::watchKernel() {
    if (auto opened = netlink::LinkEvents::open()) {
        _linkEvents = std::move(*opened);
        watch(_linkEvents->descriptor(), [this] {
            if (_linkEvents->drain()) {
                somethingChanged(false);
            }
        });
    } else {
        qCWarning(lcKeeper, "%s", qUtf8Printable(opened.error().text()));
    }
    if (auto opened = netlink::RadioKillEvents::open()) {
        _switchEvents = std::move(*opened);
        watch(_switchEvents->descriptor(), [this] {
            if (_switchEvents->drain()) {
                somethingChanged(false);
            }
        });
    } else {
        qCInfo(lcKeeper, "%s", qUtf8Printable(opened.error().text()));
    }
    watchRadios();
    // What happened between the keeper's first look and the first event.
    somethingChanged(true);
}

// The kernel's Wi-Fi may come later, with the driver of an adapter that is plugged in.
void RequestServer::watchRadios() {
    if (_radioEvents) {
        return;
    }
    auto opened = netlink::Nl80211Events::open();
    if (!opened) {
        return;
    }
    _radioEvents = std::move(*opened);
    _channelsMayHaveChanged = true;
    watch(_radioEvents->descriptor(), [this] {
        if (_radioEvents->drain()) {
            somethingChanged(true);
        }
    });
}

void RequestServer::somethingChanged(bool channelsMayHaveChanged) {
    _channelsMayHaveChanged |= channelsMayHaveChanged;
    if (!_settled.isActive()) {
        _settled.start(burst);
    }
}

void RequestServer::readRequest() {
    const auto packet = _socket.receive();
    if (!packet) {
        qCWarning(lcKeeper, "%s", qUtf8Printable(packet.error().text()));
        return;
    }
    if (!*packet) {
        end();
        return;
    }
    const protocol::Done done = execute((*packet)->message);
    announceChanges();
    send({.request = (*packet)->request, .message = done});
    if (_keeper.isIdleAside()) {
        _idleAside.start(idleAside);
    } else {
        _idleAside.stop();
    }
}

protocol::Done RequestServer::execute(const protocol::Message& request) {
    return std::visit(
        [this](const auto& message) -> protocol::Done {
            using Request = std::decay_t<decltype(message)>;
            if constexpr (std::is_same_v<Request, protocol::SetChannel>) {
                return doneAs(_keeper.setChannel(message.channel));
            } else if constexpr (std::is_same_v<Request, protocol::SetPower>) {
                return doneAs(_keeper.setPower(message.on));
            } else if constexpr (std::is_same_v<Request, protocol::Disassociate>) {
                return doneAs(_keeper.disassociate());
            } else if constexpr (std::is_same_v<Request, protocol::BeginMonitor>) {
                const auto name = _keeper.beginMonitor(message.probe);
                return name ? protocol::Done{.what = {}, .why = {}, .result = *name}
                            : protocol::Done{.what = name.error().what, .why = name.error().why, .result = {}};
            } else if constexpr (std::is_same_v<Request, protocol::EndMonitor>) {
                _keeper.endMonitor();
                return {};
            } else {
                return {.what = QStringLiteral("request"), .why = QStringLiteral("this is none"), .result = {}};
            }
        },
        request);
}

void RequestServer::announceChanges() {
    if (_announcedChannels != _keeper.channels()) {
        _announcedChannels = _keeper.channels();
        send({.request = 0, .message = *_announcedChannels});
    }
    if (const auto state = _keeper.state(); _announcedState != state) {
        _announcedState = state;
        send({.request = 0, .message = state});
    }
}

void RequestServer::send(const protocol::Packet& packet) {
    if (_ended) {
        return;
    }
    if (const auto sent = _socket.send(packet); !sent) {
        qCWarning(lcKeeper, "%s", qUtf8Printable(sent.error().text()));
        end();
    }
}

void RequestServer::end() {
    if (std::exchange(_ended, true)) {
        return;
    }
    for (const auto& notifier : _notifiers) {
        notifier->setEnabled(false);
    }
    // Later: the first announcement may fail before anybody listens.
    QTimer::singleShot(0, this, &RequestServer::clientGone);
}

} // namespace vantrel
