// What is asked of the kernel's Wi-Fi, looked at where libnl would send it: on a machine without Wi-Fi too. The test
// program is linked so that these two calls come here first; while nobody looks they go through to libnl.
#include "Attributes.h"
#include "netlink/Nl80211.h"

#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <map>
#include <netlink/errno.h>
#include <netlink/genl/ctrl.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <string>

namespace vantrel::netlink {
namespace {

constexpr int familyNumber = 30;

struct Sent {
    int family = 0;
    int command = 0;
    std::map<int, std::uint32_t> numbers; // by attribute
    std::map<int, std::string> texts;     // values of another size, without the zero behind them
};
std::vector<Sent>* sent = nullptr; // while somebody looks

Sent read(const nlmsghdr& header) {
    const Bytes payload{static_cast<const std::uint8_t*>(::nlmsg_data(&header)),
                        static_cast<std::size_t>(::nlmsg_datalen(&header))};
    Sent message{.family = header.nlmsg_type, .command = payload[0], .numbers = {}, .texts = {}};
    forEachAttribute(payload.subspan(GENL_HDRLEN), [&message](int attribute, Bytes value) {
        if (const auto number = numberOf<std::uint32_t>(value)) {
            message.numbers[attribute] = *number;
        } else {
            message.texts[attribute] = std::string(value.begin(), value.empty() ? value.end() : value.end() - 1);
        }
    });
    return message;
}

class Nl80211Requests : public ::testing::Test {
protected:
    void SetUp() override {
        sent = &messages;
        auto opened = Nl80211::open();
        ASSERT_TRUE(opened) << qPrintable(opened.error().text());
        wireless = std::move(*opened);
    }
    void TearDown() override { sent = nullptr; }

    std::vector<Sent> messages;
    std::unique_ptr<Nl80211> wireless;
};

struct Tuning {
    CWChannel channel;
    std::uint32_t frequency;
    std::uint32_t width;
    std::uint32_t centre;
};

TEST_F(Nl80211Requests, TuningNamesFrequencyWidthAndCentre) {
    constexpr std::uint32_t wide20 = 1, wide40 = 2, wide80 = 3, wide160 = 5; // the kernel's numbers
    for (const Tuning& tuning : {Tuning{{6, bandTwoDotFourGHz, width20MHz}, 2437, wide20, 2437},
                                 Tuning{{6, bandTwoDotFourGHz, width40MHz}, 2437, wide40, 2447},
                                 Tuning{{165, bandFiveGHz, width20MHz}, 5825, wide20, 5825},
                                 Tuning{{40, bandFiveGHz, width40MHz}, 5200, wide40, 5190},
                                 Tuning{{44, bandFiveGHz, width80MHz}, 5220, wide80, 5210},
                                 Tuning{{116, bandFiveGHz, width80MHz}, 5580, wide80, 5610},
                                 Tuning{{64, bandFiveGHz, width160MHz}, 5320, wide160, 5250}}) {
        messages.clear();
        EXPECT_FALSE(wireless->setChannel(7, tuning.channel)) << "nobody answers";
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages.front().family, familyNumber);
        EXPECT_EQ(messages.front().command, NL80211_CMD_SET_CHANNEL);
        EXPECT_EQ(messages.front().numbers, (std::map<int, std::uint32_t>{{NL80211_ATTR_IFINDEX, 7},
                                                                          {NL80211_ATTR_WIPHY_FREQ, tuning.frequency},
                                                                          {NL80211_ATTR_CHANNEL_WIDTH, tuning.width},
                                                                          {NL80211_ATTR_CENTER_FREQ1, tuning.centre}}))
            << tuning.channel.channelNumber;
    }
}

TEST_F(Nl80211Requests, AMonitorGoesWithTheSocketThatMadeIt) {
    EXPECT_FALSE(wireless->addMonitor(2, QStringLiteral("vantrel0")));
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages.front().command, NL80211_CMD_NEW_INTERFACE);
    EXPECT_EQ(messages.front().numbers,
              (std::map<int, std::uint32_t>{{NL80211_ATTR_WIPHY, 2}, {NL80211_ATTR_IFTYPE, NL80211_IFTYPE_MONITOR}}));
    EXPECT_EQ(messages.front().texts,
              (std::map<int, std::string>{{NL80211_ATTR_IFNAME, "vantrel0"}, {NL80211_ATTR_IFACE_SOCKET_OWNER, ""}}));
}

} // namespace
} // namespace vantrel::netlink

// The linker's names for the wrapped functions and the originals (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

int __real_genl_ctrl_resolve(nl_sock* socket, const char* name);
int __real_nl_send_auto(nl_sock* socket, nl_msg* message);

int __wrap_genl_ctrl_resolve(nl_sock* socket, const char* name) {
    return vantrel::netlink::sent != nullptr ? vantrel::netlink::familyNumber : __real_genl_ctrl_resolve(socket, name);
}

int __wrap_nl_send_auto(nl_sock* socket, nl_msg* message) {
    if (vantrel::netlink::sent == nullptr) {
        return __real_nl_send_auto(socket, message);
    }
    vantrel::netlink::sent->push_back(vantrel::netlink::read(*::nlmsg_hdr(message)));
    return -NLE_OPNOTSUPP;
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
