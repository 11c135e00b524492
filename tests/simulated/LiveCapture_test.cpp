#include "Capture.h"
#include "simulated/Neighbourhood.h"
#include "simulated/SimulatedRadio.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <map>
#include <net/if.h>
#include <set>

namespace vantrel {
namespace {

using namespace std::chrono_literals;
using testing::Capture;
using testing::Fields;
using ::testing::IsEmpty;

constexpr int beacon = 0x80;
constexpr int framesPerChannel = 150;
constexpr CWChannel home{36, bandFiveGHz, width80MHz};
constexpr CWChannel channelOne{1, bandTwoDotFourGHz, width20MHz};
constexpr CWChannel channelEleven{11, bandTwoDotFourGHz, width20MHz};
constexpr CWChannel silent{120, bandFiveGHz, width20MHz};

// On the clock of the frames' time stamps.
std::int64_t microsecondsNow() {
    using namespace std::chrono;
    return duration_cast<std::chrono::microseconds>(system_clock::now().time_since_epoch()).count();
}

std::int64_t microseconds(const pcap_pkthdr& header) {
    return std::int64_t{header.ts.tv_sec} * 1000000 + header.ts.tv_usec;
}

struct DumperCloser {
    void operator()(pcap_dumper_t* dumper) const { ::pcap_dump_close(dumper); }
};

// Each transport in turn, by parameter; TAP devices only where they may be made.
class LiveCapture : public ::testing::TestWithParam<SimulatedTransport> {
protected:
    void SetUp() override {
        const auto refusal = GetParam() == SimulatedTransport::Tap ? testing::tapRefusal() : std::string();
        if (!refusal.empty()) {
            GTEST_SKIP() << refusal;
        }
        make({});
    }

    void make(SimulatedOptions options) {
        options.transport = GetParam();
        options.startAssociated = false;
        options.loadFramesPerSecond = options.loadFramesPerSecond.value_or(0);
        _client = makeSimulatedClient(options);
    }
    CWInterface& interface() { return _client->interface(); }
    void tune(const CWChannel& channel) {
        const auto tuned = interface().setWLANChannel(channel);
        ASSERT_TRUE(tuned) << tuned.error().text().toStdString();
    }
    std::unique_ptr<MonitorMode> monitor() {
        auto begun = interface().beginMonitorMode();
        return begun ? std::move(*begun) : throw std::runtime_error(begun.error().text().toStdString());
    }

    // That many frames of each of three channels.
    void record(const QString& path) {
        const auto running = monitor();
        Capture capture(*running);
        const std::unique_ptr<pcap_dumper_t, DumperCloser> dumper(
            ::pcap_dump_open(capture.handle(), path.toLocal8Bit().constData()));
        ASSERT_TRUE(dumper);
        for (const auto& channel : {channelOne, home, CWChannel{149, bandFiveGHz, width80MHz}}) {
            ASSERT_NO_FATAL_FAILURE(tune(channel));
            for (int count = 0; count < framesPerChannel; ++count) {
                const auto frame = capture.next();
                ASSERT_TRUE(frame);
                const pcap_pkthdr header = capture.lastHeader();
                ::pcap_dump(reinterpret_cast<u_char*>(dumper.get()), &header, frame->data());
            }
        }
    }

