#include "RadioFixture.h"

#include <csignal>
#include <thread>

namespace vantrel::testing {
namespace {

using namespace std::chrono_literals;

using Events = std::vector<std::string>;

class RadioEventsTest : public RadioTest {};

TEST_F(RadioEventsTest, WhatChangedIsToldInItsOrderAndBeforeTheRequestReturns) {
    start("good");
    EventRecorder delegate;
    monitorAll(delegate);
    EXPECT_TRUE(adapter().setWLANChannel({36, bandFiveGHz, width80MHz})); // no event has this
    EXPECT_EQ(delegate.events(), Events());
    EXPECT_TRUE(adapter().setPower(false));
    EXPECT_EQ(delegate.events(), Events({"power fake0"}));
    EXPECT_TRUE(adapter().setPower(false)); // nothing new
    adapter().disassociate();
    EXPECT_EQ(delegate.events(), Events({"power fake0", "mode fake0", "ssid fake0", "bssid fake0"}));
    _client->setDelegate(nullptr);
}

TEST_F(RadioEventsTest, AVanishedAdapterIsToldUnderTheNameItHad) {
    start("good");
    EventRecorder delegate;
    monitorAll(delegate);
    EXPECT_TRUE(request(Rename));
    EXPECT_EQ(delegate.events(), Events({"ssid fake0", "bssid fake0"}));
    EXPECT_TRUE(request(Vanish));
    EXPECT_EQ(delegate.events(),
              Events({"ssid fake0", "bssid fake0", "power fake0", "mode fake0", "ssid fake0", "bssid fake0"}));
    EXPECT_TRUE(adapter().supportedWLANChannels().empty());
    _client->setDelegate(nullptr);
}

TEST_F(RadioEventsTest, OnlyWhatIsMonitoredIsTold) {
    start("good");
    EventRecorder delegate;
    _client->setDelegate(&delegate);
    EXPECT_TRUE(adapter().setPower(false));
    EXPECT_TRUE(_client->startMonitoringEventWithType(CWEventType::SSIDDidChange));
    adapter().disassociate();
    EXPECT_EQ(delegate.events(), Events({"ssid fake0"}));
    _client->setDelegate(nullptr);
}

TEST_F(RadioEventsTest, TheDeathOfTheProcessAndItsReturnAreTold) {
    start("good");
    EventRecorder delegate;
    monitorAll(delegate);
    ASSERT_EQ(::kill(processId(), SIGKILL), 0);
    ASSERT_TRUE(delegate.waitFor(8));
    const Events all{"power fake0", "mode fake0", "ssid fake0", "bssid fake0",
                     "power fake0", "mode fake0", "ssid fake0", "bssid fake0"};
    EXPECT_EQ(delegate.events(), all);
    EXPECT_TRUE(adapter().powerOn());
    _client->setDelegate(nullptr);
}

TEST_F(RadioEventsTest, EveryChangeOfAFloodIsTold) {
    start("good");
    EventRecorder delegate;
    monitorAll(delegate);
    EXPECT_TRUE(request(Flood));
    EXPECT_EQ(delegate.events().size(), 20001U);
    EXPECT_FALSE(adapter().powerOn());
    _client->setDelegate(nullptr);
}

TEST_F(RadioEventsTest, AFloodDoesNotHoldUpTheEnd) {
    start("good");
    std::thread asking([this] { static_cast<void>(request(Flood)); });
    EventRecorder delegate;
    monitorAll(delegate);
    EXPECT_TRUE(delegate.waitFor(10));
    _client->setDelegate(nullptr);
    const auto begin = std::chrono::steady_clock::now();
    _client.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    asking.join();
}

// Holds the calling thread until it is let go.
class HoldingDelegate : public EventRecorder {
public:
    void powerStateDidChangeForWiFiInterfaceWithName(const QString& name) override {
        EventRecorder::powerStateDidChangeForWiFiInterfaceWithName(name);
        std::unique_lock lock(_mutex);
        _letGo.wait_for(lock, 20s, [this] { return _free; });
        _returned = true;
    }
    void letGo() {
        const std::lock_guard lock(_mutex);
        _free = true;
        _letGo.notify_all();
    }
    [[nodiscard]] bool returned() const {
        const std::lock_guard lock(_mutex);
        return _returned;
    }

private:
    mutable std::mutex _mutex;
    std::condition_variable _letGo;
    bool _free = false;     // guarded by _mutex
    bool _returned = false; // guarded by _mutex
};

TEST_F(RadioEventsTest, ADelegateMayDieOnceItIsReplaced) {
    start("good");
    auto delegate = std::make_unique<HoldingDelegate>();
    monitorAll(*delegate);
    std::thread asking([this] { EXPECT_TRUE(adapter().setPower(false)); });
    EXPECT_TRUE(delegate->waitFor(1)); // it is being called
    std::thread freeing([&delegate] {
        std::this_thread::sleep_for(100ms); // so that a replacing that does not wait is seen to return too early
        delegate->letGo();
    });
    _client->setDelegate(nullptr);
    EXPECT_TRUE(delegate->returned());
    freeing.join();
    delegate.reset();
    asking.join();
    EXPECT_TRUE(adapter().setPower(true)); // nobody is told
}

// Takes itself away, and asks for a change, from within the call.
class LeavingDelegate : public EventRecorder {
public:
    explicit LeavingDelegate(CWWiFiClient& client) : _client(client) {}
    void powerStateDidChangeForWiFiInterfaceWithName(const QString& name) override {
        EventRecorder::powerStateDidChangeForWiFiInterfaceWithName(name);
        const auto asked = _client.interface().setPower(true);
        _text = asked ? QString() : asked.error().text();
        _client.setDelegate(nullptr);
    }
    [[nodiscard]] QString text() const { return _text; }

private:
    CWWiFiClient& _client; // borrowed
    QString _text;
};

TEST_F(RadioEventsTest, ADelegateMayReplaceItselfButAskForNothing) {
    start("good");
    LeavingDelegate delegate(*_client);
    monitorAll(delegate);
    EXPECT_TRUE(adapter().setPower(false));
    EXPECT_EQ(delegate.text(),
              QStringLiteral("setPower: the adapter cannot be changed within an announcement of its changes"));
    EXPECT_TRUE(adapter().setPower(true));
    EXPECT_EQ(delegate.events().size(), 1U);
}

} // namespace
} // namespace vantrel::testing
