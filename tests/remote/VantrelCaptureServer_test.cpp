#include "remote/VantrelCaptureServer.h"

#include "ConnectionFixture.h"
#include "base/Capabilities.h"
#include "base/Error.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

namespace vantrel::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Notes what is asked of it.
class TestService final : public NetService {
public:
    TestService(const Description& what, Journal& journal) : NetService(what), _journal(journal) {}
    void publish() override { _journal.note("publish"); }
    void stop() override { _journal.note("withdraw"); }

private:
    Journal& _journal;
};

class Server : public ::testing::Test {
protected:
    void SetUp() override {
        auto made = TapDevice::create();
        if (!made) {
            GTEST_SKIP() << "no live device: " << qPrintable(made.error().error.text());
        }
        tap.emplace(std::move(*made));
        airport.device = tap->name();
    }

    TestClient connectClient() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(server->port()));
        FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        return TestClient(std::move(socket));
    }
    bool isServed() {
        return runUntil([&] { return server->connections().size() == 1; });
    }
    static bool isRefused(TestClient& client) {
        return runUntil([&] { return client.sawTheEnd(); }) && client.left() == 0;
    }

    Journal journal;
    Journal announcements;
    TestAirport airport{journal};
    TestControls controls{journal};
    std::optional<TapDevice> tap;
    std::optional<Capabilities> heldAtTheEnd; // of the capture thread; to be read once the server is gone
    std::optional<VantrelCaptureServer> server{
        std::in_place, VantrelCaptureServer::Surroundings{.airport = airport,
                                                          .controls = controls,
                                                          .makeNetService =
                                                              [this](const NetService::Description& what) {
                                                                  return std::make_unique<TestService>(what,
                                                                                                       announcements);
                                                              },
                                                          .startCaptureThread =
                                                              [this](std::function<void()> work) {
                                                                  return std::thread([this, work = std::move(work)] {
                                                                      work();
                                                                      heldAtTheEnd = capabilities().value();
                                                                  });
                                                              }}};
};

TEST_F(Server, IsStoppedAtFirst) {
    EXPECT_EQ(server->port(), 0U);
    EXPECT_EQ(server->netService(), nullptr);
    EXPECT_THAT(server->connections(), IsEmpty());
    server->stop();
    server->stop();
    EXPECT_THAT(announcements.calls(), IsEmpty());
}

TEST_F(Server, StartedItAnnouncesThePortThatTheSystemChose) {
    ASSERT_TRUE(server->start());
    EXPECT_GT(server->port(), 0U);
    EXPECT_LT(server->port(), 65536U);
    ASSERT_NE(server->netService(), nullptr);
    const auto& description = server->netService()->description();
    EXPECT_EQ(description.domain, QStringLiteral("local"));
    EXPECT_EQ(description.type, QStringLiteral("_vantrel._tcp."));
    EXPECT_EQ(description.name, QString());
    EXPECT_EQ(description.port, server->port());
    EXPECT_THAT(announcements.calls(), ElementsAre("publish"));
    auto client = connectClient();
    EXPECT_TRUE(isServed());
}

TEST_F(Server, ItsCaptureRunsOnAThreadThatWasStartedForItAndGivesUpWhatThatHoldsOnceTheDeviceIsOpen) {
    ASSERT_NE(capabilities().value(), Capabilities()) << "nobody could see that anything was given up";
    ASSERT_TRUE(server->start());
    auto client = connectClient();
    ASSERT_TRUE(isServed());
    EXPECT_TRUE(runUntil([&] { return journal.count("channel 1") > 0 && airport.permittedAtTuning == 0; }));
    server.reset();
    EXPECT_EQ(heldAtTheEnd, Capabilities());
}

TEST_F(Server, StoppedItKeepsItsPortAndNobodyListensThere) {
    ASSERT_TRUE(server->start());
    const unsigned port = server->port();
    server->stop();
    EXPECT_EQ(server->port(), port);
    EXPECT_EQ(server->netService(), nullptr);
    EXPECT_THAT(announcements.calls(), ElementsAre("publish", "withdraw"));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_NE(::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_TRUE(server->start());
    auto client = connectClient();
    EXPECT_TRUE(isServed());
}

TEST_F(Server, TheAccessorsSet) {
    server->setPort(17);
    EXPECT_EQ(server->port(), 17U);
    server->setNetService(std::make_unique<TestService>(NetService::Description{}, announcements));
    server->stop();
    EXPECT_THAT(announcements.calls(), ElementsAre("withdraw"));
}

TEST_F(Server, ListensOnTheLoopbackAddressAlone) {
    ASSERT_TRUE(server->start());
    for (const char* other : {"127.0.0.2", "0.0.0.0"}) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = ::inet_addr(other);
        address.sin_port = htons(static_cast<std::uint16_t>(server->port()));
        const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        // A socket that listens on every address could not leave these free.
        EXPECT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0,
                  std::string(other) == "127.0.0.2")
            << other;
    }
}

TEST_F(Server, WithoutASocketItIsLeftStopped) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const LogCapture log;
    const bool started = server->start();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_FALSE(started);
    EXPECT_EQ(server->netService(), nullptr);
    EXPECT_EQ(server->port(), 0U);
    EXPECT_THAT(log.warnings(), IsEmpty());
    EXPECT_TRUE(server->start());
}

TEST_F(Server, WithoutTheAddressItIsLeftStopped) {
    bindFails() = true;
    const LogCapture log;
    const bool started = server->start();
    bindFails() = false;
    EXPECT_FALSE(started);
    EXPECT_EQ(server->netService(), nullptr);
    EXPECT_THAT(announcements.calls(), IsEmpty());
    EXPECT_THAT(log.warnings(), IsEmpty());
    EXPECT_TRUE(server->start());
}

