#include "services/LoginItems.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

using vantrel::LoginItems;

const auto program = QStringLiteral("/usr/bin/vantrel");
const QByteArray onText = "[Desktop Entry]\nType=Application\nExec=/usr/bin/vantrel\n";
const QByteArray hiddenText = onText + "Hidden=true\nX-GNOME-Autostart-enabled=false\n";

class LoginItemsTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(_home.isValid());
        qputenv("XDG_CONFIG_HOME", _home.filePath(QStringLiteral("a/config")).toUtf8());
    }
    void TearDown() override { qunsetenv("XDG_CONFIG_HOME"); }

    void open() {
        _items = std::make_unique<LoginItems>(program);
        QObject::connect(_items.get(), &LoginItems::launchAtLoginChanged, _items.get(),
                         [this](bool launch) { _changes.push_back(launch); });
    }

    [[nodiscard]] QString folder() const { return _home.filePath(QStringLiteral("a/config/autostart")); }
    [[nodiscard]] QString path() const { return folder() + QStringLiteral("/vantrel.desktop"); }

    void write(const QByteArray& text) {
        ASSERT_TRUE(QDir().mkpath(folder()));
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(file.write(text), text.size());
    }
    [[nodiscard]] QByteArray read() const {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // Runs events until the changes are these, for ten seconds at most.
    [[nodiscard]] bool sees(const std::vector<bool>& changes) {
        const QDeadlineTimer deadline(10000);
        while (_changes != changes && !deadline.hasExpired()) {
            QEventLoop loop;
            QTimer::singleShot(100, &loop, &QEventLoop::quit); // an upper bound to one round
            QObject::connect(_items.get(), &LoginItems::launchAtLoginChanged, &loop, &QEventLoop::quit);
            loop.exec();
        }
        return _changes == changes;
    }

    // Runs the events of what was done so far: the announcement of a further change comes after theirs.
    [[nodiscard]] bool seesNoMoreThan(const std::vector<bool>& changes) {
        auto expected = changes;
        const bool last = _items->launchAtLogin();
        last ? write(hiddenText) : write(onText);
        expected.push_back(!last);
        return sees(expected);
    }

    QTemporaryDir _home;
    std::unique_ptr<LoginItems> _items;
    std::vector<bool> _changes;
};

TEST_F(LoginItemsTest, StandsInTheUsersConfiguration) {
    open();
    EXPECT_EQ(_items->entryPath(), path());
    EXPECT_FALSE(_items->launchAtLogin());
}

TEST_F(LoginItemsTest, TurningOnAndOff) {
    open();
    ASSERT_TRUE(_items->setLaunchAtLogin(true));
    EXPECT_TRUE(_items->launchAtLogin());
    EXPECT_TRUE(read().contains("Exec=\"/usr/bin/vantrel\"\n"));
    ASSERT_TRUE(_items->setLaunchAtLogin(false));
    EXPECT_FALSE(QFile::exists(path()));
    ASSERT_TRUE(_items->setLaunchAtLogin(false));
    EXPECT_EQ(_changes, (std::vector{true, false})); // told at once, and once each
    EXPECT_TRUE(seesNoMoreThan({true, false}));
}

TEST_F(LoginItemsTest, TurningOnClearsWhatHidTheEntry) {
    write(hiddenText);
    open();
    EXPECT_FALSE(_items->launchAtLogin());
    ASSERT_TRUE(_items->setLaunchAtLogin(true));
    EXPECT_FALSE(read().contains("Hidden"));
    EXPECT_TRUE(read().contains("X-GNOME-Autostart-enabled=true\n"));
}

TEST_F(LoginItemsTest, TurningOnLeavesAnEntryThatIsOn) {
    write(onText + "X-GNOME-Autostart-Delay=5\n");
    open();
    ASSERT_TRUE(_items->setLaunchAtLogin(true));
    EXPECT_EQ(read(), onText + "X-GNOME-Autostart-Delay=5\n");
}

TEST_F(LoginItemsTest, ChangesByOthersAreAnnounced) {
    open();
    write(onText); // makes the folders as well
    EXPECT_TRUE(sees({true}));
    write(hiddenText);
    EXPECT_TRUE(sees({true, false}));
    const auto beside = folder() + QStringLiteral("/beside");
    ASSERT_TRUE(QFile::rename(path(), beside));
    write(onText);
    EXPECT_TRUE(sees({true, false, true}));
    ASSERT_TRUE(QFile::remove(path()));
    EXPECT_TRUE(sees({true, false, true, false}));
    QFile file(beside);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(onText);
    file.close();
    ASSERT_EQ(std::rename(beside.toUtf8().constData(), path().toUtf8().constData()), 0);
    EXPECT_TRUE(sees({true, false, true, false, true}));
}

TEST_F(LoginItemsTest, AFolderThatGoesAndComesIsFollowed) {
    write(onText);
    open();
    ASSERT_TRUE(QDir(_home.filePath(QStringLiteral("a"))).removeRecursively());
    EXPECT_TRUE(sees({false}));
    write(onText);
    EXPECT_TRUE(sees({false, true}));
}

TEST_F(LoginItemsTest, AWriteThatLeavesTheValueIsNotAnnounced) {
    write(onText);
    open();
    write(onText + "Comment=another\n");
    EXPECT_TRUE(seesNoMoreThan({}));
}

TEST_F(LoginItemsTest, FailuresAreTold) {
    QFile file(_home.filePath(QStringLiteral("a")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)); // a file where the folder should be
    open();
    const auto on = _items->setLaunchAtLogin(true);
    ASSERT_FALSE(on);
    EXPECT_TRUE(on.error().text().contains(folder()));
    EXPECT_TRUE(_items->setLaunchAtLogin(false));
    file.remove();
    ASSERT_TRUE(QDir().mkpath(path())); // a folder where the entry should be
    EXPECT_FALSE(_items->launchAtLogin());
    EXPECT_FALSE(_items->setLaunchAtLogin(true));
    EXPECT_FALSE(_items->setLaunchAtLogin(false));
}

} // namespace
