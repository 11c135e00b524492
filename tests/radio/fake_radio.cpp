// Speaks the protocol of vantrel-radio on descriptor 3, about an adapter that is not there.
//
//   fake_radio good              announces an associated adapter and obeys; its network is named "pid PID"
//   fake_radio lingers MS        the same, but ends only MS after its socket
//   fake_radio counted FILE      the same; appends a line to FILE at its start
//   fake_radio young FILE        as counted, but ends with exit status 6 once it has announced
//   fake_radio facts             announces as its network's name what it was started with
//   fake_radio exits STATUS      ends at once
//   fake_radio silent            announces nothing
//   fake_radio other-version     announces in another version of the protocol
//
// FakeRequests.h has what it does on request. A monitor mode is the device "vantrel0", or
// "probe0" for a probe; there is one at a time.
#include "FakeRequests.h"
#include "protocol/PacketSocket.h"

#include <QDir>
#include <QFile>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using namespace vantrel;
using namespace vantrel::protocol;
using Bytes = std::vector<std::uint8_t>;

void pause(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

QString facts() {
    QStringList facts;
    facts << (::getsid(0) == ::getpid() ? QStringLiteral("leader") : QStringLiteral("follower"));
    sigset_t blocked;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    facts << (::sigisemptyset(&blocked) != 0 ? QStringLiteral("unblocked") : QStringLiteral("blocked"));
    facts << (::signal(SIGPIPE, SIG_DFL) == SIG_DFL ? QStringLiteral("default") : QStringLiteral("ignored"));
    facts << QFile::symLinkTarget(QStringLiteral("/proc/self/fd/0"));
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) {
            facts << QString::number(descriptor);
        }
    }
    facts << qEnvironmentVariable("FAKE_RADIO_FACT");
    return facts.join(QLatin1Char(' '));
}

class FakeRadio {
public:
    explicit FakeRadio(QString network) {
        _state = {QStringLiteral("fake0"),
                  CWInterfaceMode::Station,
                  std::move(network),
                  QStringLiteral("02:00:00:00:00:01"),
                  CWChannel{6, bandTwoDotFourGHz, width20MHz},
                  true};
    }

    void announce() {
        announceState();
        send(0, Channels{{{1, bandTwoDotFourGHz, width20MHz}, {36, bandFiveGHz, width80MHz}}});
    }

    void serve() {
        for (;;) {
            const auto packet = _socket.receive();
            if (!packet) {
                std::fprintf(stderr, "fake_radio: %s\n", qUtf8Printable(packet.error().text()));
                std::exit(9);
            }
            if (!*packet) {
                return;
            }
            std::visit([this, number = (*packet)->request](const auto& message) { obey(number, message); },
                       (*packet)->message);
        }
    }

private:
    void send(std::uint32_t number, const Message& message) {
        if (const auto sent = _socket.send({number, message}); !sent) {
            std::exit(0);
        }
    }
    void sendRaw(const Bytes& bytes) const { ::send(_socket.descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL); }
    void announceState() { send(0, _state); }
    void done(std::uint32_t number) { send(number, Done{}); }

