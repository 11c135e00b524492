// What the loopback feed costs, through one connection whose client reads as fast as it can:
//
//   feed_bench NETWORKS SWEEPS
//
// The frames come from the stand-in for pcap_loop below, which calls the feed's own callback on the capture thread; a
// sweep ends at the bench's word. Prints one JSON object: medians over the sweeps, the first left out.
#include "CaptureTurn.h"
#include "SocketStreams.h"
#include "remote/CaptureControls.h"
#include "remote/VantrelCaptureConnection.h"
#include "simulated/TapDevice.h"
#include "wifi/CWInterface.h"
#include "wifi/HopLoop.h"

#include <QCoreApplication>
#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <pcap/pcap.h>
#include <sys/socket.h>
#include <zlib.h>

namespace {

using namespace vantrel;
using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

constexpr std::size_t recordSize = 193;

// A beacon as it is captured: radiotap with flags, signal and noise, the frame, its check sequence.
Bytes beacon(unsigned network) {
    Bytes frame{0, 0, 11, 0, 0x62, 0, 0, 0, 0x10, 0xC4, 0xA0, 0x80, 0, 0, 0};
    frame.insert(frame.end(), 6, 0xFF);
    for (int address = 0; address < 2; ++address) {
        frame.insert(frame.end(),
                     {2, 0, 0, 0, static_cast<std::uint8_t>(network >> 8), static_cast<std::uint8_t>(network)});
    }
    for (std::size_t index = frame.size(); index < recordSize - 4; ++index) {
        frame.push_back(static_cast<std::uint8_t>(index * 7));
    }
    const uLong sum = ::crc32(0, frame.data() + 11, static_cast<uInt>(frame.size() - 11));
    for (unsigned byte = 0; byte < 4; ++byte) {
        frame.push_back(static_cast<std::uint8_t>(sum >> (8 * byte)));
    }
    return frame;
}

class Monitor final : public MonitorMode {
public:
    explicit Monitor(QString device) : _device(std::move(device)) {}
    [[nodiscard]] QString deviceName() const override { return _device; }
    [[nodiscard]] FileDescriptor takeStream() override { return {}; }

private:
    const QString _device;
};

class Airport final : public CWInterface {
public:
    explicit Airport(QString device) : _device(std::move(device)) {}
    QString interfaceName() const override { return _device; }
    CWInterfaceMode interfaceMode() const override { return CWInterfaceMode::None; }
    QString ssid() const override { return {}; }
    std::optional<CWChannel> wlanChannel() const override { return {}; }
    std::vector<CWChannel> supportedWLANChannels() const override { return {{6, bandTwoDotFourGHz, width20MHz}}; }
    bool powerOn() const override { return true; }
    Expected<void> setWLANChannel(const CWChannel&) override { return {}; }
    Expected<void> setPower(bool) override { return {}; }
    void disassociate() override {}
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse /*use*/) override {
        return std::make_unique<Monitor>(_device);
    }

private:
    const QString _device;
};

class NoMenu final : public CaptureControls {
public:
    void disableCaptures() override {}
    void enableCaptures() override {}
    [[nodiscard]] bool isCapturing() const override { return false; }
};

// A dwell, which is a whole sweep here, lasts until the frames of it are in.
class Sweeps final : public HopClock {
public:
    Time now() override { return {}; }
    void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& changed, Time /*deadline*/,
                   const std::function<bool()>& over) override {
        const unsigned mine = ++_begun;
        while (!over() && _ended < mine) {
            changed.wait_for(lock, std::chrono::microseconds(20));
        }
        left = Clock::now();
    }
    void awaitBegin(unsigned number) const {
        while (_begun < number) {
            std::this_thread::yield();
        }
    }
    void end() { ++_ended; }

    Clock::time_point left; // of the hop thread; read once the sweep's bytes have arrived

private:
    std::atomic<unsigned> _begun = 0;
    std::atomic<unsigned> _ended = 0;
};

struct Run {
    std::vector<Bytes> frames;
    unsigned sweeps = 0;
    int client = -1;
    Sweeps clock;
    std::vector<double> callback, delivery, whole, plain; // seconds
};
Run bench;

