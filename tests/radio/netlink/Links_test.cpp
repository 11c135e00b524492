#include "netlink/Links.h"

#include "OwnNamespace.h"
#include "base/FileDescriptor.h"

#include <array>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel::netlink {
namespace {

constexpr int loopback = 1; // in every namespace
constexpr int noSuchIndex = 4711;
constexpr uid_t nobody = 65534;

// A network device that goes when it is closed; not open where the kernel makes none.
FileDescriptor makeDevice(const char* name) {
    FileDescriptor device(::open("/dev/net/tun", O_RDWR | O_CLOEXEC));
    ifreq request{};
    std::strncpy(request.ifr_name, name, sizeof request.ifr_name - 1);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    if (device.isOpen() && ::ioctl(device.get(), TUNSETIFF, &request) != 0) {
        device.reset();
    }
    return device;
}

bool becomesReadable(int descriptor) {
    pollfd waiting{descriptor, POLLIN, 0};
    return ::poll(&waiting, 1, 10000) == 1;
}

bool isReadable(int descriptor) {
    pollfd waiting{descriptor, POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 1;
}

class LinksTest : public testing::OwnNamespace {
protected:
    void SetUp() override {
        OwnNamespace::SetUp();
        if (!IsSkipped()) {
            auto opened = Links::open();
            ASSERT_TRUE(opened) << qPrintable(opened.error().text());
            _links = std::move(*opened);
        }
    }

    std::unique_ptr<Links> _links;
};

TEST_F(LinksTest, TakesALinkUpAndDown) {
    EXPECT_FALSE(*_links->isUp(loopback)) << "a new namespace begins so";
    ASSERT_TRUE(_links->setUp(loopback, true));
    EXPECT_TRUE(*_links->isUp(loopback));
    ASSERT_TRUE(_links->setUp(loopback, true)) << "once more";
    EXPECT_TRUE(*_links->isUp(loopback));
    ASSERT_TRUE(_links->setUp(loopback, false));
    EXPECT_FALSE(*_links->isUp(loopback));
}

TEST_F(LinksTest, SeesWhatOthersDo) {
    const auto device = makeDevice("test0");
    if (!device.isOpen()) {
        GTEST_SKIP() << "no TAP devices here";
    }
    const auto index = static_cast<int>(::if_nametoindex("test0"));
    ASSERT_GT(index, 0);
    EXPECT_FALSE(*_links->isUp(index));
    const auto others = Links::open();
    ASSERT_TRUE(others);
    ASSERT_TRUE((*others)->setUp(index, true));
    EXPECT_TRUE(*_links->isUp(index));
    EXPECT_FALSE(*_links->isUp(loopback)) << "no other link has changed";
}

TEST_F(LinksTest, NoSuchLinkIsAnError) {
    const auto up = _links->isUp(noSuchIndex);
    ASSERT_FALSE(up);
    EXPECT_EQ(up.error().text(), QStringLiteral("RTM_GETLINK: No such device"));
    const auto changed = _links->setUp(noSuchIndex, true);
    ASSERT_FALSE(changed);
    EXPECT_EQ(changed.error().text(), QStringLiteral("RTM_GETLINK: No such device"));
    for (const int index : {0, -1}) {
        EXPECT_FALSE(_links->isUp(index)) << index;
    }
    EXPECT_FALSE(*_links->isUp(loopback)) << "it still answers";
}

TEST_F(LinksTest, WithoutTheRightReadingWorksAndChangingSaysWhy) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        std::string said = "setresuid failed";
        if (::setresuid(nobody, nobody, nobody) == 0) {
            const auto links = Links::open();
            const auto same = (*links)->setUp(loopback, false);
            const auto changed = (*links)->setUp(loopback, true);
            said = std::string(same ? "same: done; " : "same: refused; ") +
                   (changed ? std::string("done") : changed.error().text().toStdString());
        }
        const bool told = ::write(writing.get(), said.data(), said.size()) > 0;
        ::_exit(told ? 0 : 1);
    }
    writing.reset();
    std::array<char, 256> said{};
    EXPECT_GT(::read(reading.get(), said.data(), said.size() - 1), 0);
    EXPECT_STREQ(said.data(), "same: done; RTM_NEWLINK: Operation not permitted");
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
}

TEST_F(LinksTest, EventsTellOfEveryChange) {
    const auto events = LinkEvents::open();
    ASSERT_TRUE(events) << qPrintable(events.error().text());
    const int descriptor = (*events)->descriptor();
    EXPECT_FALSE(isReadable(descriptor));
    EXPECT_FALSE((*events)->drain()) << "it does not wait";

    ASSERT_TRUE(_links->setUp(loopback, true));
    EXPECT_TRUE(becomesReadable(descriptor));
    EXPECT_TRUE((*events)->drain());
    EXPECT_FALSE(isReadable(descriptor));
    EXPECT_FALSE((*events)->drain());
}

TEST_F(LinksTest, EventsTellOfComingAndGoing) {
    const auto events = LinkEvents::open();
    ASSERT_TRUE(events) << qPrintable(events.error().text());
    const int descriptor = (*events)->descriptor();
    auto device = makeDevice("test0");
    if (!device.isOpen()) {
        GTEST_SKIP() << "no TAP devices here";
    }
    EXPECT_TRUE(becomesReadable(descriptor));
    EXPECT_TRUE((*events)->drain());
    device.reset();
    EXPECT_TRUE(becomesReadable(descriptor));
    EXPECT_TRUE((*events)->drain());
}

TEST_F(LinksTest, ReadingIsNoChange) {
    const auto events = LinkEvents::open();
    ASSERT_TRUE(events);
    ASSERT_TRUE(_links->isUp(loopback));
    ASSERT_TRUE(_links->setUp(loopback, false)) << "as it is already";
    EXPECT_FALSE(isReadable((*events)->descriptor()));
}

TEST_F(LinksTest, LostEventsAreAChange) {
    const auto events = LinkEvents::open();
    ASSERT_TRUE(events);
    const int descriptor = (*events)->descriptor();
    const int smallest = 1; // the kernel makes it its own least
    ASSERT_EQ(::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &smallest, sizeof smallest), 0);
    for (int change = 0; change < 40; ++change) {
        ASSERT_TRUE(_links->setUp(loopback, change % 2 == 0));
    }
    int trouble = 0;
    socklen_t size = sizeof trouble;
    EXPECT_TRUE((*events)->drain());
    ASSERT_EQ(::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &trouble, &size), 0);
    EXPECT_EQ(trouble, 0) << "the loss was read, too";
    EXPECT_FALSE(isReadable(descriptor));
    ASSERT_TRUE(_links->setUp(loopback, true));
    EXPECT_TRUE((*events)->drain()) << "and it goes on";
}

TEST_F(LinksTest, NothingStaysOpen) {
    const auto countOpen = [] {
        int open = 0;
        for (int descriptor = 0; descriptor < 1024; ++descriptor) {
            open += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
        }
        return open;
    };
    const int before = countOpen();
    for (int round = 0; round < 3; ++round) {
        const auto links = Links::open();
        const auto events = LinkEvents::open();
        ASSERT_TRUE(links && events);
        EXPECT_EQ(countOpen(), before + 2);
        EXPECT_NE(::fcntl((*events)->descriptor(), F_GETFD) & FD_CLOEXEC, 0) << "children inherit none";
    }
    EXPECT_EQ(countOpen(), before);
}

} // namespace
} // namespace vantrel::netlink
