// One connection of the feed on a live TAP device, with an adapter and a clock that the test holds in its hands, and
// the client's end of a real TCP connection.
#pragma once

#include "CaptureTurn.h"
#include "SocketStreams.h"
#include "TestClient.h"
#include "remote/CaptureControls.h"
#include "remote/VantrelCaptureConnection.h"
#include "simulated/FrameBuilder.h"
#include "simulated/TapDevice.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "wifi/CWInterface.h"
#include "wifi/HopLoop.h"

#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace vantrel::testing {

using Calls = std::vector<std::string>;

// What happened to adapter and controls, in order, from every thread.
class Journal {
public:
    void note(std::string what);
    [[nodiscard]] Calls calls() const;
    [[nodiscard]] std::ptrdiff_t count(const std::string& what) const;

private:
    mutable std::mutex _mutex;
    Calls _calls; // guarded by _mutex
};

class TestAirport final : public CWInterface {
public:
    explicit TestAirport(Journal& journal) : _journal(journal) {}

    // Set before the connection is opened.
    QString device;
    bool givesMonitor = true;
    std::optional<CWChannel> channel = CWChannel{36, bandFiveGHz, width80MHz};
    std::vector<CWChannel> supported = {{1, bandTwoDotFourGHz, width20MHz}, {6, bandTwoDotFourGHz, width20MHz}};
    int refusedChannel = 0;
    std::function<void()> duringMonitor; // runs in the midst of beginMonitorMode()

    std::atomic<bool> associated = false;
    std::atomic<bool> power = true;
    std::atomic<std::uint64_t> permittedAtTuning = ~std::uint64_t{0}; // of the thread that tuned last

    QString interfaceName() const override { return device; }
    CWInterfaceMode interfaceMode() const override {
        return associated ? CWInterfaceMode::Station : CWInterfaceMode::None;
    }
    QString ssid() const override { return {}; }
    std::optional<CWChannel> wlanChannel() const override { return channel; }
    std::vector<CWChannel> supportedWLANChannels() const override { return supported; }
    bool powerOn() const override { return power; }
    Expected<void> setWLANChannel(const CWChannel& wanted) override;
    Expected<void> setPower(bool on) override;
    void disassociate() override;
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse use) override;

private:
    Journal& _journal;
};

class TestControls final : public CaptureControls {
public:
    explicit TestControls(Journal& journal) : _journal(journal) {}
    void disableCaptures() override { _journal.note("disable"); }
    void enableCaptures() override { _journal.note("enable"); }
    [[nodiscard]] bool isCapturing() const override { return capturing; }
    bool capturing = false;

private:
    Journal& _journal;
};

// Every dwell lasts until the test ends it.
class TestClock final : public HopClock {
public:
    Time now() override { return {}; }
    void waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& changed, Time deadline,
                   const std::function<bool()>& over) override;

    // Waits for the dwell of that number, counted from 1, and answers its length.
    [[nodiscard]] std::chrono::milliseconds dwell(std::size_t number);
    // Ends the dwell under way.
    void endDwell();

private:
    std::mutex _mutex;
    std::condition_variable _begun;
    std::vector<std::chrono::milliseconds> _dwells; // guarded by _mutex
    std::size_t _ended = 0;                         // guarded by _mutex
};

[[nodiscard]] Bytes beacon(int network, int signal, std::uint16_t sequence = 0);
[[nodiscard]] Bytes probeResponse(int network, int signal);
[[nodiscard]] std::string bssidOf(int network);

// While it is set, libpcap refuses every filter.
[[nodiscard]] std::atomic<bool>& setfilterFails();
// While it is set, no socket gets an address.
[[nodiscard]] std::atomic<bool>& bindFails();

class ConnectionFixture : public ::testing::Test {
protected:
    void SetUp() override;
    ~ConnectionFixture() override;

    // Makes the connection and its client.
    void make(int bufferSize = 0);
    // The same, and opens it.
    void open(int bufferSize = 0);
    // Has a frame arrive, and waits until it was filed or would have been.
    void hear(const Bytes& frame);
    void hearAndFile(const Bytes& frame, int network);
    // Ends the dwells of one sweep from that dwell on, and waits until the next sweep has begun.
    void endSweep(std::size_t firstDwell);
    [[nodiscard]] bool captureEnds();

    Journal journal;
    TestAirport airport{journal};
    TestControls controls{journal};
    CaptureTurn turn;
    TestClock clock;
    std::optional<TapDevice> tap;
    std::optional<TestClient> client;
    std::unique_ptr<VantrelCaptureConnection> connection;
    int closings = 0;
};

} // namespace vantrel::testing