TEST_F(Server, ASecondClientIsClosedAtOnceAndTheFirstIsServedOn) {
    ASSERT_TRUE(server->start());
    auto first = connectClient();
    ASSERT_TRUE(isServed());
    const auto served = *server->connections().begin();
    for (int number = 0; number < 10; ++number) {
        auto second = connectClient();
        EXPECT_TRUE(isRefused(second));
    }
    EXPECT_THAT(server->connections(), ElementsAre(served));
    EXPECT_FALSE(first.sawTheEnd());
}

TEST_F(Server, NobodyIsServedDuringTheUsersOwnCapture) {
    ASSERT_TRUE(server->start());
    controls.capturing = true;
    auto client = connectClient();
    EXPECT_TRUE(isRefused(client));
    EXPECT_THAT(server->connections(), IsEmpty());
    EXPECT_THAT(journal.calls(), IsEmpty());
    controls.capturing = false;
    auto next = connectClient();
    EXPECT_TRUE(isServed());
}

TEST_F(Server, TheNextClientIsServedWhenTheFirstHasLeft) {
    ASSERT_TRUE(server->start());
    for (int number = 1; number <= 3; ++number) {
        auto client = connectClient();
        ASSERT_TRUE(isServed());
        ASSERT_TRUE(runUntil([&] { return journal.count("disable") == number; }));
        client.close();
        ASSERT_TRUE(runUntil([&] { return server->connections().empty(); }));
    }
    EXPECT_TRUE(runUntil([&] { return journal.count("enable") == 3; }));
}

TEST_F(Server, StoppedItClosesItsConnectionAndTheAdapterGoesBack) {
    airport.associated = true;
    ASSERT_TRUE(server->start());
    auto client = connectClient();
    ASSERT_TRUE(runUntil([&] { return journal.count("disable") == 1; }));
    server->stop();
    EXPECT_THAT(server->connections(), IsEmpty());
    EXPECT_TRUE(runUntil([&] { return client.sawTheEnd(); }));
    EXPECT_TRUE(runUntil([&] { return journal.count("enable") == 1; }));
    EXPECT_EQ(journal.count("channel 36"), 1);
    EXPECT_EQ(journal.count("power on"), 1);
}

TEST_F(Server, DestroyedItWaitsForTheAdapter) {
    airport.associated = true;
    ASSERT_TRUE(server->start());
    auto client = connectClient();
    ASSERT_TRUE(runUntil([&] { return journal.count("disable") == 1; }));
    server.reset();
    EXPECT_EQ(journal.count("power on"), 1);
    EXPECT_EQ(journal.count("enable"), 1);
    EXPECT_TRUE(client.sawTheEnd());
    EXPECT_THAT(announcements.calls(), ElementsAre("publish", "withdraw"));
}

TEST_F(Server, AHostCanWaitForTheAdapterWithoutAnEventLoop) {
    airport.associated = true;
    ASSERT_TRUE(server->start());
    auto client = connectClient();
    ASSERT_TRUE(runUntil([&] { return journal.count("disable") == 1; }));
    server->stop();
    server->waitUntilCapturesEnded();
    EXPECT_EQ(journal.count("power on"), 1);
}

TEST_F(Server, WhatIsNoSocketIsNotServed) {
    const LogCapture log;
    ASSERT_TRUE(server->start());
    server->acceptConnection(-1);
    EXPECT_THAT(server->connections(), IsEmpty());
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("fcntl failed: Bad file descriptor")));
}

// The undefined-behaviour sanitizer looks at objects through a pipe, and so needs descriptors of its own.
#ifndef __SANITIZE_ADDRESS__
TEST_F(Server, WithoutADescriptorToSpareTheClientWaitsAndIsServedLater) {
    ASSERT_TRUE(server->start());
    auto client = connectClient();
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{.rlim_cur = 64, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    {
        std::vector<FileDescriptor> all;
        while (all.empty() || all.back().isOpen()) {
            all.emplace_back(::dup(client.socket()));
        }
        const LogCapture log;
        static_cast<void>(runUntil([] { return false; }, 300ms)); // a crowd of warnings otherwise
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
        EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("accept4 failed: Too many open files")));
    }
    EXPECT_TRUE(isServed());
}
#endif

using ServerDeathTest = Server;

TEST_F(ServerDeathTest, StartingTwiceStopsTheProgram) {
    ASSERT_TRUE(server->start());
    EXPECT_DEATH(static_cast<void>(server->start()),
                 "-\\[VantrelCaptureServer start\\], VantrelCaptureServer: _serverSock == NULL");
}

TEST_F(ServerDeathTest, AnotherSocketStopsTheProgram) {
    ASSERT_TRUE(server->start());
    EXPECT_DEATH(VantrelCaptureServerAcceptCallBack(0, -1, *server),
                 "VantrelCaptureServerAcceptCallBack, VantrelCaptureServer: socket == server->_serverSock");
}

TEST_F(ServerDeathTest, AnotherObjectThatClosesStopsTheProgram) {
    QObject other;
    EXPECT_DEATH(server->vantrelCaptureConnectionDidCloseNotification(&other),
                 "-\\[VantrelCaptureServer vantrelCaptureConnectionDidCloseNotification:\\], VantrelCaptureServer: "
                 "\\[connection isKindOfClass:\\[VantrelCaptureConnection class\\]\\]");
}

} // namespace
} // namespace vantrel::testing
