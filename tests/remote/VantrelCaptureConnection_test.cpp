// What a client gets, and how the connection and its capture end.
#include "ConnectionFixture.h"
#include "PcapFaults.h"

#include <future>
#include <sys/socket.h>

namespace vantrel::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Connection : public ConnectionFixture {
protected:
    ~Connection() override {
        connection.reset();
        pcapFaults().clear();
    }
    // That nothing arrives while the event loop runs.
    void expectSilence() { EXPECT_FALSE(client->record(50ms)); }
};

TEST_F(Connection, RecordsComeAfterTheFirstSweepToAClientThatSaysNothing) {
    open();
    static_cast<void>(clock.dwell(1));
    hearAndFile(beacon(1, -50), 1);
    expectSilence();
    clock.endDwell();
    static_cast<void>(clock.dwell(2));
    hearAndFile(probeResponse(2, -70), 2);
    expectSilence();
    clock.endDwell();
    std::vector<Bytes> records = {client->record().value(), client->record().value()};
    EXPECT_THAT(records, ::testing::UnorderedElementsAre(beacon(1, -50), probeResponse(2, -70)));
    EXPECT_EQ(client->left(), 0U);
    EXPECT_TRUE(connection->packets().empty());
}

TEST_F(Connection, NotAByteComesWhenNothingIsHeard) {
    open();
    endSweep(1);
    endSweep(3);
    expectSilence();
    EXPECT_EQ(client->left(), 0U);
}

TEST_F(Connection, OfTwoBeaconsOfANetworkTheStrongerIsSent) {
    open();
    static_cast<void>(clock.dwell(1));
    hear(beacon(1, -60, 1));
    hear(beacon(1, -50, 2));
    hear(beacon(1, -70, 3));
    hearAndFile(beacon(2, -40), 2);
    endSweep(1);
    std::vector<Bytes> records = {client->record().value(), client->record().value()};
    EXPECT_THAT(records, ::testing::UnorderedElementsAre(beacon(1, -50, 2), beacon(2, -40)));
}

TEST_F(Connection, OfTwoEquallyStrongTheFirstIsSent) {
    open();
    static_cast<void>(clock.dwell(1));
    hear(beacon(1, -50, 1));
    hear(beacon(1, -50, 2));
    hearAndFile(beacon(2, -40), 2);
    endSweep(1);
    std::vector<Bytes> records = {client->record().value(), client->record().value()};
    EXPECT_THAT(records, ::testing::UnorderedElementsAre(beacon(1, -50, 1), beacon(2, -40)));
}

TEST_F(Connection, ANetworkHeardInTwoSweepsIsSentOncePerSweep) {
    open();
    for (std::uint16_t sweep = 1; sweep <= 2; ++sweep) {
        static_cast<void>(clock.dwell(2 * sweep - 1U));
        hearAndFile(beacon(1, sweep == 1 ? -40 : -80, sweep), 1);
        endSweep(2 * sweep - 1U);
        EXPECT_EQ(client->record(), beacon(1, sweep == 1 ? -40 : -80, sweep));
    }
    EXPECT_EQ(client->left(), 0U);
}

TEST_F(Connection, WhatTheClientWritesIsThrownAway) {
    open();
    const Bytes noise(100000, 0x55);
    ASSERT_EQ(::send(client->socket(), noise.data(), noise.size(), 0), static_cast<ssize_t>(noise.size()));
    static_cast<void>(clock.dwell(1));
    hearAndFile(beacon(1, -50), 1);
    endSweep(1);
    EXPECT_EQ(client->record(), beacon(1, -50));
    EXPECT_EQ(closings, 0);
}

TEST_F(Connection, AClientThatLeavesEndsTheCaptureAndAnAssociatedAdapterGoesBack) {
    airport.associated = true;
    open();
    static_cast<void>(clock.dwell(1));
    client->close();
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(closings, 1);
    EXPECT_THAT(journal.calls(), ElementsAre("disassociate", "channel 1", "disable", "monitor ends", "channel 36",
                                             "power off", "power on", "enable"));
}

TEST_F(Connection, AClientThatOnlyStopsWritingHasLeft) {
    open();
    static_cast<void>(clock.dwell(1));
    ::shutdown(client->socket(), SHUT_WR);
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(closings, 1);
    EXPECT_TRUE(client->sawTheEnd());
}

TEST_F(Connection, AnAdapterThatWasInNoNetworkIsLeftAlone) {
    open();
    static_cast<void>(clock.dwell(1));
    client->close();
    ASSERT_TRUE(captureEnds());
    EXPECT_THAT(journal.calls(), ElementsAre("channel 1", "disable", "monitor ends", "enable"));
}

TEST_F(Connection, AnAdapterSwitchedOffMeanwhileStaysOff) {
    airport.associated = true;
    open();
    static_cast<void>(clock.dwell(1));
    airport.power = false;
    connection->close();
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(journal.count("power on"), 0);
    EXPECT_EQ(journal.calls().back(), "enable");
}