    void obey(std::uint32_t number, const SetChannel& request) {
        using namespace vantrel::testing;
        switch (request.channel.channelNumber) {
        case Refuse:
            send(number,
                 Done{QStringLiteral("NL80211_CMD_SET_CHANNEL"), QStringLiteral("Device or resource busy"), {}});
            return;
        case StaySilent:
            _state.channel = request.channel;
            announceState();
            return;
        case AnswerLate:
            pause(300);
            break;
        case Exit:
            std::_Exit(5);
        case Die:
            ::kill(::getpid(), SIGKILL);
            return;
        case LeaveHeir:
            if (::fork() == 0) {
                pause(3000);
                std::_Exit(0);
            }
            std::_Exit(5);
        case CloseSocket:
            ::close(_socket.descriptor());
            pause(300);
            std::_Exit(0);
        case CloseEarly:
            ::close(_socket.descriptor());
            pause(1500);
            std::_Exit(0);
        case SayGarbage:
            sayGarbage();
            break;
        case BeginLate:
            _beginTime = 2000;
            break;
        case BeginBlank:
            _deviceName.clear();
            break;
        case Flood:
            for (int i = 0; i < 20001; ++i) {
                _state.powerOn = !_state.powerOn;
                announceState();
            }
            break;
        case AnswerMuch:
            send(number + 1000, Done{QStringLiteral("wrong"), QStringLiteral("wrong"), {}});
            send(0, Done{QStringLiteral("wrong"), QStringLiteral("wrong"), {}});
            done(number);
            break;
        case Vanish:
            _state = {};
            announceState();
            send(0, Channels{});
            break;
        case Rename:
            _state.ssid = QStringLiteral("another");
            _state.bssid = QStringLiteral("02:00:00:00:00:02");
            announceState();
            break;
        default:
            _state.channel = request.channel;
            announceState();
        }
        done(number);
    }

    void sayGarbage() {
        sendRaw({});
        sendRaw({1, 2, 3});
        sendRaw({2, 0, 0, 0, 0, 0});
        sendRaw(Bytes(longestPacket + 1, 1));
        send(0, BeginMonitor{}); // a request, which is not its part
        for (int i = 0; i < 100; ++i) {
            sendRaw({1, 99, 0, 0, 0, 0});
        }
    }

    void obey(std::uint32_t number, const SetPower& request) {
        _state.powerOn = request.on;
        announceState();
        done(number);
    }

    void obey(std::uint32_t number, const Disassociate& /*request*/) {
        if (_state.mode != CWInterfaceMode::Station) {
            send(number, Done{{}, QStringLiteral("not associated"), {}});
            return;
        }
        _state.mode = CWInterfaceMode::None;
        _state.ssid.clear();
        _state.bssid.clear();
        announceState();
        done(number);
    }

    void obey(std::uint32_t number, const BeginMonitor& request) {
        pause(std::exchange(_beginTime, 0));
        if (_monitoring) {
            send(number, Done{QStringLiteral("NL80211_CMD_NEW_INTERFACE"), QStringLiteral("File exists"), {}});
            return;
        }
        _monitoring = true;
        _state.mode = CWInterfaceMode::Monitor;
        announceState();
        send(number, Done{{}, {}, request.probe ? QStringLiteral("probe0") : _deviceName});
    }

    void obey(std::uint32_t number, const EndMonitor& /*request*/) {
        _monitoring = false;
        _state.mode = CWInterfaceMode::None;
        announceState();
        done(number);
    }

    template <typename Other>
    void obey(std::uint32_t /*number*/, const Other& /*message*/) {
        std::exit(9); // no request
    }

    PacketSocket _socket{FileDescriptor(3)};
    State _state;
    bool _monitoring = false;
    int _beginTime = 0; // ms
    QString _deviceName = QStringLiteral("vantrel0");
};

void appendLine(const char* path) {
    QFile file(QFile::decodeName(path));
    if (!file.open(QIODevice::Append) || file.write("started\n") < 0) {
        std::exit(9);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string behaviour = argc > 1 ? argv[1] : "";
    const char* const argument = argc > 2 ? argv[2] : "";
    if (behaviour == "exits") {
        return std::atoi(argument);
    }
    if (behaviour == "counted" || behaviour == "young") {
        appendLine(argument);
    }
    FakeRadio radio(behaviour == "facts" ? facts() : QStringLiteral("pid %1").arg(::getpid()));
    if (behaviour == "other-version") {
        const Bytes other{2, 6, 0, 0, 0, 0};
        ::send(3, other.data(), other.size(), MSG_NOSIGNAL);
    } else if (behaviour != "silent") {
        radio.announce();
    }
    if (behaviour == "young") {
        return 6;
    }
    radio.serve();
    if (behaviour == "lingers") {
        pause(std::atoi(argument));
    }
    return 0;
}
