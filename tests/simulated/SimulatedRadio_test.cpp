#include "simulated/SimulatedRadio.h"

#include "wifi/ChannelMath.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <future>
#include <gmock/gmock.h>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

namespace vantrel {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

constexpr CWChannel home{36, bandFiveGHz, width80MHz};
constexpr CWChannel other{6, bandTwoDotFourGHz, width20MHz};

class Recorder final : public CWEventDelegate {
public:
    void bssidDidChangeForWiFiInterfaceWithName(const QString& name) override { record("bssid", name); }
    void powerStateDidChangeForWiFiInterfaceWithName(const QString& name) override { record("power", name); }
    void modeDidChangeForWiFiInterfaceWithName(const QString& name) override { record("mode", name); }
    void ssidDidChangeForWiFiInterfaceWithName(const QString& name) override { record("ssid", name); }

    // What came, once that many events have come; fewer after five seconds.
    std::vector<std::string> waitFor(std::size_t count) {
        std::unique_lock lock(_mutex);
        _changed.wait_for(lock, 5s, [&] { return _events.size() >= count; });
        return std::exchange(_events, {});
    }
    bool onOtherThread() {
        const std::lock_guard lock(_mutex);
        return _thread != std::this_thread::get_id();
    }

private:
    void record(const char* event, const QString& name) {
        const std::lock_guard lock(_mutex);
        _events.push_back(event + (name == QStringLiteral("wlansim0") ? std::string() : "?"));
        _thread = std::this_thread::get_id();
        _changed.notify_all();
    }

    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<std::string> _events;
    std::thread::id _thread;
};

class SimulatedRadio : public ::testing::Test {
protected:
    CWInterface& make(SimulatedOptions options = {}) {
        options.transport = SimulatedTransport::Stream;
        options.loadFramesPerSecond = 0;
        _client = makeSimulatedClient(options);
        _client->setDelegate(&_recorder);
        for (const auto type : {CWEventType::BSSIDDidChange, CWEventType::PowerDidChange, CWEventType::ModeDidChange,
                                CWEventType::SSIDDidChange}) {
            EXPECT_TRUE(_client->startMonitoringEventWithType(type));
        }
        return _client->interface();
    }

