#include "Capture.h"
#include "FrameSink.h"
#include "simulated/SimulatedRadio.h"
#include "support/LogCapture.h"

#include <QProcess>
#include <gmock/gmock.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantrel {
namespace {

using namespace std::chrono_literals;

struct Heard {
    int status = -1;
    QStringList words; // transport, device, data-link type, frames
    QString errors;
};

Heard listen(const QString& transport, const QStringList& wrapper = {}) {
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("VANTREL_RADIO_TRANSPORT"));
    if (!transport.isEmpty()) {
        environment.insert(QStringLiteral("VANTREL_RADIO_TRANSPORT"), transport);
    }
    process.setProcessEnvironment(environment);
    QStringList command = wrapper + QStringList{QStringLiteral(SIMULATED_LISTENER)};
    const QString program = command.takeFirst();
    process.start(program, command);
    if (!process.waitForFinished(30000)) {
        ADD_FAILURE() << "the listener does not end";
        return {};
    }
    return {process.exitCode(),
            QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char(' '), Qt::SkipEmptyParts),
            QString::fromUtf8(process.readAllStandardError())};
}

void expectFrames(const Heard& heard, SimulatedTransport transport) {
    ASSERT_EQ(heard.status, 0) << heard.errors.toStdString();
    ASSERT_EQ(heard.words.size(), 4);
    EXPECT_EQ(heard.words[0].toInt(), static_cast<int>(transport));
    EXPECT_EQ(heard.words[1] == QStringLiteral("stream"), transport == SimulatedTransport::Stream);
    EXPECT_EQ(heard.words[2].toInt(), 127);
    EXPECT_EQ(heard.words[3].toInt(), 50);
}

TEST(Transport, ATapIsTheFirstChoice) {
    if (const auto refusal = testing::tapRefusal(); !refusal.empty()) {
        GTEST_SKIP() << refusal;
    }
    expectFrames(listen(QStringLiteral("tap")), SimulatedTransport::Tap);
    const auto chosen = listen({});
    expectFrames(chosen, SimulatedTransport::Tap);
    EXPECT_TRUE(chosen.errors.contains(QStringLiteral("simulated radio: frames come through a TAP device\n")))
        << chosen.errors.toStdString();
}

TEST(Transport, ANamespaceOfItsOwnHoldsTheDevice) {
    const auto heard = listen(QStringLiteral("namespace"));
    if (heard.status == 3) {
        GTEST_SKIP() << heard.errors.toStdString();
    }
    expectFrames(heard, SimulatedTransport::Namespace);
    EXPECT_EQ(heard.words.value(1), QStringLiteral("vantrel0")) << "it is the only one there";
}

TEST(Transport, WithoutTheRightTheNamespaceIsTakenInstead) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root has a right to give up";
    }
    const auto forced = listen(QStringLiteral("namespace"));
    if (forced.status == 3) {
        GTEST_SKIP() << forced.errors.toStdString();
    }
    const QStringList withoutRight = {QStringLiteral("setpriv"), QStringLiteral("--bounding-set"),
                                      QStringLiteral("-net_admin"), QStringLiteral("--inh-caps"),
                                      QStringLiteral("-all")};
    expectFrames(listen({}, withoutRight), SimulatedTransport::Namespace);
    const auto refused = listen(QStringLiteral("tap"), withoutRight);
    EXPECT_EQ(refused.status, 3);
    EXPECT_TRUE(refused.errors.contains(
        QStringLiteral("VANTREL_RADIO_TRANSPORT=tap: cannot be had here (TUNSETIFF: Operation not permitted)")))
        << refused.errors.toStdString();
}

TEST(Transport, WithoutADeviceFileTheStreamIsLeft) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs a mount namespace to hide the device file in";
    }
    const QStringList hidden = {QStringLiteral("unshare"), QStringLiteral("-m"), QStringLiteral("sh"),
                                QStringLiteral("-c"), QStringLiteral("mount -t tmpfs none /dev/net && exec \"$0\"")};
    expectFrames(listen({}, hidden), SimulatedTransport::Stream);
    if (listen(QStringLiteral("namespace")).status == 3) {
        return; // no namespace either way
    }
    const auto refused = listen(QStringLiteral("namespace"), hidden);
    EXPECT_EQ(refused.status, 3);
    EXPECT_TRUE(refused.errors.contains(QStringLiteral("open /dev/net/tun: No such file or directory")))
        << refused.errors.toStdString();
}

TEST(Transport, TheStreamCanBeAskedFor) { expectFrames(listen(QStringLiteral("stream")), SimulatedTransport::Stream); }

