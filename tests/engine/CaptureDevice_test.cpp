#include "engine/CaptureDevice.h"

#include "PcapFaults.h"
#include "SessionFixture.h"
#include "simulated/TapDevice.h"
#include "support/LogCapture.h"

#include <QDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pcap/pcap.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace vantrel {
namespace {

std::vector<DataLink> links(std::initializer_list<int> values) {
    std::vector<DataLink> offered;
    for (const int value : values) {
        offered.push_back({value, {}});
    }
    return offered;
}

TEST(ChooseDataLink, TriesTheStoredTypeThenTheKnownOnes) {
    EXPECT_EQ(chooseDataLink(links({1, 105, 127, 192}), 192), 192);
    EXPECT_EQ(chooseDataLink(links({1, 105, 127, 192}), 1), 1);
    EXPECT_EQ(chooseDataLink(links({105, 127}), 1), 127) << "Ethernet on a device without it";
    EXPECT_EQ(chooseDataLink(links({192, 105}), 127), 105);
    EXPECT_EQ(chooseDataLink(links({7, 192}), 127), 192);
    EXPECT_EQ(chooseDataLink(links({7, 8}), 127), 7);
    EXPECT_EQ(chooseDataLink(links({7, 127}), -1), 127);
    EXPECT_EQ(chooseDataLink(links({7, 127}), (std::int64_t{1} << 32) + 7), 127) << "a stored value beyond any type";
}

TEST(ChooseDataLink, AStoredZeroTakesTheFirst) { EXPECT_EQ(chooseDataLink(links({1, 127}), 0), 1); }

TEST(ChooseDataLink, NothingOfferedStaysUnset) { EXPECT_EQ(chooseDataLink({}, 127), 0); }

class CaptureDeviceTest : public ::testing::Test {
protected:
    ~CaptureDeviceTest() override { testing::pcapFaults().clear(); }
    QStringList events;
    testing::DeviceInterface interface { events };
};

TEST_F(CaptureDeviceTest, ListsWhatALiveRadiotapDeviceOffers) {
    const auto tap = TapDevice::create();
    if (!tap) {
        GTEST_SKIP() << qPrintable(tap.error().error.text());
    }
    interface.device = tap->name();
    const auto offered = offeredDataLinks(interface);
    ASSERT_EQ(offered.size(), 1U);
    EXPECT_EQ(offered.front().value, 127);
    EXPECT_EQ(offered.front().description, QStringLiteral("802.11 plus radiotap header"));
}

TEST_F(CaptureDeviceTest, AProbeThatCannotBeActivatedIsLogged) {
    interface.device = QStringLiteral("vantrel-none");
    const testing::LogCapture log;
    EXPECT_TRUE(offeredDataLinks(interface).empty());
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("pcap_open_activate() failed for device vantrel-none: ")));
}

TEST_F(CaptureDeviceTest, AProbeThatCannotBeMadeIsLogged) {
    testing::pcapFaults().create = true;
    const testing::LogCapture log;
    EXPECT_TRUE(offeredDataLinks(interface).empty());
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("pcap_create() failed: no handle today")));
}

TEST_F(CaptureDeviceTest, LibpcapIsAskedForMonitorModeWhereItCanAndARefusalIsOnlyLogged) {
    interface.device = QStringLiteral("lo");
    interface.refusesMonitorMode = true;
    testing::pcapFaults().canSetRfmon = 1;
    testing::pcapFaults().setRfmon = -4;
    const testing::LogCapture log;
    const auto device = CaptureDevice::create(interface);
    ASSERT_TRUE(device);
    ASSERT_EQ(log.warnings().size(), 2);
    EXPECT_EQ(log.warnings().at(0), QStringLiteral("pcap_set_rfmon() failed: monitor mode: refused"));
    EXPECT_TRUE(log.warnings().at(1).startsWith(QStringLiteral("pcap_set_rfmon() failed: ")));
}

TEST_F(CaptureDeviceTest, AnActivationWarningIsNotSuccess) {
    interface.device = QStringLiteral("lo");
    testing::pcapFaults().activate = PCAP_WARNING_PROMISC_NOTSUP;
    const auto device = CaptureDevice::create(interface);
    ASSERT_TRUE(device);
    EXPECT_EQ(device->activate(), PCAP_WARNING_PROMISC_NOTSUP);
}

