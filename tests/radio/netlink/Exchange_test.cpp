// Requests and their answers, on the parts of netlink that every kernel has.
#include "Exchange.h"

#include "OwnNamespace.h"

#include <gmock/gmock.h>
#include <linux/genetlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netlink/socket.h>
#include <set>
#include <sys/socket.h>

namespace vantrel::netlink {
namespace {

using ::testing::Contains;
using ::testing::Gt;

constexpr int noSuchCommand = 200;

TEST(Exchange, ADumpShowsEveryAnswer) {
    const auto socket = openSocket(NETLINK_GENERIC);
    ASSERT_TRUE(socket) << qPrintable(socket.error().text());
    std::set<std::string> families;
    int messages = 0;
    const auto done =
        Request::generic(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, QStringLiteral("CTRL_CMD_GETFAMILY"), NLM_F_DUMP)
            .exchange(**socket, [&](int type, Bytes payload) {
                EXPECT_EQ(type, GENL_ID_CTRL);
                ++messages;
                forEachAttribute(payload.subspan(GENL_HDRLEN), [&families](int attribute, Bytes value) {
                    if (attribute == CTRL_ATTR_FAMILY_NAME) {
                        families.insert(reinterpret_cast<const char*>(value.data()));
                    }
                });
            });
    ASSERT_TRUE(done) << qPrintable(done.error().error.text());
    EXPECT_THAT(families, Contains("nlctrl"));
    EXPECT_EQ(static_cast<std::size_t>(messages), families.size());
}

TEST(Exchange, ARefusalHasItsNumberAndItsText) {
    const auto socket = openSocket(NETLINK_GENERIC);
    ASSERT_TRUE(socket);
    const auto done = Request::generic(GENL_ID_CTRL, noSuchCommand, QStringLiteral("CTRL_CMD_NONE")).exchange(**socket);
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().number, EOPNOTSUPP);
    EXPECT_EQ(done.error().error.text(), QStringLiteral("CTRL_CMD_NONE: Operation not supported"));
}

TEST(Exchange, TheKernelsOwnWordsStandBehindTheText) {
    const auto socket = openSocket(NETLINK_GENERIC);
    ASSERT_TRUE(socket);
    // The family's number is 16 bits wide.
    const auto done = Request::generic(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, QStringLiteral("CTRL_CMD_GETFAMILY"))
                          .addFlag(CTRL_ATTR_FAMILY_ID)
                          .exchange(**socket);
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().number, ERANGE);
    EXPECT_EQ(done.error().error.text(),
              QStringLiteral("CTRL_CMD_GETFAMILY: Numerical result out of range: Attribute failed policy validation"));
}

TEST(Exchange, ALateAnswerIsNotTakenForAnother) {
    const auto socket = openSocket(NETLINK_GENERIC);
    ASSERT_TRUE(socket);
    // A request that the library knows nothing of: its answer lies there when the next is awaited.
    nlmsghdr other{};
    other.nlmsg_len = sizeof other;
    other.nlmsg_type = GENL_ID_CTRL;
    other.nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK;
    other.nlmsg_seq = 1;
    const int descriptor = ::nl_socket_get_fd(socket->get());
    ASSERT_EQ(::send(descriptor, &other, sizeof other, 0), static_cast<ssize_t>(sizeof other));
    const auto done = Request::generic(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, QStringLiteral("CTRL_CMD_GETFAMILY"))
                          .add(CTRL_ATTR_FAMILY_NAME, QByteArrayLiteral("nlctrl"))
                          .exchange(**socket);
    EXPECT_TRUE(done) << qPrintable(done.error().error.text());
}

TEST(Exchange, AKernelThatDoesNotAnswerIsNotWaitedForForEver) {
    const auto socket = openSocket(NETLINK_GENERIC);
    ASSERT_TRUE(socket);
    timeval longest{};
    socklen_t size = sizeof longest;
    const int descriptor = ::nl_socket_get_fd(socket->get());
    ASSERT_EQ(::getsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &longest, &size), 0);
    EXPECT_EQ(longest.tv_sec, 2);
    // An acknowledgement that is turned off never comes.
    const timeval atOnce{0, 1};
    ASSERT_EQ(::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &atOnce, sizeof atOnce), 0);
    ::nl_socket_disable_auto_ack(socket->get());
    const auto done = Request::generic(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, QStringLiteral("CTRL_CMD_GETFAMILY"))
                          .add(CTRL_ATTR_FAMILY_NAME, QByteArrayLiteral("nlctrl"))
                          .exchange(**socket);
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().number, ETIMEDOUT);
    EXPECT_EQ(done.error().error.text(), QStringLiteral("CTRL_CMD_GETFAMILY: Connection timed out"));
}

TEST(Exchange, ATextThatDoesNotFitIsAnError) {
    const auto socket = openSocket(NETLINK_GENERIC);
    ASSERT_TRUE(socket);
    const auto done = Request::generic(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, QStringLiteral("CTRL_CMD_GETFAMILY"))
                          .add(CTRL_ATTR_FAMILY_NAME, QByteArray(100000, 'x'))
                          .exchange(**socket);
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().error.what, QStringLiteral("CTRL_CMD_GETFAMILY"));
    EXPECT_FALSE(done.error().error.why.isEmpty());
}

using ExchangeOfRoutes = testing::OwnNamespace;

TEST_F(ExchangeOfRoutes, OnlyTheAskedForChangesCount) {
    const auto listening = openEventSocket(NETLINK_ROUTE);
    const auto asking = openSocket(NETLINK_ROUTE);
    ASSERT_TRUE(listening && asking);
    ASSERT_EQ(::nl_socket_add_membership(listening->get(), RTNLGRP_LINK), 0);
    ifinfomsg header{};
    header.ifi_index = 1;
    header.ifi_flags = IFF_UP;
    header.ifi_change = IFF_UP;
    const Bytes bytes{reinterpret_cast<const std::uint8_t*>(&header), sizeof header};
    ASSERT_TRUE(Request::route(RTM_NEWLINK, bytes, QStringLiteral("RTM_NEWLINK")).exchange(**asking));
    int seen = 0;
    EXPECT_FALSE(drain(**listening, [&seen](int, Bytes) {
        ++seen;
        return false;
    }));
    EXPECT_THAT(seen, Gt(0));
    EXPECT_FALSE(drain(**listening, [](int, Bytes) { return true; })) << "all was read";
}

} // namespace
} // namespace vantrel::netlink
