#include "remote/VantrelPacket.h"

#include "remote/Streams.h"
#include "simulated/FrameBuilder.h"

#include <gtest/gtest.h>
#include <zlib.h>

namespace vantrel {
namespace {

using Data = std::vector<std::uint8_t>;

// A radiotap header with these bits in its present word and these bytes behind it.
Data radiotapOf(std::uint8_t presentLow, const Data& fields, std::uint8_t presentHigh = 0) {
    Data header = {0, 0, static_cast<std::uint8_t>(8 + fields.size()), 0, presentLow, 0, 0, presentHigh};
    header.insert(header.end(), fields.begin(), fields.end());
    return header;
}
const Data signalAndNoise = radiotapOf(0x60, {0xC4, 0xA1}); // -60 and -95 dBm

// The first two bytes of a management frame, its addresses, and some more, 40 bytes in all.
Data frameOf(std::uint8_t firstByte) {
    Data frame = {firstByte, 0x00, 0x00, 0x00};
    frame.insert(frame.end(), 6, 0xFF);
    frame.insert(frame.end(), 6, 0x11);
    for (const unsigned char byte : Data{0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}) {
        frame.push_back(byte);
    }
    frame.resize(40, 0x07);
    return frame;
}
const Data beaconBytes = frameOf(0x80);

Data withCheck(Data header, const Data& frame, std::uint32_t wrongBits = 0) {
    const auto check = static_cast<std::uint32_t>(crc32(0, frame.data(), static_cast<uInt>(frame.size()))) ^ wrongBits;
    header.insert(header.end(), frame.begin(), frame.end());
    for (int shift = 0; shift < 32; shift += 8) {
        header.push_back(static_cast<std::uint8_t>(check >> shift));
    }
    return header;
}

bool isValid(const Data& header, const Data& frame) {
    return VantrelPacket::initWithData(withCheck(header, frame)).isValid();
}

TEST(VantrelPacket, ReadsSignalNoiseAndBssidOfABeacon) {
    const Data data = withCheck(signalAndNoise, beaconBytes);
    const auto packet = VantrelPacket::initWithData(data);
    EXPECT_TRUE(packet.isValid());
    EXPECT_EQ(packet.rssi(), -60);
    EXPECT_EQ(packet.noise(), -95);
    EXPECT_EQ(packet.bssid(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(packet.data(), data);
    EXPECT_EQ(VantrelPacket::header(), nullptr);
}

TEST(VantrelPacket, ABssidThatCannotBeCutIntoTwoDigitsIsStillTwoDigitsEach) {
    Data frame = beaconBytes;
    std::fill_n(frame.begin() + 16, 6, 0x0A);
    EXPECT_EQ(VantrelPacket::initWithData(withCheck(signalAndNoise, frame)).bssid(), "0a:0a:0a:0a:0a:0a");
}

TEST(VantrelPacket, TheAccessorsSet) {
    auto packet = VantrelPacket::initWithData({});
    packet.setRssi(-1);
    packet.setNoise(-2);
    packet.setIsValid(true);
    EXPECT_EQ(packet.rssi(), -1);
    EXPECT_EQ(packet.noise(), -2);
    EXPECT_TRUE(packet.isValid());
}

TEST(VantrelPacket, AHeaderAndACheckSequenceAloneAreInvalid) { EXPECT_FALSE(isValid(signalAndNoise, {})); }

TEST(VantrelPacket, AWrongCheckSequenceIsInvalid) {
    for (const std::uint32_t bit : {0x1U, 0x100U, 0x10000U, 0x80000000U}) {
        const auto packet = VantrelPacket::initWithData(withCheck(signalAndNoise, beaconBytes, bit));
        EXPECT_FALSE(packet.isValid());
        EXPECT_EQ(packet.bssid(), "");
        EXPECT_EQ(packet.rssi(), -60); // read before
    }
}

TEST(VantrelPacket, OfAllKindsOfFramesOnlyBeaconsAndProbeResponsesAreValid) {
    for (unsigned firstByte = 0; firstByte < 256; ++firstByte) {
        EXPECT_EQ(isValid(signalAndNoise, frameOf(static_cast<std::uint8_t>(firstByte))),
                  firstByte == 0x80 || firstByte == 0x50)
            << firstByte;
    }
}

TEST(VantrelPacket, AFrameThatEndsBeforeItsThirdAddressIsInvalid) {
    for (std::size_t size = 0; size < beaconBytes.size(); ++size) {
        const Data cut(beaconBytes.begin(), beaconBytes.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(isValid(signalAndNoise, cut), size >= 22) << size;
    }
}

TEST(VantrelPacket, EveryShorterPieceOfAPacketIsInvalid) {
    const Data whole = withCheck(signalAndNoise, beaconBytes);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(VantrelPacket::initWithData(std::span(whole).first(size)).isValid()) << size;
    }
}

TEST(VantrelPacket, WithoutSignalAndNoiseBothAreZero) {
    const auto packet = VantrelPacket::initWithData(withCheck(radiotapOf(0, {}), beaconBytes));
    EXPECT_TRUE(packet.isValid());
    EXPECT_EQ(packet.rssi(), 0);
    EXPECT_EQ(packet.noise(), 0);
}

TEST(VantrelPacket, OfSeveralAntennasTheLastCounts) {
    // Two present words: the second stands for the second antenna, in the standard namespace again.
    const Data header = {0,    0,    20,   0,   0x60, 0, 0, 0xA0, 0x60, 0, 0, 0xA0, 0x20, 0, 0, 0, //
                         0xC4, 0xA1, 0xCE, 0xA0};
    Data third = header;
    third[2] = 21;
    third.push_back(0xD8); // the third antenna's signal, -40
    const auto packet = VantrelPacket::initWithData(withCheck(third, beaconBytes));
    EXPECT_TRUE(packet.isValid());
    EXPECT_EQ(packet.rssi(), -40);
    EXPECT_EQ(packet.noise(), -96);
}

TEST(VantrelPacket, AnUnreadableRadioHeaderIsInvalid) {
    Data version = signalAndNoise;
    version[0] = 1;
    EXPECT_FALSE(isValid(version, beaconBytes));
    // Signal and noise announced, one byte there: the walk ends with an error, the signal already read.
    const auto cut = VantrelPacket::initWithData(withCheck(radiotapOf(0x60, {0xC4}), beaconBytes));
    EXPECT_FALSE(cut.isValid());
    EXPECT_EQ(cut.rssi(), -60);
    // A field that the standard namespace does not define ends the walk as well, but not with an error.
    EXPECT_TRUE(isValid(radiotapOf(0x20, {0xC4}, 0x10), beaconBytes));
}

TEST(VantrelPacket, WhatTheSimulatedRadioDeliversIsUnderstood) {
    Reception reception;
    reception.signal = -71;
    reception.noise = -92;
    const Announcement network{.bssid = {2, 0, 0, 0xAB, 0xCD, 0xEF}, .ssid = "Lab", .channel = {6, 1, 1}};
    const auto packet = VantrelPacket::initWithData(received(reception, beaconFrame(network, 1, 2, 0)));
    EXPECT_TRUE(packet.isValid());
    EXPECT_EQ(packet.rssi(), -71);
    EXPECT_EQ(packet.noise(), -92);
    EXPECT_EQ(packet.bssid(), "02:00:00:ab:cd:ef");
    reception.badFcs = true;
    EXPECT_FALSE(VantrelPacket::initWithData(received(reception, beaconFrame(network, 1, 2, 0))).isValid());
}

} // namespace
} // namespace vantrel
