// The generator that other tests rely on: its frames are what its documentation says.
#include "Capture.h"

#include <QProcess>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <net/if.h>
#include <zlib.h>

namespace vantrel {
namespace {

using testing::Capture;

class TapGenerator : public ::testing::Test {
protected:
    void SetUp() override {
        if (const auto refusal = testing::tapRefusal(); !refusal.empty()) {
            GTEST_SKIP() << refusal;
        }
    }
    void TearDown() override {
        _process.closeWriteChannel();
        EXPECT_TRUE(_process.waitForFinished(10000));
    }
    QString start(const QStringList& arguments = {}) {
        _process.start(QStringLiteral(TAP_GENERATOR), arguments);
        return line();
    }
    QString ask(const QString& command) {
        _process.write(command.toUtf8() + '\n');
        return line();
    }
    QString line() {
        while (!_process.canReadLine() && _process.waitForReadyRead(20000)) {
        }
        return QString::fromUtf8(_process.readLine()).trimmed();
    }

    QProcess _process;
};

std::uint64_t little(const Bytes& bytes, std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t index = size; index > 0; --index) {
        value = value << 8 | bytes.at(offset + index - 1);
    }
    return value;
}

void expectNumbered(const Bytes& frame, std::uint64_t number, std::size_t size) {
    ASSERT_EQ(frame.size(), size);
    EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 11), (Bytes{0, 0, 9, 0, 2, 0, 0, 0, 0x10, 0x88, 0x02}));
    EXPECT_EQ(little(frame, 35, 8), number);
    for (std::size_t index = 0; index + 47 < size; ++index) {
        ASSERT_EQ(frame[43 + index], static_cast<std::uint8_t>(index * 7 + 3));
    }
    EXPECT_EQ(little(frame, size - 4, 4), ::crc32(0, frame.data() + 9, static_cast<uInt>(size - 13)));
}

TEST_F(TapGenerator, FramesAreNumberedAndChecked) {
    const QString device = start();
    Capture capture(device);
    EXPECT_THAT(ask(QStringLiteral("send 300 0")).toStdString(), ::testing::StartsWith("sent 300 in "));
    EXPECT_THAT(ask(QStringLiteral("send 5 0 47")).toStdString(), ::testing::StartsWith("sent 5 in "));
    for (std::uint64_t number = 0; number < 305; ++number) {
        const auto frame = capture.next();
        ASSERT_TRUE(frame);
        ASSERT_NO_FATAL_FAILURE(expectNumbered(*frame, number, number < 300 ? 300 : 47));
    }
}

TEST_F(TapGenerator, ARateIsKept) {
    start();
    const auto words = ask(QStringLiteral("send 2000 10000")).split(QLatin1Char(' '));
    ASSERT_EQ(words.size(), 4);
    EXPECT_GE(words[3].toDouble(), 0.19);
    EXPECT_LT(words[3].toDouble(), 1.0);
}

TEST_F(TapGenerator, ReplaysACaptureFile) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("in put.pcap"));
    const Bytes frame(77, 0x21);
    {
        const testing::PcapHandle dead(::pcap_open_dead(127, 2048));
        auto* dumper = ::pcap_dump_open(dead.get(), path.toLocal8Bit().constData());
        pcap_pkthdr header{};
        header.caplen = header.len = static_cast<bpf_u_int32>(frame.size());
        ::pcap_dump(reinterpret_cast<u_char*>(dumper), &header, frame.data());
        ::pcap_dump_close(dumper);
    }
    Capture capture(start());
    EXPECT_THAT(ask(QStringLiteral("replay ") + path).toStdString(), ::testing::StartsWith("replayed 1 in "));
    EXPECT_EQ(capture.next(), frame);
    EXPECT_THAT(ask(QStringLiteral("replay /nowhere.pcap")).toStdString(), ::testing::StartsWith("error: "));
}

TEST_F(TapGenerator, TakesTheLinkDownAndTheDeviceAway) {
    const QString device = start({QStringLiteral("--plain")});
    const unsigned index = ::if_nametoindex(qUtf8Printable(device));
    EXPECT_EQ(::pcap_datalink(Capture(device).handle()), 105);
    EXPECT_EQ(ask(QStringLiteral("down")), QStringLiteral("down"));
    EXPECT_THAT(ask(QStringLiteral("send 1 0")).toStdString(), ::testing::StartsWith("error: write to vantrel"));
    EXPECT_EQ(ask(QStringLiteral("up")), QStringLiteral("up"));
    EXPECT_THAT(ask(QStringLiteral("send 1 0")).toStdString(), ::testing::StartsWith("sent 1 in "));
    EXPECT_EQ(ask(QStringLiteral("delete")), QStringLiteral("deleted"));
    char name[IF_NAMESIZE]; // by number: a name is soon taken again
    EXPECT_EQ(::if_indextoname(index, name), nullptr);
    EXPECT_THAT(ask(QStringLiteral("send 1 0")).toStdString(), ::testing::StartsWith("error: "));
}

} // namespace
} // namespace vantrel
