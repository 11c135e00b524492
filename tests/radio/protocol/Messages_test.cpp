#include "protocol/Messages.h"

#include <QDebug>
#include <array>
#include <gtest/gtest.h>
#include <string>

namespace vantrel::protocol {

void PrintTo(const Packet& packet, std::ostream* out) {
    *out << "packet " << packet.request << " of type " << packet.message.index();
}

namespace {

using Bytes = std::vector<std::uint8_t>;

const State associated{QStringLiteral("wlan0"),
                       CWInterfaceMode::Station,
                       QStringLiteral("Caf\u00e9"),
                       QStringLiteral("02:00:00:00:00:01"),
                       CWChannel{36, bandFiveGHz, width80MHz},
                       true};

std::vector<Packet> onePacketOfEachType() {
    return {{1, SetChannel{{165, bandFiveGHz, 0}}},
            {2, SetPower{true}},
            {3, SetPower{false}},
            {4, Disassociate{}},
            {0xfffffffe, BeginMonitor{}},
            {5, BeginMonitor{true}},
            {6, EndMonitor{}},
            {7, Done{}},
            {8, Done{QStringLiteral("NL80211_CMD_SET_CHANNEL"), QStringLiteral("Device or resource busy"), {}}},
            {9, Done{{}, {}, QStringLiteral("vantrel0")}},
            {0, State{}},
            {0, associated},
            {0, Channels{}},
            {0, Channels{{{1, bandTwoDotFourGHz, width20MHz}, {100, bandFiveGHz, width160MHz}}}}};
}

// The error text of bytes that must be refused.
std::string refusal(const Bytes& bytes) {
    const auto packet = decode(bytes);
    return packet ? "it was read" : packet.error().text().toStdString();
}

// The bytes of a packet with some of them replaced from an index on.
Bytes changed(const Packet& packet, std::size_t at, const Bytes& with) {
    Bytes bytes = encode(packet);
    std::copy(with.begin(), with.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    return bytes;
}

TEST(MessagesTest, EveryMessageComesBackAsItWas) {
    for (const auto& packet : onePacketOfEachType()) {
        const auto back = decode(encode(packet));
        ASSERT_TRUE(back) << back.error().text().toStdString();
        EXPECT_EQ(*back, packet);
    }
}

TEST(MessagesTest, TheBytesAreThoseOfTheFormat) {
    EXPECT_EQ(encode({0x04030201, SetChannel{{36, bandFiveGHz, width80MHz}}}), (Bytes{1, 0, 1, 2, 3, 4, 36, 0, 2, 3}));
    EXPECT_EQ(encode({2, SetPower{true}}), (Bytes{1, 1, 2, 0, 0, 0, 1}));
    EXPECT_EQ(encode({3, Disassociate{}}), (Bytes{1, 2, 3, 0, 0, 0}));
    EXPECT_EQ(encode({3, BeginMonitor{}}), (Bytes{1, 3, 3, 0, 0, 0, 0}));
    EXPECT_EQ(encode({3, BeginMonitor{true}}), (Bytes{1, 3, 3, 0, 0, 0, 1}));
    EXPECT_EQ(encode({3, EndMonitor{}}), (Bytes{1, 4, 3, 0, 0, 0}));
    EXPECT_EQ(encode({3, Done{QStringLiteral("a"), QStringLiteral("\u00e9"), {}}}),
              (Bytes{1, 5, 3, 0, 0, 0, 1, 0, 'a', 2, 0, 0xc3, 0xa9, 0, 0}));
    EXPECT_EQ(encode({0, State{QStringLiteral("w"), CWInterfaceMode::Monitor, {}, {}, CWChannel{258, 1, 1}, true}}),
              (Bytes{1, 6, 0, 0, 0, 0, 1, 0, 'w', 4, 0, 0, 0, 0, 1, 2, 1, 1, 1, 1}));
    EXPECT_EQ(encode({0, State{}}), (Bytes{1, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(encode({0, Channels{{{11, 1, 2}}}}), (Bytes{1, 7, 0, 0, 0, 0, 1, 0, 11, 0, 1, 2}));
}

TEST(MessagesTest, APacketCutAnywhereIsRefused) {
    for (const auto& packet : onePacketOfEachType()) {
        const auto bytes = encode(packet);
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            // A copy of that size alone, so that a read beyond it is seen by the sanitizer.
            const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_NE(refusal(cut).find("runs over the end"), std::string::npos) << refusal(cut);
        }
    }
}

TEST(MessagesTest, BytesLeftOverAreRefused) {
    for (const auto& packet : onePacketOfEachType()) {
        auto bytes = encode(packet);
        bytes.push_back(0);
        EXPECT_EQ(refusal(bytes), "decode: the last field is followed by 1 bytes");
    }
}

TEST(MessagesTest, AnotherVersionIsToldApart) {
    EXPECT_EQ(refusal({2}), "decode: the version is 2, not 1");
    EXPECT_EQ(refusal(changed({1, Done{}}, 0, {0})), "decode: the version is 0, not 1");
}

TEST(MessagesTest, AnUnknownTypeIsRefused) {
    EXPECT_EQ(refusal(changed({0, Channels{}}, 1, {8})), "decode: the type is 8, which is unknown");
    EXPECT_EQ(refusal(changed({0, Channels{}}, 1, {255})), "decode: the type is 255, which is unknown");
}

TEST(MessagesTest, ValuesOutOfTheirRangeAreRefused) {
    EXPECT_EQ(refusal(changed({1, SetPower{}}, 6, {2})), "decode: the power is 2, neither 0 nor 1");
    EXPECT_EQ(refusal(changed({1, SetChannel{}}, 6, {1, 0, 0, 1})), "decode: the channel has band 0 and width 1");
    EXPECT_EQ(refusal(changed({1, SetChannel{}}, 6, {1, 0, 3, 1})), "decode: the channel has band 3 and width 1");
    EXPECT_EQ(refusal(changed({1, SetChannel{}}, 6, {1, 0, 1, 5})), "decode: the channel has band 1 and width 5");
    EXPECT_EQ(refusal(changed({1, BeginMonitor{}}, 6, {3})), "decode: whether it is a probe is 3, neither 0 nor 1");
    for (const std::uint8_t mode : Bytes{2, 3, 5, 255}) {
        EXPECT_EQ(refusal(changed({0, State{}}, 8, {mode})),
                  "decode: the mode is " + std::to_string(mode) + ", which is none");
    }
    EXPECT_EQ(refusal(changed({0, State{}}, 13, {2})), "decode: whether there is a channel is 2, neither 0 nor 1");
    EXPECT_EQ(refusal(changed({0, State{}}, 14, {7})), "decode: the power is 7, neither 0 nor 1");
    EXPECT_EQ(refusal(changed({0, Channels{{{1, 1, 1}, {6, 1, 1}}}}, 15, {9})),
              "decode: the channel has band 1 and width 9");
}

TEST(MessagesTest, TextThatIsNotUtf8IsRefused) {
    const Packet packet{1, Done{{}, {}, QStringLiteral("abc")}}; // the text's bytes begin at 12
    for (const Bytes& bad :
         {Bytes{0xff}, Bytes{'a', 'b', 0xc3}, Bytes{0xc0, 0x80}, Bytes{0xed, 0xa0, 0x80}, Bytes{0x80}}) {
        EXPECT_EQ(refusal(changed(packet, 12, bad)), "decode: the result is not UTF-8");
    }
    // What is unusual, but UTF-8: the text of a network's name may hold anything.
    for (const auto* text : {u"\ufeffbegins with a mark", u"\uffff\ufffd", u"\0zero", u"\U0001f4e1"}) {
        const Packet unusual{1, Done{{}, {}, QString::fromUtf16(text)}};
        const auto back = decode(encode(unusual));
        ASSERT_TRUE(back) << back.error().text().toStdString();
        EXPECT_EQ(*back, unusual);
    }
    const Packet nul{1, Done{{}, {}, QString(3, QChar(0))}};
    EXPECT_EQ(decode(encode(nul)), nul);
}

TEST(MessagesTest, ALongTextIsCutAtACharacter) {
    const QString satellite = QStringLiteral("\U0001f4e1"); // four bytes
    const QString longText = QStringLiteral("a") + satellite.repeated(5000);
    const auto bytes = encode({1, Done{longText, longText, longText}});
    EXPECT_LE(bytes.size(), longestPacket);
    const auto back = decode(bytes);
    ASSERT_TRUE(back) << back.error().text().toStdString();
    const QString kept = QStringLiteral("a") + satellite.repeated(1023); // 4093 bytes; 3 more are no character
    EXPECT_EQ(std::get<Done>(back->message), (Done{kept, kept, kept}));

    const QString exact = QString(4096, QLatin1Char('x'));
    EXPECT_EQ(decode(encode({1, Done{exact, {}, {}}})), (Packet{1, Done{exact, {}, {}}}));
    Bytes tooLong = encode({1, Done{exact, {}, {}}});
    tooLong.insert(tooLong.begin() + 8, 'x');
    tooLong[6] = 1; // 4097
    EXPECT_EQ(refusal(tooLong), "decode: the name of the failed call is too long");
}

TEST(MessagesTest, ALoneSurrogateIsReplaced) {
    QString broken = QStringLiteral("ab");
    broken[0] = QChar(0xd800);
    const auto back = decode(encode({1, Done{{}, {}, broken}}));
    ASSERT_TRUE(back) << back.error().text().toStdString();
    EXPECT_TRUE(std::get<Done>(back->message).result.endsWith(QLatin1Char('b')));
}

TEST(MessagesTest, AListThatFillsThePacketIsCut) {
    const std::vector<CWChannel> many(70000, CWChannel{1, 1, 1});
    const auto bytes = encode({0, Channels{many}});
    EXPECT_EQ(bytes.size(), longestPacket);
    const auto back = decode(bytes);
    ASSERT_TRUE(back) << back.error().text().toStdString();
    EXPECT_EQ(std::get<Channels>(back->message).supported.size(), 4094U);
    EXPECT_EQ(refusal(Bytes(longestPacket + 1, 1)), "decode: the packet is too long");
}

TEST(MessagesTest, AChannelOutOfRangeIsNotMadeAnother) {
    EXPECT_TRUE(isInRange({36, bandFiveGHz, 0}));
    EXPECT_TRUE(isInRange({65535, bandTwoDotFourGHz, width160MHz}));
    for (const CWChannel& channel :
         {CWChannel{-1, 1, 1}, CWChannel{65536, 1, 1}, CWChannel{1, 0, 1}, CWChannel{1, 3, 1}, CWChannel{1, 1, -1},
          CWChannel{1, 1, 5}, CWChannel{1, 257, 1}, CWChannel{1, 1, 257}}) {
        EXPECT_FALSE(isInRange(channel));
    }
    EXPECT_FALSE(decode(encode({1, SetChannel{{1, 257, 1}}})));
    EXPECT_FALSE(decode(encode({1, SetChannel{{1, 1, 257}}})));
}

} // namespace
} // namespace vantrel::protocol