TEST_F(Connection, ClosedDuringACaptureItClosesTheClientAtOnceAndTheRestEndsByItself) {
    airport.associated = true;
    open();
    static_cast<void>(clock.dwell(1));
    connection->close();
    EXPECT_EQ(closings, 1);
    EXPECT_TRUE(client->sawTheEnd());
    connection->close();
    EXPECT_EQ(closings, 1);
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(journal.count("power on"), 1);
}

TEST_F(Connection, DestroyedItLeavesTheAdapterAsItWas) {
    airport.associated = true;
    open();
    static_cast<void>(clock.dwell(1));
    connection.reset();
    EXPECT_THAT(journal.calls(), ::testing::Contains("channel 36"));
    EXPECT_EQ(journal.count("power on"), 1);
    EXPECT_EQ(journal.calls().back(), "enable");
}

TEST_F(Connection, DestroyedBeforeItsCaptureHasBegunItEndsToo) {
    for (int round = 0; round < 20; ++round) {
        airport.associated = true;
        open();
        if (round % 2 == 0) {
            std::this_thread::yield();
        }
        connection.reset();
        EXPECT_EQ(journal.count("disassociate"), journal.count("power on")) << "round " << round;
        EXPECT_EQ(journal.count("enable"), round + 1);
    }
}

TEST_F(Connection, ClosedWhileItsDeviceIsMadeItEndsAllTheSame) {
    airport.associated = true;
    std::promise<void> begun;
    std::promise<void> closed;
    airport.duringMonitor = [&] {
        begun.set_value();
        closed.get_future().wait();
    };
    open();
    begun.get_future().wait();
    connection->close();
    closed.set_value();
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(journal.count("power on"), 1);
    EXPECT_EQ(journal.calls().back(), "enable");
}

TEST_F(Connection, ClosedWhileItWaitsForTheCaptureBeforeItEndsWithoutOne) {
    open();
    static_cast<void>(clock.dwell(1));
    auto first = std::move(connection);
    const auto firstClient = std::move(client);
    open();
    static_cast<void>(runUntil([] { return false; }, 100ms)); // nothing tells that it waits
    connection->close();
    ASSERT_TRUE(captureEnds());
    EXPECT_FALSE(first->isCaptureOver());
    EXPECT_EQ(journal.count("channel 1"), 1);
    hear(beacon(1, -50));
    EXPECT_TRUE(runUntil([&] { return first->packets().contains(bssidOf(1)); }));
}

TEST_F(Connection, NeverOpenedItTouchesNothing) {
    make();
    connection.reset();
    EXPECT_THAT(journal.calls(), IsEmpty());
}

TEST_F(Connection, TheNextCaptureBeginsWhenTheAdapterIsBack) {
    airport.associated = true;
    open();
    static_cast<void>(clock.dwell(1));
    connection->close();
    auto first = std::move(connection);
    open();
    ASSERT_TRUE(runUntil([&] { return first->isCaptureOver(); }));
    airport.associated = true; // rejoined
    ASSERT_TRUE(runUntil([&] { return journal.count("channel 1") == 2; }));
    connection->close();
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(journal.count("disassociate"), 2);
    EXPECT_EQ(journal.count("power on"), 2);
    const auto calls = journal.calls();
    const auto second = std::find(calls.rbegin(), calls.rend(), "disassociate");
    EXPECT_EQ(std::count(second, calls.rend(), "power on"), 1);
}

TEST_F(Connection, ARefusedMonitorModeIsLoggedAndTheCaptureGoesOn) {
    const LogCapture log;
    airport.givesMonitor = false;
    open();
    static_cast<void>(clock.dwell(1));
    hearAndFile(beacon(1, -50), 1);
    endSweep(1);
    EXPECT_EQ(client->record(), beacon(1, -50));
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("pcap_set_rfmon() failed: monitor mode: not here")));
}

// What every capture that cannot begin has in common.
class Unopened : public Connection {
protected:
    void expectNoCapture(const std::string& text) {
        {
            const LogCapture log;
            open();
            ASSERT_TRUE(captureEnds());
            ASSERT_FALSE(log.warnings().isEmpty());
            EXPECT_EQ(log.warnings().back().toStdString(), text);
        }
        EXPECT_EQ(journal.count("disable"), 0);
        EXPECT_EQ(journal.calls().back(), "enable");
        EXPECT_EQ(closings, 0); // the client is not told
        expectSilence();
        client->close();
        EXPECT_TRUE(runUntil([&] { return closings == 1; }));
        EXPECT_EQ(journal.count("enable"), 1);
    }
};

TEST_F(Unopened, WithoutAHandleTheAdapterStaysInItsNetwork) {
    airport.associated = true;
    pcapFaults().create = true;
    expectNoCapture("pcap_create() failed: no handle today");
    EXPECT_THAT(journal.calls(), ElementsAre("monitor ends", "enable"));
}

