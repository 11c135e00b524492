#include "engine/VantrelPacketOperation.h"

#include "engine/LiveFlag.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <vector>

namespace vantrel {
namespace {

class Receiver final : public VantrelPacketOperationDelegate {
public:
    void didProcessPacketWithPcapHeader(const pcap_pkthdr& header, const std::uint8_t* data) override {
        received = header;
        bytes.assign(data, data + header.caplen);
        ++calls;
    }
    pcap_pkthdr received{};
    std::vector<std::uint8_t> bytes;
    int calls = 0;
};

// Radiotap header without fields, then a data frame of 24 header bytes and a body, no FCS.
std::vector<std::uint8_t> dataFrame(std::size_t body) {
    std::vector<std::uint8_t> frame{0, 0, 8, 0, 0, 0, 0, 0, 0x08};
    frame.resize(8 + 24 + body, 0x5a);
    frame[9] = 0;
    return frame;
}

pcap_pkthdr headerOf(const std::vector<std::uint8_t>& frame) {
    return {.ts = {1234, 567}, .caplen = static_cast<bpf_u_int32>(frame.size()), .len = 1500};
}

class PacketOperationTest : public ::testing::Test {
protected:
    void run(const std::vector<std::uint8_t>& frame, int dlt = 127) {
        const auto operation = VantrelPacketOperation::initWithPcapHeader(headerOf(frame), frame.data(), dlt, &slicing);
        operation->setDelegate(&receiver);
        operation->main();
    }

    QTemporaryDir folder;
    SettingsStore settings{folder.filePath(QStringLiteral("settings.json"))};
    LiveFlag slicing{settings, keys::EnableAdaptivePacketSlicing};
    Receiver receiver;
};

TEST_F(PacketOperationTest, HandsOnItsOwnCopyOfHeaderAndBytes) {
    auto frame = dataFrame(100);
    const auto original = frame;
    const auto operation = VantrelPacketOperation::initWithPcapHeader(headerOf(frame), frame.data(), 127, &slicing);
    std::ranges::fill(frame, std::uint8_t{0}); // libpcap's buffer is used again
    operation->setDelegate(&receiver);
    EXPECT_EQ(operation->delegate(), &receiver);
    operation->main();
    EXPECT_EQ(receiver.bytes, original);
    EXPECT_EQ(receiver.received.ts.tv_sec, 1234);
    EXPECT_EQ(receiver.received.ts.tv_usec, 567);
    EXPECT_EQ(receiver.received.len, 1500U);
}

TEST_F(PacketOperationTest, WithoutTheSettingNothingIsSliced) {
    run(dataFrame(100));
    EXPECT_EQ(receiver.received.caplen, 132U);
}

TEST_F(PacketOperationTest, SlicingShortensTheCapturedLengthOnly) {
    settings.setBool(keys::EnableAdaptivePacketSlicing, true);
    run(dataFrame(100));
    EXPECT_EQ(receiver.received.caplen, 32U);
    EXPECT_EQ(receiver.received.len, 1500U);
}

TEST_F(PacketOperationTest, TheSettingIsReadAtTheMomentItIsNeeded) {
    settings.setBool(keys::EnableAdaptivePacketSlicing, true);
    run(dataFrame(100));
    settings.setBool(keys::EnableAdaptivePacketSlicing, false);
    run(dataFrame(100));
    EXPECT_EQ(receiver.received.caplen, 132U);
}

TEST_F(PacketOperationTest, AChangeByAnotherProgramIsSeenAfterARefresh) {
    run(dataFrame(100));
    SettingsStore other(settings.path());
    other.setBool(keys::EnableAdaptivePacketSlicing, true);
    settings.refresh(); // the packet queue does this before every batch
    run(dataFrame(100));
    EXPECT_EQ(receiver.received.caplen, 32U);
}

TEST_F(PacketOperationTest, PlainFramesAreNeverSliced) {
    settings.setBool(keys::EnableAdaptivePacketSlicing, true);
    run(dataFrame(100), 105);
    EXPECT_EQ(receiver.received.caplen, 132U);
}

TEST_F(PacketOperationTest, NoMoreThanTheSnapshotLengthIsCopied) {
    const std::vector<std::uint8_t> frame(5000, 7);
    run(frame);
    EXPECT_EQ(receiver.received.caplen, 2048U);
}

TEST_F(PacketOperationTest, WithoutADelegateItRunsAndDoesNothing) {
    const auto frame = dataFrame(1);
    VantrelPacketOperation::initWithPcapHeader(headerOf(frame), frame.data(), 127)->main();
    EXPECT_EQ(receiver.calls, 0);
}

TEST_F(PacketOperationTest, AnOperationUsedAgainKeepsNothingOfTheLastFrame) {
    const auto first = dataFrame(500);
    const auto operation = VantrelPacketOperation::initWithPcapHeader(headerOf(first), first.data(), 127, &slicing);
    operation->setDelegate(&receiver);
    operation->main();
    const auto second = dataFrame(3);
    operation->setFrame(headerOf(second), second.data(), 127, &slicing);
    EXPECT_EQ(operation->delegate(), nullptr);
    operation->setDelegate(&receiver);
    operation->main();
    EXPECT_EQ(receiver.bytes, second);
}

} // namespace
} // namespace vantrel