int inheritedSockets() {
    int found = 0;
    for (const QString& descriptor :
         QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::NoDotAndDotDot | QDir::System)) {
        struct stat status {};
        const int number = descriptor.toInt();
        if (::fstat(number, &status) == 0 && S_ISSOCK(status.st_mode) &&
            (static_cast<unsigned>(::fcntl(number, F_GETFD)) & FD_CLOEXEC) == 0) {
            ++found;
        }
    }
    return found;
}

TEST_F(CaptureDeviceTest, ProgramsStartedMeanwhileDoNotInheritTheDevice) {
    interface.device = QStringLiteral("lo");
    const int before = inheritedSockets();
    const auto device = CaptureDevice::create(interface);
    ASSERT_TRUE(device);
    if (device->activate() < 0) {
        GTEST_SKIP() << "opening a device needs CAP_NET_RAW";
    }
    EXPECT_EQ(inheritedSockets(), before);
}

class StreamMode final : public MonitorMode {
public:
    explicit StreamMode(FileDescriptor stream) : _stream(std::move(stream)) {}
    QString deviceName() const override { return {}; }
    FileDescriptor takeStream() override { return std::move(_stream); }

private:
    FileDescriptor _stream;
};

class StreamInterface final : public CWInterface {
public:
    StreamInterface() {
        int ends[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
    }
    QString interfaceName() const override { return QStringLiteral("stream"); }
    CWInterfaceMode interfaceMode() const override { return CWInterfaceMode::None; }
    QString ssid() const override { return {}; }
    std::optional<CWChannel> wlanChannel() const override { return {}; }
    std::vector<CWChannel> supportedWLANChannels() const override { return {}; }
    bool powerOn() const override { return true; }
    Expected<void> setWLANChannel(const CWChannel&) override { return {}; }
    Expected<void> setPower(bool) override { return {}; }
    void disassociate() override {}
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse /*use*/) override {
        return std::make_unique<StreamMode>(std::move(reader));
    }
    FileDescriptor reader;
    FileDescriptor writer;
};

constexpr std::uint8_t fileHeader[24] = {0xd4, 0xc3, 0xb2, 0xa1, 2, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0, 127};

TEST_F(CaptureDeviceTest, AStreamIsReadLikeADeviceAndEndsWhenBroken) {
    StreamInterface stream;
    ASSERT_EQ(::write(stream.writer.get(), fileHeader, sizeof fileHeader), ssize_t{24});
    const auto device = CaptureDevice::create(stream);
    ASSERT_TRUE(device);
    EXPECT_EQ(device->activate(), 0);
    EXPECT_EQ(device->setDataLink(127), 0);
    EXPECT_NE(device->setDataLink(105), 0);
    const std::uint8_t record[] = {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 3, 0, 0, 0, 'a', 'b', 'c'};
    ASSERT_EQ(::write(stream.writer.get(), record, sizeof record), ssize_t{sizeof record});
    struct Seen {
        std::atomic<int> frames = 0;
    } seen;
    int result = 1;
    std::thread reader([&] {
        result = device->loop([](unsigned char* user, const pcap_pkthdr*,
                                 const unsigned char*) { ++reinterpret_cast<Seen*>(user)->frames; },
                              &seen);
    });
    while (seen.frames == 0) {
        std::this_thread::yield();
    }
    device->breakLoop(); // the reader waits for a byte that never comes
    reader.join();
    EXPECT_EQ(result, -2);
    EXPECT_EQ(seen.frames, 1);
}

// Real time: the patience is two seconds, and it is only checked that it ends.
TEST_F(CaptureDeviceTest, AStreamThatNeverBeginsIsGivenUp) {
    StreamInterface stream;
    const testing::LogCapture log;
    EXPECT_FALSE(CaptureDevice::create(stream));
    ASSERT_EQ(log.warnings().size(), 1);
    EXPECT_TRUE(log.warnings().first().startsWith(QStringLiteral("pcap_create() failed: ")));
}

} // namespace
} // namespace vantrel