double seconds(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

Clock::time_point readAll(int socket, std::size_t length) {
    Bytes block(std::size_t{1} << 16);
    while (length > 0) {
        const ssize_t count = ::recv(socket, block.data(), std::min(block.size(), length), 0);
        if (count <= 0) {
            std::perror("feed_bench: recv");
            std::exit(1);
        }
        length -= static_cast<std::size_t>(count);
    }
    return Clock::now();
}

struct Pair {
    FileDescriptor client, server;
};

Pair makeTcpPair() {
    const FileDescriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* where = reinterpret_cast<sockaddr*>(&address);
    Pair made;
    made.client = FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::bind(listener.get(), where, length) != 0 || ::listen(listener.get(), 1) != 0 ||
        ::getsockname(listener.get(), where, &length) != 0 || ::connect(made.client.get(), where, length) != 0) {
        std::perror("feed_bench: socket");
        std::exit(1);
    }
    made.server = FileDescriptor(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    return made;
}

std::size_t sweepBytes() { return bench.frames.size() * (recordSize + 4); }

// The limit: the same bytes, written in one piece.
void measurePlain() {
    const Pair pair = makeTcpPair();
    const Bytes bytes(sweepBytes(), 0x55);
    for (unsigned number = 0; number < bench.sweeps; ++number) {
        auto arrived = std::async(std::launch::async, [&] { return readAll(pair.client.get(), bytes.size()); });
        const auto start = Clock::now();
        if (::send(pair.server.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
            std::perror("feed_bench: send");
            std::exit(1);
        }
        bench.plain.push_back(seconds(start, arrived.get()));
    }
}

void sweepAll(pcap_handler callback, unsigned char* connection) {
    pcap_pkthdr header{};
    header.caplen = header.len = recordSize;
    for (unsigned number = 1; number <= bench.sweeps; ++number) {
        bench.clock.awaitBegin(number);
        auto arrived = std::async(std::launch::async, [] { return readAll(bench.client, sweepBytes()); });
        const auto start = Clock::now();
        for (const Bytes& frame : bench.frames) {
            callback(connection, &header, frame.data());
        }
        const auto filed = Clock::now();
        bench.clock.end();
        const auto last = arrived.get();
        bench.callback.push_back(seconds(start, filed) / static_cast<double>(bench.frames.size()));
        bench.delivery.push_back(seconds(bench.clock.left, last));
        bench.whole.push_back(seconds(start, last));
    }
}

double median(std::vector<double> values) {
    values.erase(values.begin());
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void serveOneClient(const TapDevice& tap) {
    Airport airport(tap.name());
    NoMenu menu;
    CaptureTurn turn;
    Pair pair = makeTcpPair();
    bench.client = pair.client.get();
    auto streams = makeStreamPair(std::move(pair.server));
    if (!streams) {
        std::fprintf(stderr, "feed_bench: %s\n", qUtf8Printable(streams.error().text()));
        std::exit(1);
    }
    const auto connection = VantrelCaptureConnection::initWithInputStream(
        std::move(streams->input), std::move(streams->output),
        {.airport = airport, .controls = menu, .turn = turn, .clock = bench.clock});
    QObject::connect(connection.get(), &VantrelCaptureConnection::captureDidEnd, connection.get(),
                     &QCoreApplication::quit);
    connection->open();
    QCoreApplication::exec();
}

} // namespace

// The linker's names for the wrapped functions (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" int __wrap_pcap_loop(pcap_t* /*handle*/, int /*count*/, pcap_handler callback, unsigned char* user) {
    sweepAll(callback, user);
    return PCAP_ERROR_BREAK;
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

int main(int argc, char** argv) {
    const int networks = argc == 3 ? std::atoi(argv[1]) : 0;
    const int sweeps = argc == 3 ? std::atoi(argv[2]) : 0;
    const auto tap = TapDevice::create();
    if (networks < 1 || networks > 65535 || sweeps < 2 || !tap) {
        std::fprintf(stderr, "feed_bench: %s\n",
                     tap ? "usage: feed_bench NETWORKS SWEEPS" : qUtf8Printable(tap.error().error.text()));
        return 2;
    }
    const QCoreApplication application(argc, argv);
    bench.sweeps = static_cast<unsigned>(sweeps);
    for (int network = 0; network < networks; ++network) {
        bench.frames.push_back(beacon(static_cast<unsigned>(network)));
    }
    measurePlain();
    serveOneClient(*tap);
    std::printf("{\"callback\": %.9f, \"delivery\": %.9f, \"whole\": %.9f, \"plain\": %.9f, \"bytes\": %zu}\n",
                median(bench.callback), median(bench.delivery), median(bench.whole), median(bench.plain), sweepBytes());
    return 0;
}