TEST(Transport, AnUnknownNameIsAnError) {
    const auto heard = listen(QStringLiteral("pigeon"));
    EXPECT_EQ(heard.status, 3);
    EXPECT_TRUE(
        heard.errors.contains(QStringLiteral("VANTREL_RADIO_TRANSPORT=pigeon: it must be tap, namespace or stream")));
}

std::unique_ptr<CWWiFiClient> loadedStreamClient() {
    SimulatedOptions options;
    options.transport = SimulatedTransport::Stream;
    options.loadFramesPerSecond = 100000;
    return makeSimulatedClient(options);
}

// The socket is full when what waits in it has stopped growing, for longer than a busy machine keeps the sender
// waiting.
void waitUntilFull(int socket) {
    int before = -1;
    for (int unchanged = 0; unchanged < 10; ++unchanged) {
        std::this_thread::sleep_for(100ms);
        int waiting = 0;
        ASSERT_EQ(::ioctl(socket, FIONREAD, &waiting), 0);
        if (waiting == 0 || waiting != before) {
            unchanged = 0;
        }
        before = waiting;
    }
}

TEST(Stream, ASlowReaderLosesFramesButNeverItsPlace) {
    const testing::LogCapture log;
    {
        const auto client = loadedStreamClient();
        auto monitor = client->interface().beginMonitorMode();
        ASSERT_TRUE(monitor);
        testing::Capture capture(**monitor);
        waitUntilFull(::fileno(::pcap_file(capture.handle())));
        std::uint64_t before = 0;
        std::uint64_t longestGap = 0;
        for (int frame = 0; frame < 20000; ++frame) {
            const auto packet = capture.next();
            ASSERT_TRUE(packet) << "after " << frame << " frames";
            const testing::Fields fields(*packet); // throws when the stream is out of step
            EXPECT_GE(fields.tsft, before);
            longestGap = frame == 0 ? 0 : std::max(longestGap, fields.tsft - before);
            before = fields.tsft;
        }
        EXPECT_GT(longestGap, 10U) << "the frames that were lost, in µs";
    }
    ASSERT_EQ(log.warnings().size(), 1);
    EXPECT_TRUE(log.warnings().front().startsWith(QStringLiteral("the reader of the frame stream was too slow: ")));
}

TEST(Stream, AReaderThatHasGoneMissesNothing) {
    const testing::LogCapture log;
    int ends[2] = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    {
        StreamSink sink{FileDescriptor(ends[0])};
        ::close(ends[1]);
        sink.deliver(Bytes(100));
        sink.deliver(Bytes(100));
    }
    EXPECT_THAT(log.warnings(), ::testing::IsEmpty());
}

TEST(Stream, TheEnvironmentCanAskForALoad) {
    const testing::LogCapture log;
    SimulatedOptions options;
    options.transport = SimulatedTransport::Stream;
    options.startAssociated = false;
    options.supportedChannels = std::vector<CWChannel>{{120, bandFiveGHz, width20MHz}}; // where no network is
    for (const auto& [load, comes] : {std::pair("500", true), std::pair("many", false)}) {
        qputenv("VANTREL_RADIO_LOAD", load);
        const auto client = makeSimulatedClient(options);
        qunsetenv("VANTREL_RADIO_LOAD");
        auto monitor = client->interface().beginMonitorMode();
        ASSERT_TRUE(monitor);
        testing::Capture capture(**monitor);
        EXPECT_EQ(capture.next(500ms).has_value(), comes) << load;
    }
    EXPECT_THAT(log.warnings(), ::testing::ElementsAre(QStringLiteral(
                                    "VANTREL_RADIO_LOAD is not a number of frames per second: ignored")));
}

TEST(Stream, AReaderThatShutDownIsLeftAlone) {
    const testing::LogCapture log;
    const auto client = loadedStreamClient();
    auto monitor = client->interface().beginMonitorMode();
    ASSERT_TRUE(monitor);
    const FileDescriptor stream = (*monitor)->takeStream();
    ASSERT_TRUE(stream.isOpen());
    char byte = 0;
    ASSERT_EQ(::read(stream.get(), &byte, 1), 1);
    ASSERT_EQ(::shutdown(stream.get(), SHUT_RDWR), 0);
    // Reading goes on to the end of what was sent, and the end comes: the sender has stopped and closed.
    char buffer[4096];
    while (::read(stream.get(), buffer, sizeof buffer) > 0) {
    }
    monitor->reset();
    EXPECT_THAT(log.warnings(), ::testing::IsEmpty());
}

} // namespace
} // namespace vantrel
