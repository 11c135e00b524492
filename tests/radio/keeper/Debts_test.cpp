#include "KeeperFixture.h"
#include "keeper/DebtText.h"

#include <QDir>

namespace vantrel::testing {

namespace {

class DebtRecordTest : public ::testing::Test {
protected:
    [[nodiscard]] QString path() const { return folder.filePath(QStringLiteral("a/b/radio.json")); }
    void put(const QByteArray& content) {
        ASSERT_TRUE(QDir().mkpath(folder.filePath(QStringLiteral("a/b"))));
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QTemporaryDir folder;
    DebtRecord record{path()};
};

TEST_F(DebtRecordTest, SaysWhatWasWritten) {
    const Debts debts{.interfaceName = QStringLiteral("wlan0"),
                      .address = QStringLiteral("02:00:00:00:00:00"),
                      .raiseLink = true,
                      .handBack = false,
                      .p2pDevices = {7, 18446744073709551615U}};
    ASSERT_TRUE(record.write(debts));
    EXPECT_EQ(record.take(), debts);
    EXPECT_EQ(QFile(path()).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    ASSERT_TRUE(record.remove());
    EXPECT_FALSE(record.take());
    EXPECT_TRUE(record.remove()) << "what is not there needs no removing";
}

TEST_F(DebtRecordTest, WhatCannotBeReadIsLoggedAndRemoved) {
    for (const char* content :
         {"", "{", "[1]", R"({"interface":"","raiseLink":true})", R"({"interface":"wlan0"})",
          R"({"interface":7,"raiseLink":true})", "\xff\xfe", R"({"interface":"wlan0\u001b[2J","raiseLink":true})",
          R"({"interface":"wlan0123456789ab","raiseLink":true})",
          R"({"interface":"wlan0","address":"\u0001","raiseLink":true})"}) {
        put(content);
        const LogCapture log;
        EXPECT_FALSE(record.take()) << content;
        EXPECT_TRUE(
            log.warnings().join(QLatin1Char('\n')).contains(QStringLiteral("says nothing that could be put back")))
            << content;
        EXPECT_FALSE(QFile::exists(path())) << content;
    }
}

// Whoever has such an adapter wants it back as well.
TEST_F(DebtRecordTest, AnUnusualNameIsOneToo) {
    for (const char* name : {"wlan-\xf0\x9f\x93\xb6", "wlan\xc2\xad", "\xef\xbf\xbd\xef\xbf\xbd", "\"\\\""}) {
        const Debts debts{.interfaceName = QString::fromUtf8(name),
                          .address = {},
                          .raiseLink = true,
                          .handBack = false,
                          .p2pDevices = {}};
        ASSERT_TRUE(record.write(debts));
        EXPECT_EQ(record.take(), debts) << name;
    }
}

// As anything that is no file would, and not for root alone.
TEST_F(DebtRecordTest, AFolderInItsPlaceIsAFailureOfEveryStep) {
    ASSERT_TRUE(QDir().mkpath(path()));
    const Debts debts{.interfaceName = QStringLiteral("wlan0"),
                      .address = {},
                      .raiseLink = true,
                      .handBack = false,
                      .p2pDevices = {}};
    const auto written = record.write(debts);
    ASSERT_FALSE(written);
    EXPECT_TRUE(written.error().what.endsWith(path())) << qPrintable(written.error().text());
    const auto removed = record.remove();
    ASSERT_FALSE(removed);
    EXPECT_EQ(removed.error().what, QStringLiteral("remove ") + path());
    const LogCapture log;
    EXPECT_FALSE(record.take());
    EXPECT_TRUE(log.warnings().join(u'\n').startsWith(QStringLiteral("open %1 failed: ").arg(path())));
}

// What is taken over is written again while it is put back: a text that has grown too long to be read would be lost.
TEST_F(DebtRecordTest, WhatIsReadCanBeWrittenAgain) {
    const QByteArray address = R"({"interface":"wlan0","raiseLink":true,"address":")";
    EXPECT_TRUE(parseDebtText(address + QByteArray(95, ':') + "\"}"));
    EXPECT_FALSE(parseDebtText(address + QByteArray(96, ':') + "\"}"));
    const QByteArray devices = R"({"interface":"wlan0","p2pDevices":["1")";
    EXPECT_TRUE(parseDebtText(devices + QByteArray(R"(,"2")").repeated(63) + "]}"));
    EXPECT_FALSE(parseDebtText(devices + QByteArray(R"(,"2")").repeated(64) + "]}"));
    const Debts most{.interfaceName = QString(15, QChar(0x20AC)),
                     .address = QString(95, QLatin1Char('f')),
                     .raiseLink = true,
                     .handBack = true,
                     .p2pDevices = std::vector<std::uint64_t>(64, ~std::uint64_t{0})};
    EXPECT_LE(debtText(most).size(), longestDebtText);
    EXPECT_EQ(parseDebtText(debtText(most)), most);
}

TEST_F(DebtRecordTest, StandsInTheUsersStateFolder) {
    qputenv("XDG_STATE_HOME", "/var/state");
    EXPECT_EQ(DebtRecord::defaultPath(), QStringLiteral("/var/state/vantrel/radio.json"));
    for (const char* unusable : {"", "relative"}) {
        qputenv("XDG_STATE_HOME", unusable);
        EXPECT_EQ(DebtRecord::defaultPath(), QDir::homePath() + QStringLiteral("/.local/state/vantrel/radio.json"));
    }
    qunsetenv("XDG_STATE_HOME");
}

} // namespace
} // namespace vantrel::testing