TEST_F(Unopened, ADeviceThatDoesNotExistSendsTheAdapterBack) {
    airport.associated = true;
    airport.device = QStringLiteral("vantrelnone");
    expectNoCapture("pcap_activate() failed: No such device exists");
    EXPECT_THAT(journal.calls(),
                ElementsAre("disassociate", "monitor ends", "channel 36", "power off", "power on", "enable"));
}

TEST_F(Unopened, ADeviceWithoutWiFiRefusesTheFilter) {
    airport.device = QStringLiteral("lo");
    expectNoCapture("pcap_compile() failed: 802.11 link-layer types supported only on 802.11");
}

TEST_F(Unopened, AFilterThatCannotBeSet) {
    setfilterFails() = true;
    expectNoCapture("pcap_setfilter() failed: ");
}

TEST_F(Unopened, ADeviceWithoutRadioHeadersRefusesTheType) {
    auto plain = TapDevice::create(TapLinkType::Plain80211);
    ASSERT_TRUE(plain);
    airport.device = plain->name();
    expectNoCapture("pcap_set_datalink() failed: IEEE802_11_RADIO is not one of the DLTs supported by this device");
}

TEST_F(Connection, ADeviceThatDisappearsEndsTheCaptureAndNotTheConnection) {
    airport.associated = true;
    const LogCapture log;
    open();
    static_cast<void>(clock.dwell(1));
    tap.reset();
    ASSERT_TRUE(captureEnds());
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("pcap_loop() failed: The interface disappeared")));
    EXPECT_EQ(journal.count("power on"), 1);
    EXPECT_EQ(closings, 0);
    EXPECT_FALSE(client->sawTheEnd());
    connection->close();
    EXPECT_EQ(closings, 1);
}

TEST_F(Connection, ASweepThatTheEndCutsShortSendsNothing) {
    open();
    static_cast<void>(clock.dwell(1));
    hearAndFile(beacon(1, -50), 1);
    tap.reset();
    ASSERT_TRUE(captureEnds());
    EXPECT_TRUE(connection->packets().empty());
    expectSilence();
}

TEST_F(Connection, AClientThatResetsBetweenSweepsEndsTheCapture) {
    open();
    static_cast<void>(clock.dwell(1));
    hearAndFile(beacon(1, -50), 1);
    client->reset();
    clock.endDwell();
    clock.endDwell();
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(closings, 1);
}

// A stream whose every write fails, and that says so to nobody.
class DeadOutput final : public OutputStream {
public:
    void setDelegate(StreamDelegate* /*delegate*/) override {}
    void scheduleIn(MainQueue& /*queue*/) override {}
    void open() override {}
    void close() override {}
    bool hasSpaceAvailable() override { return true; }
    ssize_t write(std::span<const std::uint8_t> /*bytes*/) override {
        ++writes;
        return -1;
    }
    bool flush() override { return true; }
    std::atomic<int> writes = 0;
};

TEST_F(Connection, AFailedWriteStopsTheCaptureAndLeavesTheConnectionOpen) {
    auto pair = makeTcpPair();
    client.emplace(std::move(pair.client));
    auto streams = makeStreamPair(std::move(pair.server));
    auto dead = std::make_unique<DeadOutput>();
    DeadOutput& output = *dead;
    airport.associated = true;
    connection = VantrelCaptureConnection::initWithInputStream(
        std::move(streams->input), std::move(dead),
        {.airport = airport, .controls = controls, .turn = turn, .clock = clock});
    QObject::connect(connection.get(), &VantrelCaptureConnection::VantrelCaptureConnectionDidCloseNotification,
                     connection.get(), [this] { ++closings; });
    connection->open();
    static_cast<void>(clock.dwell(1));
    hear(beacon(1, -50));
    hearAndFile(beacon(2, -50), 2);
    clock.endDwell();
    static_cast<void>(clock.dwell(2));
    clock.endDwell();
    ASSERT_TRUE(captureEnds());
    EXPECT_EQ(output.writes, 1);
    EXPECT_EQ(journal.count("power on"), 1);
    EXPECT_EQ(closings, 0);
    EXPECT_TRUE(connection->packets().empty());
}

using ConnectionDeathTest = Connection;

TEST_F(ConnectionDeathTest, AStreamOfSomebodyElseStopsTheProgram) {
    make(); // without threads, which do not go well with a fork
    DeadOutput other;
    EXPECT_DEATH(connection->stream(other, StreamEvent::EndEncountered),
                 "-\\[VantrelCaptureConnection stream:handleEvent:\\], VantrelCaptureConnection: "
                 "aStream == self.inputStream \\|\\| aStream == self.outputStream");
}

TEST_F(Connection, EventsOfOpeningAndOfBytesAreIgnored) {
    open();
    connection->stream(connection->inputStream(), StreamEvent::HasBytesAvailable);
    connection->stream(connection->outputStream(), StreamEvent::OpenCompleted);
    connection->stream(connection->inputStream(), StreamEvent::HasSpaceAvailable);
    EXPECT_EQ(closings, 0);
    connection->stream(connection->outputStream(), StreamEvent::ErrorOccurred);
    EXPECT_EQ(closings, 1);
}

} // namespace
} // namespace vantrel::testing