    std::unique_ptr<CWWiFiClient> _client;
};

TEST_P(LiveCapture, HasTheLinkTypeOfRadiotap) {
    const auto running = monitor();
    const Capture capture(*running);
    EXPECT_EQ(::pcap_datalink(capture.handle()), 127);
    EXPECT_EQ(running->deviceName().isEmpty(), GetParam() == SimulatedTransport::Stream);
    EXPECT_FALSE(running->takeStream().isOpen()) << "may be taken once, and is not there beside a device";
}

TEST_P(LiveCapture, HearsTheTunedChannelOnly) {
    const auto running = monitor();
    Capture capture(*running);
    for (const auto& [channel, frequency] : {std::pair(channelOne, 2412), std::pair(channelEleven, 2462)}) {
        ASSERT_NO_FATAL_FAILURE(tune(channel));
        // What came before is left in the buffers; from the first frame of the new channel on there is nothing else.
        auto frame = capture.next();
        while (frame && Fields(*frame).frequency != frequency) {
            frame = capture.next();
        }
        ASSERT_TRUE(frame);
        for (const auto& later : capture.during(400ms)) {
            EXPECT_EQ(Fields(later).frequency, frequency);
        }
    }
}

TEST_P(LiveCapture, NothingOfTheFormerChannelComesAfterTuning) {
    SimulatedOptions options;
    options.loadFramesPerSecond = 20000;
    make(options);
    const auto running = monitor();
    Capture capture(*running);
    for (int round = 0; round < 10; ++round) {
        for (const auto& [channel, frequency] : {std::pair(channelOne, 2412), std::pair(silent, 5600)}) {
            ASSERT_NO_FATAL_FAILURE(tune(channel));
            // What was sent before is told by its time: a reader slower than the load never finds its buffer empty.
            const auto tuned = microsecondsNow();
            auto frame = capture.next();
            while (frame && microseconds(capture.lastHeader()) <= tuned) {
                frame = capture.next();
            }
            ASSERT_TRUE(frame);
            EXPECT_EQ(Fields(*frame).frequency, frequency);
        }
    }
}

TEST_P(LiveCapture, TwoMonitorsHearTheSame) {
    ASSERT_NO_FATAL_FAILURE(tune(home));
    const auto first = monitor();
    const auto second = monitor();
    Capture one(*first);
    Capture other(*second);
    const auto left = one.next();
    ASSERT_TRUE(left);
    auto right = other.next();
    while (right && Fields(*right).tsft < Fields(*left).tsft) {
        right = other.next();
    }
    ASSERT_TRUE(right);
    auto matching = left;
    while (matching && Fields(*matching).tsft < Fields(*right).tsft) {
        matching = one.next();
    }
    for (int frame = 0; frame < 20; ++frame) {
        ASSERT_TRUE(matching);
        ASSERT_TRUE(right);
        EXPECT_EQ(*matching, *right);
        matching = one.next();
        right = other.next();
    }
}

TEST_P(LiveCapture, BeaconsComeInRealTime) {
    ASSERT_NO_FATAL_FAILURE(tune(home));
    const auto running = monitor();
    Capture capture(*running);
    std::map<MacAddress, std::uint64_t> last;
    int intervals = 0;
    const auto start = std::chrono::steady_clock::now();
    for (const auto& frame : capture.during(1100ms)) {
        const Fields fields(frame);
        if (fields.subtype != beacon) {
            continue;
        }
        const auto [before, isFirst] = last.try_emplace(fields.third, fields.tsft);
        if (!isFirst) {
            EXPECT_EQ(fields.tsft - before->second, 102400U);
            before->second = fields.tsft;
            ++intervals;
        }
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_EQ(last.size(), 5U) << "the networks whose primary channel is 36, 40, 44 or 48";
    EXPECT_GE(intervals, 5 * 8);
    EXPECT_LE(intervals, 5 * 11);
}

TEST_P(LiveCapture, PowerOffSilencesAMonitorAndPowerOnResumesIt) {
    ASSERT_NO_FATAL_FAILURE(tune(home));
    const auto running = monitor();
    Capture capture(*running);
    ASSERT_TRUE(capture.next());
    ASSERT_TRUE(interface().setPower(false));
    while (capture.next(0ms)) {
    }
    EXPECT_FALSE(capture.next(400ms));
    ASSERT_TRUE(interface().setPower(true));
    EXPECT_TRUE(capture.next());
}

TEST_P(LiveCapture, EndingIsQuickAndTakesTheDeviceAway) {
    SimulatedOptions options;
    options.loadFramesPerSecond = 1000000; // more than can be played: the thread never waits
    make(options);
    for (const auto& channel : {silent, channelOne}) {
        ASSERT_NO_FATAL_FAILURE(tune(channel));
        auto running = monitor();
        const QString device = running->deviceName();
        const unsigned index = ::if_nametoindex(qUtf8Printable(device));
        const auto start = std::chrono::steady_clock::now();
        running.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
        if (!device.isEmpty()) {
            char name[IF_NAMESIZE]; // by number: a name is soon taken again
            EXPECT_EQ(::if_indextoname(index, name), nullptr);
        }
    }
}

TEST_P(LiveCapture, AMonitorMayOutliveTheClient) {
    ASSERT_NO_FATAL_FAILURE(tune(home));
    const auto running = monitor();
    Capture capture(*running);
    _client.reset();
    while (capture.next(0ms)) {
    }
    EXPECT_TRUE(capture.next());
}

// The wanted fields of the frames that a display filter lets through, tab-separated, a line for each frame.
std::vector<std::string> tshark(const QString& file, const char* filter,
                                const std::vector<const char*>& fields = {"frame.number"}) {
    QStringList arguments = {QStringLiteral("-n"),
                             QStringLiteral("-r"),
                             file,
                             QStringLiteral("-o"),
                             QStringLiteral("wlan.check_checksum:TRUE"),
                             QStringLiteral("-Y"),
                             QString::fromLatin1(filter),
                             QStringLiteral("-T"),
                             QStringLiteral("fields")};
    for (const auto* field : fields) {
        arguments << QStringLiteral("-e") << QString::fromLatin1(field);
    }
    QProcess process;
    process.start(QStringLiteral("tshark"), arguments);
    if (!process.waitForFinished(60000) || process.exitCode() != 0) {
        ADD_FAILURE() << "tshark: " << process.readAllStandardError().toStdString();
    }
    std::vector<std::string> lines;
    for (const auto& line : process.readAllStandardOutput().split('\n')) {
        if (!line.isEmpty()) {
            lines.push_back(line.toStdString());
        }
    }
    return lines;
}

std::string written(const MacAddress& address) {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", address[0], address[1], address[2], address[3],
                  address[4], address[5]);
    return text;
}

void expectKnownBeacons(const QString& path) {
    std::map<std::string, const Network*> networks;
    for (const auto& network : neighbourhood()) {
        networks[written(network.bssid)] = &network;
    }
    const auto beacons = tshark(path, "wlan.fc.type_subtype == 8 && radiotap.flags.badfcs == 0",
                                {"wlan.bssid", "wlan.ds.current_channel", "wlan_radio.channel"});
    std::set<std::string> seen;
    for (const auto& line : beacons) {
        const auto fields = QString::fromStdString(line).split(QLatin1Char('\t'));
        ASSERT_EQ(fields.size(), 3) << line;
        const auto network = networks.find(fields[0].toStdString());
        ASSERT_NE(network, networks.end()) << line;
        EXPECT_EQ(fields[1].toInt(), network->second->channel.channelNumber);
        EXPECT_EQ(fields[2].toInt(), network->second->channel.channelNumber);
        seen.insert(network->first);
    }
    EXPECT_EQ(seen.size(), 3U + 5 + 4) << "all networks of the three channels, and no others";
}

TEST_P(LiveCapture, EveryFrameDissects) {
    if (QStandardPaths::findExecutable(QStringLiteral("tshark")).isEmpty()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("live.pcap"));
    constexpr std::size_t written = 3 * framesPerChannel;
    ASSERT_NO_FATAL_FAILURE(record(path));
    _client.reset(); // no other thread while a program is started

    // A damaged frame is shown as malformed, rightly; no other is, nor has anything to warn of.
    EXPECT_THAT(tshark(path, "(_ws.malformed || _ws.short) && radiotap.flags.badfcs == 0"), IsEmpty());
    EXPECT_THAT(tshark(path, "_ws.expert.severity >= Warning && radiotap.flags.badfcs == 0",
                       {"frame.number", "_ws.expert.message"}),
                IsEmpty());
    EXPECT_THAT(tshark(path, "wlan.fcs.status != 1 && radiotap.flags.badfcs == 0"), IsEmpty());
    EXPECT_THAT(tshark(path, "wlan.fcs.status != 0 && radiotap.flags.badfcs == 1"), IsEmpty());
    EXPECT_GT(tshark(path, "wlan.fcs.status == 1").size(), written * 9 / 10);

    expectKnownBeacons(path);
}

std::string transportName(const ::testing::TestParamInfo<SimulatedTransport>& info) {
    return info.param == SimulatedTransport::Tap ? "Tap" : "Stream";
}
INSTANTIATE_TEST_SUITE_P(Transports, LiveCapture,
                         ::testing::Values(SimulatedTransport::Tap, SimulatedTransport::Stream), transportName);

} // namespace
} // namespace vantrel
