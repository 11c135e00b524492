#include "TrayColour.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QPalette>
#include <QProcess>
#include <QStandardPaths>
#include <functional>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace vantrel::ui {
namespace {

const QColor ownText(Qt::darkBlue);
const QString xfce = QStringLiteral("XFCE");

TEST(TrayColour, WhatTheTraySaysComesFirst) {
    EXPECT_EQ(trayColour(Qt::green, QStringLiteral("GNOME"), ColourScheme::PrefersDark, ownText), QColor(Qt::green));
}

TEST(TrayColour, LightOnTheTopBarOfGnome) {
    for (const char* desktop : {"GNOME", "ubuntu:GNOME"}) {
        const QColor colour = trayColour({}, QString::fromLatin1(desktop), ColourScheme::PrefersLight, ownText);
        EXPECT_GT(colour.lightness(), 200) << desktop;
    }
}

TEST(TrayColour, FollowsThePreferredScheme) {
    EXPECT_GT(trayColour({}, xfce, ColourScheme::PrefersDark, ownText).lightness(), 200);
    EXPECT_LT(trayColour({}, xfce, ColourScheme::PrefersLight, ownText).lightness(), 80);
}

TEST(TrayColour, OtherwiseTheTextColourOfOurWindows) {
    EXPECT_EQ(trayColour({}, xfce, ColourScheme::NoPreference, ownText), ownText);
}

TEST(TrayColour, ANewPaletteIsANewColour) {
    TrayColour colour;
    int changes = 0;
    QObject::connect(&colour, &TrayColour::changed, &colour, [&] { ++changes; });
    const QPalette before = QApplication::palette();
    QApplication::setPalette(QPalette(Qt::black));
    QApplication::processEvents();
    EXPECT_GE(changes, 1);
    QApplication::setPalette(before);
}

// Stands in for the desktop's portal.
class Portal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    explicit Portal(QVariant scheme) : _scheme(std::move(scheme)) {}

    int reads = 0;

public Q_SLOTS:
    // The name of the method on the bus.
    Q_SCRIPTABLE QDBusVariant Read(const QString& space, const QString& key) { // NOLINT(readability-identifier-naming)
        EXPECT_EQ(space, QStringLiteral("org.freedesktop.appearance"));
        EXPECT_EQ(key, QStringLiteral("color-scheme"));
        ++reads;
        return QDBusVariant(QVariant::fromValue(QDBusVariant(_scheme)));
    }

private:
    QVariant _scheme;
};

// A session bus of the test's own.
class TrayColourOnBus : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("XDG_CURRENT_DESKTOP", "XFCE");
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty()) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
        _daemon.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        ASSERT_TRUE(_daemon.waitForReadyRead());
        _address = QString::fromLatin1(_daemon.readLine().trimmed());
    }
    void TearDown() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
        QDBusConnection::disconnectFromBus(QStringLiteral("colour"));
        _daemon.kill();
        _daemon.waitForFinished();
    }

    QDBusConnection connectAs(const QString& name) { return QDBusConnection::connectToBus(_address, name); }
    void offer(Portal& portal) {
        QDBusConnection bus = connectAs(QStringLiteral("portal"));
        ASSERT_TRUE(bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &portal,
                                       QDBusConnection::ExportScriptableContents));
        ASSERT_TRUE(bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
    }
    // The test's time limit ends a wait for what never comes.
    static void waitFor(const std::function<bool()>& condition) {
        while (!condition()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

private:
    QProcess _daemon;
    QString _address;
};

TEST_F(TrayColourOnBus, ReadsTheSchemeAndFollowsIt) {
    Portal portal(1U);
    offer(portal);
    const TrayColour colour(connectAs(QStringLiteral("colour")));
    std::vector<int> seen;
    QObject::connect(&colour, &TrayColour::changed, &portal, [&] { seen.push_back(colour.colour().lightness()); });
    const auto set = [&](const char* key, uint value) {
        QDBusMessage change = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                         QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        change << QStringLiteral("org.freedesktop.appearance") << QString::fromLatin1(key)
               << QVariant::fromValue(QDBusVariant(value));
        ASSERT_TRUE(QDBusConnection(QStringLiteral("portal")).send(change));
    };
    waitFor([&] { return colour.colour().lightness() > 200; });
    seen.clear();
    set("contrast", 7);
    set("color-scheme", 2);
    waitFor([&] { return colour.colour().lightness() < 80; });
    EXPECT_EQ(seen.size(), 1U) << "other settings change nothing";
    set("color-scheme", 1);
    waitFor([&] { return colour.colour().lightness() > 200; });
    set("color-scheme", 7);
    waitFor([&] { return colour.colour() == QApplication::palette().color(QPalette::Active, QPalette::WindowText); });
}

TEST_F(TrayColourOnBus, AnAnswerOfAnotherSignatureIsNoScheme) {
    Portal portal(QStringLiteral("2"));
    offer(portal);
    const TrayColour colour(connectAs(QStringLiteral("colour")));
    std::vector<int> seen;
    QObject::connect(&colour, &TrayColour::changed, &portal, [&] { seen.push_back(colour.colour().lightness()); });
    const auto tell = [](const QVariantList& arguments) {
        QDBusMessage change = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                         QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        change.setArguments(arguments);
        ASSERT_TRUE(QDBusConnection(QStringLiteral("portal")).send(change));
    };
    waitFor([&] { return portal.reads == 1; }); // the answer goes ahead of what is told from here on
    const QString space = QStringLiteral("org.freedesktop.appearance");
    const QString key = QStringLiteral("color-scheme");
    tell({});
    tell({space, key});
    tell({space, key, QStringLiteral("2")});
    tell({space, key, QVariant::fromValue(QDBusVariant(QStringList(QStringLiteral("2"))))});
    tell({space, key, QVariant::fromValue(QDBusVariant(QVariantMap{{key, 2U}}))});
    tell({2U, 2U, 2U});
    tell({space, key, QVariant::fromValue(QDBusVariant(1U))}); // behind all the others
    waitFor([&] { return colour.colour().lightness() > 200; });
    EXPECT_EQ(seen.size(), 1U);
}

} // namespace
} // namespace vantrel::ui

#include "TrayColour_test.moc"
