#include "simulated/TapDevice.h"

#include "Capture.h"

#include <gmock/gmock.h>
#include <net/if.h>

namespace vantrel {
namespace {

class TapDeviceTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const auto refusal = testing::tapRefusal(); !refusal.empty()) {
            GTEST_SKIP() << refusal;
        }
    }
};

TapDevice made(TapLinkType linkType = TapLinkType::Radiotap) {
    auto device = TapDevice::create(linkType);
    return device ? std::move(*device) : throw std::runtime_error(device.error().error.text().toStdString());
}

TEST_F(TapDeviceTest, LivesAsLongAsTheObject) {
    unsigned index = 0;
    {
        const auto device = made();
        EXPECT_TRUE(device.name().startsWith(QStringLiteral("vantrel")));
        index = ::if_nametoindex(qUtf8Printable(device.name()));
        EXPECT_NE(index, 0U);
    }
    char name[IF_NAMESIZE]; // by number: a name is soon taken again
    EXPECT_EQ(::if_indextoname(index, name), nullptr);
}

TEST_F(TapDeviceTest, TheLinkTypeIsLibpcaps) {
    const auto plain = made(TapLinkType::Plain80211);
    EXPECT_EQ(::pcap_datalink(testing::Capture(plain.name()).handle()), 105);
    const auto radiotap = made();
    EXPECT_EQ(::pcap_datalink(testing::Capture(radiotap.name()).handle()), 127);
}

TEST_F(TapDeviceTest, FramesOfEverySizePassWhole) {
    auto device = made();
    testing::Capture capture(device.name());
    for (const std::size_t size : {14U, 38U, 300U, 1500U, 2048U, 2400U, 4000U}) {
        const Bytes frame(size, 0x5a);
        const auto written = device.write(frame);
        ASSERT_TRUE(written) << written.error().text().toStdString();
        const auto got = capture.next();
        ASSERT_TRUE(got);
        EXPECT_EQ(*got, frame) << size;
    }
}

TEST_F(TapDeviceTest, ALinkThatIsDownRefusesFrames) {
    auto device = made();
    const Bytes frame(100, 0);
    ASSERT_TRUE(device.setUp(false));
    const auto written = device.write(frame);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().text(), QStringLiteral("write to %1: Input/output error").arg(device.name()));
    ASSERT_TRUE(device.setUp(true));
    EXPECT_TRUE(device.write(frame));
}

TEST_F(TapDeviceTest, ATooShortFrameIsAnError) {
    auto device = made();
    EXPECT_FALSE(device.write(Bytes(13, 0)));
}

TEST_F(TapDeviceTest, NamesAreTakenOrRefused) {
    const auto named = TapDevice::create(TapLinkType::Radiotap, QStringLiteral("vantrelt%d"));
    ASSERT_TRUE(named);
    EXPECT_TRUE(named->name().startsWith(QStringLiteral("vantrelt")));
    const auto tooLong = TapDevice::create(TapLinkType::Radiotap, QStringLiteral("a-name-of-sixteen"));
    ASSERT_FALSE(tooLong);
    EXPECT_EQ(tooLong.error().number, 0);
    const auto taken = TapDevice::create(TapLinkType::Radiotap, named->name());
    ASSERT_FALSE(taken);
    EXPECT_EQ(taken.error().number, EBUSY);
}

} // namespace
} // namespace vantrel
