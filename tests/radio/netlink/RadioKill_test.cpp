// The switches of radios that are folders and files of the test's own.
#include "netlink/RadioKill.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/rfkill.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel::netlink {
namespace {

class RadioKillTest : public ::testing::Test {
protected:
    // As the kernel shows a radio.
    void addRadio(const QString& name, const QByteArray& index) {
        ASSERT_TRUE(QDir(_paths.radios).mkpath(name));
        write(name + QStringLiteral("/index"), index);
    }
    void addSwitch(const QString& place, const QByteArray& soft, const QByteArray& hard) {
        ASSERT_TRUE(QDir(_paths.radios).mkpath(place));
        write(place + QStringLiteral("/soft"), soft);
        write(place + QStringLiteral("/hard"), hard);
    }
    void write(const QString& name, const QByteArray& text) {
        QFile file(_paths.radios + QLatin1Char('/') + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    void makeDevice() {
        QFile file(_paths.device);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    QByteArray written() {
        QFile file(_paths.device);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
    }

    QTemporaryDir _folder;
    RadioKillPaths _paths{_folder.filePath(QStringLiteral("ieee80211")), _folder.filePath(QStringLiteral("rfkill"))};
};

TEST_F(RadioKillTest, FindsTheSwitchOfTheRadio) {
    addRadio(QStringLiteral("phy0"), "0\n");
    addSwitch(QStringLiteral("phy0/rfkill3"), "0\n", "0\n");
    addRadio(QStringLiteral("renamed"), "7\n");
    addSwitch(QStringLiteral("renamed/rfkill12"), "1\n", "0\n");
    const auto first = blockState(0, _paths);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->index, 3U);
    EXPECT_FALSE(first->blocked());
    const auto second = blockState(7, _paths);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->index, 12U);
    EXPECT_TRUE(second->soft);
    EXPECT_FALSE(second->hard);
    EXPECT_TRUE(second->blocked());
    EXPECT_FALSE(blockState(1, _paths));
}

TEST_F(RadioKillTest, EitherSwitchBlocks) {
    addRadio(QStringLiteral("phy0"), "0\n");
    addSwitch(QStringLiteral("phy0/rfkill0"), "0\n", "1\n");
    EXPECT_TRUE(blockState(0, _paths)->hard);
    EXPECT_FALSE(blockState(0, _paths)->soft);
    EXPECT_TRUE(blockState(0, _paths)->blocked());
}

TEST_F(RadioKillTest, ARadioWithoutASwitchHasNoState) {
    EXPECT_FALSE(blockState(0, _paths)) << "no folder at all";
    addRadio(QStringLiteral("phy0"), "0\n");
    EXPECT_FALSE(blockState(0, _paths));
    addSwitch(QStringLiteral("phy0/rfkillx"), "1\n", "0\n");
    EXPECT_FALSE(blockState(0, _paths));
    addSwitch(QStringLiteral("phy0/rfkill1"), "none\n", "0\n");
    EXPECT_FALSE(blockState(0, _paths));
    addRadio(QStringLiteral("phy1"), "");
    EXPECT_FALSE(blockState(1, _paths));
}

TEST_F(RadioKillTest, BlockingTellsThatSwitchAlone) {
    addRadio(QStringLiteral("phy0"), "0\n");
    addSwitch(QStringLiteral("phy0/rfkill258"), "1\n", "0\n");
    makeDevice();
    ASSERT_TRUE(setBlocked(0, true, _paths));
    const QByteArray event = written();
    ASSERT_EQ(event.size(), static_cast<qsizetype>(sizeof(rfkill_event)));
    rfkill_event told{};
    std::memcpy(&told, event.constData(), sizeof told);
    EXPECT_EQ(told.idx, 258U);
    EXPECT_EQ(told.type, RFKILL_TYPE_WLAN);
    EXPECT_EQ(told.op, RFKILL_OP_CHANGE);
    EXPECT_EQ(told.soft, 1);
    EXPECT_EQ(told.hard, 0);
}

TEST_F(RadioKillTest, ASwitchThatDoesNotFollowIsAnError) {
    addRadio(QStringLiteral("phy0"), "0\n");
    addSwitch(QStringLiteral("phy0/rfkill0"), "1\n", "0\n");
    makeDevice();
    const auto unblocked = setBlocked(0, false, _paths);
    ASSERT_FALSE(unblocked);
    EXPECT_EQ(unblocked.error().why, QStringLiteral("the radio did not follow its switch"));
    EXPECT_EQ(written().at(6), '\0') << "it was told so";
}

TEST_F(RadioKillTest, FailuresSayWhatFailed) {
    const auto without = setBlocked(0, true, _paths);
    ASSERT_FALSE(without);
    EXPECT_EQ(without.error().why, QStringLiteral("the radio has no switch"));
    addRadio(QStringLiteral("phy0"), "0\n");
    addSwitch(QStringLiteral("phy0/rfkill0"), "0\n", "0\n");
    const auto absent = setBlocked(0, true, _paths);
    ASSERT_FALSE(absent);
    EXPECT_EQ(absent.error().text(),
              QStringLiteral("open ") + _paths.device + QStringLiteral(": No such file or directory"));
    const auto events = RadioKillEvents::open(_paths);
    ASSERT_FALSE(events);
    EXPECT_EQ(events.error().text(), absent.error().text());
}

TEST_F(RadioKillTest, EventsTellOfWhatComesLater) {
    ASSERT_EQ(::mkfifo(QFile::encodeName(_paths.device).constData(), 0600), 0);
    const FileDescriptor kernel(::open(QFile::encodeName(_paths.device).constData(), O_RDWR | O_CLOEXEC));
    const rfkill_event event{};
    ASSERT_EQ(::write(kernel.get(), &event, sizeof event), static_cast<ssize_t>(sizeof event));
    const auto events = RadioKillEvents::open(_paths);
    ASSERT_TRUE(events) << qPrintable(events.error().text());
    EXPECT_FALSE((*events)->drain()) << "what was there before is no change";
    ASSERT_EQ(::write(kernel.get(), &event, sizeof event), static_cast<ssize_t>(sizeof event));
    pollfd waiting{(*events)->descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&waiting, 1, 10000), 1);
    EXPECT_TRUE((*events)->drain());
    EXPECT_FALSE((*events)->drain());
}

} // namespace
} // namespace vantrel::netlink
