#include "ConnectionFixture.h"

#include "base/Capabilities.h"

#include <pcap/pcap.h>
#include <sys/socket.h>

namespace vantrel::testing {

void Journal::note(std::string what) {
    const std::lock_guard lock(_mutex);
    _calls.push_back(std::move(what));
}

Calls Journal::calls() const {
    const std::lock_guard lock(_mutex);
    return _calls;
}

std::ptrdiff_t Journal::count(const std::string& what) const {
    const auto all = calls();
    return std::ranges::count(all, what);
}

Expected<void> TestAirport::setWLANChannel(const CWChannel& wanted) {
    _journal.note("channel " + std::to_string(wanted.channelNumber));
    if (const auto held = capabilities()) {
        permittedAtTuning = held->permitted;
    }
    if (wanted.channelNumber == refusedChannel) {
        return failure(QStringLiteral("test"), QStringLiteral("refused"));
    }
    return {};
}

Expected<void> TestAirport::setPower(bool on) {
    _journal.note(on ? "power on" : "power off");
    return {};
}

void TestAirport::disassociate() {
    _journal.note("disassociate");
    associated = false;
}

namespace {

class TestMonitor final : public MonitorMode {
public:
    TestMonitor(QString device, Journal& journal) : _device(std::move(device)), _journal(journal) {}
    ~TestMonitor() override { _journal.note("monitor ends"); }
    [[nodiscard]] QString deviceName() const override { return _device; }
    [[nodiscard]] FileDescriptor takeStream() override { return {}; }

private:
    const QString _device;
    Journal& _journal;
};

} // namespace

Expected<std::unique_ptr<MonitorMode>> TestAirport::beginMonitorMode(MonitorUse /*use*/) {
    if (duringMonitor) {
        duringMonitor();
    }
    if (!givesMonitor) {
        return failure(QStringLiteral("monitor mode"), QStringLiteral("not here"));
    }
    return std::make_unique<TestMonitor>(device, _journal);
}

void TestClock::waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& changed, Time deadline,
                          const std::function<bool()>& over) {
    std::size_t number = 0;
    {
        const std::lock_guard own(_mutex);
        _dwells.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Time()));
        number = _dwells.size();
    }
    _begun.notify_all();
    const auto isEnded = [&] {
        const std::lock_guard own(_mutex);
        return _ended >= number;
    };
    while (!over() && !isEnded()) {
        changed.wait_for(lock, std::chrono::milliseconds(1));
    }
}

std::chrono::milliseconds TestClock::dwell(std::size_t number) {
    std::unique_lock lock(_mutex);
    _begun.wait(lock, [&] { return _dwells.size() >= number; });
    return _dwells[number - 1];
}

void TestClock::endDwell() {
    const std::lock_guard lock(_mutex);
    ++_ended;
}

namespace {

constexpr MacAddress address(int network) {
    return {0x02, 0x5a, 0x17, static_cast<std::uint8_t>(network >> 8), static_cast<std::uint8_t>(network), 0x01};
}

Announcement announcement(int network) {
    return {.bssid = address(network), .ssid = "Test", .channel = {6, bandTwoDotFourGHz, width20MHz}};
}

Bytes heard(const Bytes& frame, int signal) {
    Reception reception;
    reception.signal = static_cast<std::int8_t>(signal);
    return received(reception, frame);
}

} // namespace

Bytes beacon(int network, int signal, std::uint16_t sequence) {
    return heard(beaconFrame(announcement(network), sequence, 0, 0), signal);
}

Bytes probeResponse(int network, int signal) {
    return heard(probeResponseFrame(announcement(network), address(9999), 0, 0), signal);
}

std::string bssidOf(int network) {
    char text[18];
    const auto bytes = address(network);
    std::snprintf(text, sizeof text, "02:5a:17:%02x:%02x:01", bytes[3], bytes[4]);
    return text;
}

std::atomic<bool>& setfilterFails() {
    static std::atomic<bool> fails = false;
    return fails;
}

std::atomic<bool>& bindFails() {
    static std::atomic<bool> fails = false;
    return fails;
}

void ConnectionFixture::SetUp() {
    auto made = TapDevice::create();
    if (!made) {
        GTEST_SKIP() << "no live device: " << qPrintable(made.error().error.text());
    }
    tap.emplace(std::move(*made));
    airport.device = tap->name();
}

ConnectionFixture::~ConnectionFixture() { setfilterFails() = false; }

void ConnectionFixture::make(int bufferSize) {
    auto pair = makeTcpPair(bufferSize);
    client.emplace(std::move(pair.client));
    auto streams = makeStreamPair(std::move(pair.server));
    ASSERT_TRUE(streams);
    connection = VantrelCaptureConnection::initWithInputStream(
        std::move(streams->input), std::move(streams->output),
        {.airport = airport, .controls = controls, .turn = turn, .clock = clock});
    QObject::connect(connection.get(), &VantrelCaptureConnection::VantrelCaptureConnectionDidCloseNotification,
                     connection.get(), [this, opened = connection.get()](QObject* object) {
                         EXPECT_EQ(object, opened);
                         ++closings;
                     });
}

void ConnectionFixture::open(int bufferSize) {
    make(bufferSize);
    ASSERT_TRUE(connection && connection->open());
}

void ConnectionFixture::hear(const Bytes& frame) { ASSERT_TRUE(tap->write(frame)); }

void ConnectionFixture::hearAndFile(const Bytes& frame, int network) {
    hear(frame);
    ASSERT_TRUE(runUntil([&] { return connection->packets().contains(bssidOf(network)); }));
}

void ConnectionFixture::endSweep(std::size_t firstDwell) {
    for (std::size_t index = 0; index < airport.supported.size(); ++index) {
        static_cast<void>(clock.dwell(firstDwell + index));
        clock.endDwell();
    }
    static_cast<void>(clock.dwell(firstDwell + airport.supported.size()));
}

bool ConnectionFixture::captureEnds() {
    return runUntil([&] { return connection->isCaptureOver(); });
}

} // namespace vantrel::testing

// The linker's names for the wrapped functions and the originals (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

int __real_pcap_setfilter(pcap_t* handle, bpf_program* program);

int __wrap_pcap_setfilter(pcap_t* handle, bpf_program* program) {
    return vantrel::testing::setfilterFails() ? PCAP_ERROR : __real_pcap_setfilter(handle, program);
}

int __real_bind(int socket, const sockaddr* address, socklen_t length);

int __wrap_bind(int socket, const sockaddr* address, socklen_t length) {
    if (vantrel::testing::bindFails()) {
        errno = EADDRNOTAVAIL;
        return -1;
    }
    return __real_bind(socket, address, length);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