    Recorder _recorder;
    std::unique_ptr<CWWiFiClient> _client;
};

TEST_F(SimulatedRadio, StartsAsAMemberOfItsOwnNetwork) {
    auto& interface = make();
    EXPECT_EQ(_client->backendNote(), QStringLiteral("simulated"));
    EXPECT_EQ(interface.interfaceName(), QStringLiteral("wlansim0"));
    EXPECT_TRUE(interface.isAssociated());
    EXPECT_TRUE(interface.powerOn());
    EXPECT_EQ(interface.ssid(), QStringLiteral("Vantrel Lab"));
    EXPECT_EQ(interface.wlanChannel(), home);
}

TEST_F(SimulatedRadio, SupportsTheChannelsOfBothBandsInOrder) {
    const auto channels = make().supportedWLANChannels();
    const auto key = [](const CWChannel& channel) {
        return std::tuple(channel.channelBand, channel.channelNumber, channel.channelWidth);
    };
    EXPECT_TRUE(std::is_sorted(channels.begin(), channels.end(),
                               [&](const auto& left, const auto& right) { return key(left) < key(right); }));
    std::array<int, 5> widths{};
    for (const auto& channel : channels) {
        ++widths[static_cast<std::size_t>(channel.channelWidth)];
    }
    // 11 and 25 numbers; all but 165 join to 40 and 80 MHz; 36 to 64 and 100 to 128 to 160 MHz.
    EXPECT_THAT(widths, ElementsAre(0, 11 + 25, 11 + 24, 24, 16));
}

TEST_F(SimulatedRadio, IsNotTunedWhileAssociated) {
    auto& interface = make();
    const auto tuned = interface.setWLANChannel(other);
    ASSERT_FALSE(tuned);
    EXPECT_EQ(tuned.error().text(),
              QStringLiteral("setWLANChannel: the adapter is busy: it is connected to a network"));
    EXPECT_EQ(interface.wlanChannel(), home);
}

TEST_F(SimulatedRadio, DisassociatingLeavesTheChannelAndAnnouncesTheChange) {
    auto& interface = make();
    interface.disassociate();
    EXPECT_THAT(_recorder.waitFor(3), ElementsAre("mode", "ssid", "bssid"));
    EXPECT_TRUE(_recorder.onOtherThread());
    EXPECT_EQ(interface.interfaceMode(), CWInterfaceMode::None);
    EXPECT_TRUE(interface.ssid().isEmpty());
    EXPECT_EQ(interface.wlanChannel(), home);
    EXPECT_TRUE(interface.setWLANChannel(other));
    EXPECT_EQ(interface.wlanChannel(), other);
    EXPECT_EQ(interface.channelWidth(), 20);
}

TEST_F(SimulatedRadio, UnsupportedChannelsAreRefused) {
    SimulatedOptions options;
    options.startAssociated = false;
    options.supportedChannels = std::vector<CWChannel>{other, {1, bandTwoDotFourGHz, width20MHz}};
    auto& interface = make(options);
    EXPECT_EQ(interface.wlanChannel(), (CWChannel{1, bandTwoDotFourGHz, width20MHz}));
    EXPECT_TRUE(interface.setWLANChannel(other));
    const auto tuned = interface.setWLANChannel({6, bandTwoDotFourGHz, width40MHz});
    ASSERT_FALSE(tuned);
    EXPECT_EQ(tuned.error().why, QStringLiteral("the adapter does not support this channel"));
    EXPECT_EQ(interface.wlanChannel(), other);
}

TEST_F(SimulatedRadio, PowerOffLeavesTheNetworkAndStopsTuning) {
    auto& interface = make();
    EXPECT_TRUE(interface.setPower(false));
    EXPECT_THAT(_recorder.waitFor(4), ElementsAre("power", "mode", "ssid", "bssid"));
    EXPECT_FALSE(interface.powerOn());
    EXPECT_EQ(interface.interfaceMode(), CWInterfaceMode::None);
    EXPECT_TRUE(interface.ssid().isEmpty());
    EXPECT_FALSE(interface.wlanChannel());
    const auto tuned = interface.setWLANChannel(other);
    ASSERT_FALSE(tuned);
    EXPECT_EQ(tuned.error().why, QStringLiteral("the adapter is switched off"));
    const auto monitor = interface.beginMonitorMode();
    ASSERT_FALSE(monitor);
    EXPECT_EQ(monitor.error().text(), QStringLiteral("beginMonitorMode: the adapter is switched off"));
}

TEST_F(SimulatedRadio, PowerOnRejoinsAfterTheDelay) {
    SimulatedOptions options;
    options.rejoinDelay = 150ms;
    auto& interface = make(options);
    interface.disassociate();
    ASSERT_TRUE(interface.setWLANChannel(other));
    EXPECT_TRUE(interface.setPower(false));
    _recorder.waitFor(4);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(interface.setPower(true));
    EXPECT_FALSE(interface.isAssociated());
    EXPECT_EQ(interface.wlanChannel(), other);
    EXPECT_THAT(_recorder.waitFor(4), ElementsAre("power", "mode", "ssid", "bssid"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 150ms);
    EXPECT_TRUE(interface.isAssociated());
    EXPECT_EQ(interface.ssid(), QStringLiteral("Vantrel Lab"));
    EXPECT_EQ(interface.wlanChannel(), home);
}

TEST_F(SimulatedRadio, ASecondPowerCycleStartsTheDelayAnew) {
    SimulatedOptions options;
    options.rejoinDelay = 200ms;
    auto& interface = make(options);
    for (int cycle = 0; cycle < 3; ++cycle) {
        EXPECT_TRUE(interface.setPower(false));
        EXPECT_TRUE(interface.setPower(true));
    }
    EXPECT_EQ(_recorder.waitFor(4 + 5 + 3).size(), 4U + 4 + 1 + 3) << "one rejoining, at the end";
    EXPECT_TRUE(interface.isAssociated());
}

TEST_F(SimulatedRadio, PowerOffAgainCancelsTheRejoining) {
    SimulatedOptions options;
    options.rejoinDelay = 0ms;
    auto& interface = make(options);
    for (int cycle = 0; cycle < 20; ++cycle) {
        EXPECT_TRUE(interface.setPower(true));
        EXPECT_TRUE(interface.setPower(false));
        // A rejoining that was on its way would come within this time.
        const auto end = std::chrono::steady_clock::now() + 5ms;
        while (std::chrono::steady_clock::now() < end) {
            ASSERT_TRUE(interface.ssid().isEmpty());
        }
    }
}

TEST_F(SimulatedRadio, SettingThePowerItHasChangesNothing) {
    auto& interface = make();
    EXPECT_TRUE(interface.setPower(true));
    EXPECT_TRUE(interface.isAssociated());
    interface.disassociate();
    interface.disassociate();
    EXPECT_THAT(_recorder.waitFor(3), ElementsAre("mode", "ssid", "bssid"));
}

TEST_F(SimulatedRadio, OnlyMonitoredEventsAreDelivered) {
    SimulatedOptions options;
    options.transport = SimulatedTransport::Stream;
    const auto client = makeSimulatedClient(options);
    Recorder recorder;
    client->setDelegate(&recorder);
    ASSERT_TRUE(client->startMonitoringEventWithType(CWEventType::SSIDDidChange));
    ASSERT_TRUE(client->startMonitoringEventWithType(CWEventType::BSSIDDidChange));
    ASSERT_TRUE(client->interface().setPower(false)); // power and mode come before these two and are left out
    EXPECT_THAT(recorder.waitFor(2), ElementsAre("ssid", "bssid"));
    client->setDelegate(nullptr);
}

TEST_F(SimulatedRadio, MonitorModeShowsOnlyWhenNotAssociated) {
    SimulatedOptions options;
    options.rejoinDelay = 0ms;
    auto& interface = make(options);
    auto monitor = interface.beginMonitorMode();
    ASSERT_TRUE(monitor);
    EXPECT_EQ(interface.interfaceMode(), CWInterfaceMode::Station);
    interface.disassociate();
    EXPECT_EQ(interface.interfaceMode(), CWInterfaceMode::Monitor);
    EXPECT_FALSE(interface.isAssociated());
    auto second = interface.beginMonitorMode();
    ASSERT_TRUE(second);
    monitor->reset();
    EXPECT_EQ(interface.interfaceMode(), CWInterfaceMode::Monitor);
    EXPECT_THAT(_recorder.waitFor(3), ElementsAre("mode", "ssid", "bssid"));
    second->reset();
    EXPECT_EQ(interface.interfaceMode(), CWInterfaceMode::None);
    EXPECT_THAT(_recorder.waitFor(1), ElementsAre("mode"));
}

TEST_F(SimulatedRadio, TheDelegateMayCallTheAdapter) {
    class Caller final : public CWEventDelegate {
    public:
        explicit Caller(CWWiFiClient& client) : _client(client) {}
        void bssidDidChangeForWiFiInterfaceWithName(const QString&) override {}
        void powerStateDidChangeForWiFiInterfaceWithName(const QString&) override {}
        void modeDidChangeForWiFiInterfaceWithName(const QString&) override {}
        void ssidDidChangeForWiFiInterfaceWithName(const QString&) override {
            answered.set_value(_client.interface().isAssociated());
            _client.setDelegate(nullptr);
        }
        std::promise<bool> answered;

    private:
        CWWiFiClient& _client;
    };
    auto& interface = make();
    Caller caller(*_client);
    auto answer = caller.answered.get_future();
    _client->setDelegate(&caller);
    interface.disassociate();
    ASSERT_EQ(answer.wait_for(5s), std::future_status::ready);
    EXPECT_FALSE(answer.get());
    _client.reset(); // ends the event thread before the caller goes
}

TEST_F(SimulatedRadio, TuningTakesAsLongAsARadioNeeds) {
    SimulatedOptions options;
    options.startAssociated = false;
    auto& interface = make(options);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(interface.setWLANChannel(other));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 2ms);
}

} // namespace
} // namespace vantrel
