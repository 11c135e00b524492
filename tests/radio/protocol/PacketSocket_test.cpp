#include "protocol/PacketSocket.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <sys/socket.h>
#include <thread>

namespace vantrel::protocol {
namespace {

class PacketSocketTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto pair = PacketSocket::makePair();
        ASSERT_TRUE(pair) << pair.error().text().toStdString();
        _near = std::make_unique<PacketSocket>(std::move(pair->first));
        _far = std::make_unique<PacketSocket>(std::move(pair->second));
    }

    void sendRaw(const std::vector<std::uint8_t>& bytes) const {
        ASSERT_EQ(::send(_far->descriptor(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }

    // What receive() failed with.
    [[nodiscard]] std::string refusal() const {
        const auto packet = _near->receive();
        return packet ? "it was read" : packet.error().text().toStdString();
    }

    [[nodiscard]] bool isGone() const {
        const auto packet = _near->receive();
        return packet && !*packet;
    }

    // The packet that must come next.
    [[nodiscard]] Packet next() const {
        const auto packet = _near->receive();
        EXPECT_TRUE(packet && *packet);
        return packet && *packet ? **packet : Packet{};
    }

    std::unique_ptr<PacketSocket> _near;
    std::unique_ptr<PacketSocket> _far;
};

TEST_F(PacketSocketTest, PacketsArriveWholeAndInOrder) {
    ASSERT_TRUE(_far->send({1, SetPower{true}}));
    ASSERT_TRUE(_far->send({2, EndMonitor{}}));
    ASSERT_TRUE(_near->send({3, BeginMonitor{}})); // the other direction
    EXPECT_EQ(next(), (Packet{1, SetPower{true}}));
    EXPECT_EQ(next(), (Packet{2, EndMonitor{}}));
    EXPECT_EQ(_far->receive().value(), (Packet{3, BeginMonitor{}}));
}

TEST_F(PacketSocketTest, BothEndsAreClosedByExec) {
    for (const auto* end : {_near.get(), _far.get()}) {
        EXPECT_NE(::fcntl(end->descriptor(), F_GETFD) & FD_CLOEXEC, 0);
    }
}

TEST_F(PacketSocketTest, TheLargestPacketPassesAndALargerOneIsRefused) {
    const Packet largest{0, Channels{std::vector<CWChannel>(5000, CWChannel{1, 1, 1})}};
    ASSERT_TRUE(_far->send(largest));
    EXPECT_EQ(std::get<Channels>(next().message).supported.size(), 4094U);

    auto tooLong = encode(largest);
    tooLong.push_back(0);
    sendRaw(tooLong);
    ASSERT_TRUE(_far->send({1, EndMonitor{}}));
    EXPECT_EQ(refusal(), "recv: a packet of 16385 bytes, at most 16384 are allowed");
    EXPECT_EQ(next(), (Packet{1, EndMonitor{}}));
}

TEST_F(PacketSocketTest, APacketThatCannotBeReadIsFollowedByTheNext) {
    sendRaw({1, 99, 0, 0, 0, 0});
    sendRaw({});
    ASSERT_TRUE(_far->send({1, EndMonitor{}}));
    EXPECT_EQ(refusal(), "decode: the type is 99, which is unknown");
    EXPECT_EQ(refusal(), "decode: the version runs over the end"); // a packet of no bytes is not the end
    EXPECT_EQ(next(), (Packet{1, EndMonitor{}}));
}

TEST_F(PacketSocketTest, AVanishedOtherEndIsNoSignal) {
    ASSERT_EQ(::signal(SIGPIPE, SIG_DFL), SIG_DFL);
    _far.reset();
    EXPECT_TRUE(isGone());
    EXPECT_TRUE(isGone()); // and stays so
    const auto sent = _near->send({1, EndMonitor{}});
    ASSERT_FALSE(sent);
    EXPECT_EQ(sent.error().text(), QStringLiteral("send: Broken pipe"));
}

TEST_F(PacketSocketTest, WhatTheOtherEndSaidBeforeItVanishedIsStillRead) {
    ASSERT_TRUE(_near->send({1, BeginMonitor{}})); // never read
    ASSERT_TRUE(_far->send({1, Done{}}));
    _far.reset();
    EXPECT_EQ(next(), (Packet{1, Done{}}));
    EXPECT_TRUE(isGone());
}

TEST_F(PacketSocketTest, ShuttingDownWakesAReader) {
    std::thread reader([this] { EXPECT_TRUE(isGone()); });
    _near->shutDown();
    reader.join();
    EXPECT_TRUE(isGone());
    EXPECT_FALSE(_near->send({1, EndMonitor{}}));
    EXPECT_FALSE(_far->send({1, EndMonitor{}}));
}

TEST_F(PacketSocketTest, AnOtherEndThatDoesNotReadIsWaitedForAndGivenUp) {
    const Packet large{0, Channels{std::vector<CWChannel>(4000, CWChannel{1, 1, 1})}};
    const auto begin = std::chrono::steady_clock::now();
    Expected<void> sent;
    int count = 0;
    while ((sent = _near->send(large)) && count < 1000) {
        ++count;
    }
    ASSERT_FALSE(sent);
    EXPECT_GT(count, 0);
    EXPECT_EQ(sent.error().text(), QStringLiteral("send: the other end does not read"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));

    // One that reads again is waited for.
    std::thread reader([this, count] {
        for (int i = 0; i <= count; ++i) {
            EXPECT_TRUE(_far->receive().value());
        }
    });
    EXPECT_TRUE(_near->send(large));
    reader.join();
}

TEST_F(PacketSocketTest, ShuttingDownEndsAWaitingSender) {
    const Packet large{0, Channels{std::vector<CWChannel>(4000, CWChannel{1, 1, 1})}};
    std::atomic<int> sent = 0;
    std::thread sender([this, &large, &sent] {
        while (_near->send(large)) {
            ++sent;
        }
    });
    int known = -1;
    while (sent != known) { // until it no longer gets on
        known = sent;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const auto begin = std::chrono::steady_clock::now();
    _near->shutDown();
    sender.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
}

TEST_F(PacketSocketTest, SignalsDoNotInterrupt) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    struct sigaction before {};
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0); // without SA_RESTART
    std::thread reader([this] { EXPECT_EQ(next(), (Packet{1, EndMonitor{}})); });
    for (int i = 0; i < 20; ++i) {
        ::pthread_kill(reader.native_handle(), SIGUSR1);
        std::this_thread::yield();
    }
    EXPECT_TRUE(_far->send({1, EndMonitor{}}));
    reader.join();
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST(PacketSocketDescriptorTest, ADescriptorThatIsNoSocketIsGone) {
    PacketSocket socket(FileDescriptor(::open("/dev/null", O_RDWR | O_CLOEXEC)));
    const auto packet = socket.receive();
    ASSERT_TRUE(packet);
    EXPECT_FALSE(*packet);
    EXPECT_FALSE(socket.send({1, EndMonitor{}}));
}

} // namespace
} // namespace vantrel::protocol
