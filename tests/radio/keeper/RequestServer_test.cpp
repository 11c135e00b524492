// What a client reads on its end of the socket pair.
#include "KeeperFixture.h"
#include "keeper/RequestServer.h"
#include "support/EventLoop.h"

#include <array>
#include <atomic>
#include <thread>
#include <unistd.h>

namespace vantrel::testing {

namespace {

using protocol::Packet;
using ::testing::ElementsAre;

class RequestServerTest : public KeeperTest {
protected:
    void SetUp() override {
        auto ends = protocol::PacketSocket::makePair();
        ASSERT_TRUE(ends);
        client = std::make_unique<protocol::PacketSocket>(std::move(ends->first));
        start();
        server = std::make_unique<RequestServer>(*keeper, std::move(ends->second));
    }

    Packet receive() {
        auto packet = client->receive();
        EXPECT_TRUE(packet && *packet);
        return packet && *packet ? std::move(**packet) : Packet{};
    }
    // The announcements that came before the answer, and the answer.
    std::vector<Packet> ask(protocol::Message request) {
        std::vector<Packet> answers;
        EXPECT_TRUE(client->send({.request = ++number, .message = std::move(request)}));
        std::thread waiting([&] {
            do {
                answers.push_back(receive());
            } while (!std::holds_alternative<protocol::Done>(answers.back().message));
            answered = true;
        });
        EXPECT_TRUE(runUntil([this] { return answered.load(); }));
        waiting.join();
        answered = false;
        return answers;
    }
    void skipGreeting() {
        receive();
        receive();
    }

    std::unique_ptr<protocol::PacketSocket> client;
    std::unique_ptr<RequestServer> server;
    std::uint32_t number = 0;
    std::atomic<bool> answered = false;
};

TEST_F(RequestServerTest, ChannelsAndStateAreAnnouncedAtOnce) {
    const Packet channels = receive();
    EXPECT_EQ(channels.request, 0U);
    EXPECT_EQ(std::get<protocol::Channels>(channels.message).supported, control.supported);
    const Packet state = receive();
    EXPECT_EQ(std::get<protocol::State>(state.message).interfaceName, QStringLiteral("wlan0"));
}

TEST_F(RequestServerTest, WhatARequestChangedIsAnnouncedBeforeItsAnswer) {
    skipGreeting();
    const auto answers = ask(protocol::SetChannel{ScriptedControl::six});
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(std::get<protocol::State>(answers[0].message).channel, ScriptedControl::six);
    EXPECT_EQ(answers[1].request, number);
    EXPECT_EQ(answers[1].message, protocol::Message(protocol::Done{}));
}

TEST_F(RequestServerTest, ARefusalCarriesTheCallAndItsText) {
    skipGreeting();
    const auto answers = ask(protocol::SetChannel{{13, bandTwoDotFourGHz, width20MHz}});
    const auto& done = std::get<protocol::Done>(answers.back().message);
    EXPECT_EQ(done.what, QStringLiteral("setWLANChannel"));
    EXPECT_EQ(done.why, QStringLiteral("the adapter does not support this channel"));
}

TEST_F(RequestServerTest, EveryRequestReachesTheKeeper) {
    skipGreeting();
    joinNetwork();
    ask(protocol::Disassociate{});
    const auto begun = ask(protocol::BeginMonitor{.probe = false});
    EXPECT_EQ(std::get<protocol::Done>(begun.back().message).result, QStringLiteral("vantrel0"));
    ask(protocol::EndMonitor{});
    ask(protocol::SetPower{false});
    ask(protocol::SetPower{true});
    EXPECT_THAT(control.calls, ElementsAre("wlan0 down", "add vantrel0", "vantrel0 up", "tune 6/1", "remove vantrel0",
                                           "wlan0 up", "wlan0 up"));
}

TEST_F(RequestServerTest, AnAnnouncementIsNoRequest) {
    skipGreeting();
    const auto answers = ask(protocol::State{});
    EXPECT_EQ(std::get<protocol::Done>(answers.back().message).why, QStringLiteral("this is none"));
}

TEST_F(RequestServerTest, AnIdleStationIsGivenBackByItself) {
    skipGreeting();
    ask(protocol::SetChannel{ScriptedControl::six});
    EXPECT_FALSE(control.up[ScriptedControl::stationIndex]);
    EXPECT_TRUE(runUntil([this] { return control.up[ScriptedControl::stationIndex]; }));
    EXPECT_FALSE(isRecorded());
}

TEST_F(RequestServerTest, AVanishedClientEndsIt) {
    bool gone = false;
    QObject::connect(server.get(), &RequestServer::clientGone, server.get(), [&gone] { gone = true; });
    client.reset();
    EXPECT_TRUE(runUntil([&gone] { return gone; }));
}

TEST_F(RequestServerTest, ADamagedPacketIsPassedOver) {
    skipGreeting();
    const std::array<std::uint8_t, 4> damaged{9, 9, 9, 9};
    ASSERT_EQ(::write(client->descriptor(), damaged.data(), damaged.size()), 4);
    const auto answers = ask(protocol::EndMonitor{});
    EXPECT_EQ(answers.back().request, number);
}

} // namespace
} // namespace vantrel::testing
