// A real bus of the test's own, and on it a notification server that does as it is told. Both ends run on one thread,
// so that whoever waited for the other would wait in vain.
#include "delivery/DesktopNotifications.h"

#include "NotificationServer.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/prctl.h>

namespace vantrel::testing {
namespace {

using std::chrono::milliseconds;

constexpr int patience = 20000; // ms, for a machine under load
constexpr const char* busConfig = R"(<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_replies_per_connection">1000</limit>
</busconfig>
)";
const QString contents = QStringLiteral("default");
const QString button = QStringLiteral("open");

class RecordingDelegate : public UserNotificationCenterDelegate {
public:
    [[nodiscard]] bool shouldPresentNotification(const UserNotification& /*notification*/) override { return presents; }
    void didActivateNotification(const UserNotification& notification, ActivationType type) override {
        told << QStringLiteral("%1 %2 %3")
                    .arg(static_cast<int>(type))
                    .arg(notification.userInfo.value(QStringLiteral("path")), notification.activationToken);
    }

    bool presents = true;
    QStringList told;
};

class DesktopNotificationsTest : public ::testing::Test {
protected:
    void SetUp() override {
        _address = QStringLiteral("unix:path=") + _folder.filePath(QStringLiteral("bus"));
        QFile config(_folder.filePath(QStringLiteral("bus.conf"))); // no folder of services to be started
        ASSERT_TRUE(config.open(QIODevice::WriteOnly));
        config.write(busConfig);
        config.close();
        _daemon.setProgram(QStringLiteral("dbus-daemon"));
        _daemon.setArguments({QStringLiteral("--config-file=") + config.fileName(), QStringLiteral("--nofork"),
                              QStringLiteral("--print-address"), QStringLiteral("--address=") + _address});
        _daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        _daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); }); // no orphan of a test that crashes
        _daemon.start();
        ASSERT_TRUE(_daemon.waitForReadyRead(patience)) << _daemon.errorString().toStdString();
        ASSERT_TRUE(connectTo(QStringLiteral("ours")).isConnected());
    }

    void TearDown() override {
        _center.reset();
        stopServer();
        QDBusConnection::disconnectFromBus(QStringLiteral("ours"));
        _daemon.terminate();
        EXPECT_TRUE(_daemon.waitForFinished(patience));
    }

    [[nodiscard]] QDBusConnection connectTo(const QString& name) const {
        return QDBusConnection::connectToBus(_address, name);
    }

    void startServer() {
        _server = std::make_unique<NotificationServer>();
        ASSERT_TRUE(_server->serveOn(connectTo(QStringLiteral("server"))));
    }
    // The object first, so that Qt's D-Bus thread has nothing to do with it when it closes the connection.
    void stopServer() {
        _server.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("server"));
    }

    void startCenter(milliseconds limit = milliseconds(patience)) {
        _center = std::make_unique<DesktopNotifications>(
            connectTo(QStringLiteral("ours")),
            [this](const UserNotification& notification) { _undelivered << notification.subtitle; },
            QStringLiteral("vantrel"), limit);
        _center->setDelegate(&_delegate);
    }

    static UserNotification notification(const QString& name, const QString& uploader = QStringLiteral("LocalSingle")) {
        return {.title = QStringLiteral("Capture completed"),
                .subtitle = name,
                .informativeText = QStringLiteral("2 frames (1 KB)"),
                .userInfo = {{QStringLiteral("uploader"), uploader}, {QStringLiteral("path"), name}},
                .otherButtonTitle = QStringLiteral("Dismiss")};
    }

    void deliver(const QString& name) {
        const auto before = _server->shown.size();
        _center->deliverNotification(notification(name));
        ASSERT_TRUE(runUntil([&] { return _server->shown.size() > before; }));
        settle();
    }

    // Runs the loop until everything said so far has been heard: the server's answer passes the bus after it.
    void settle() {
        const auto ping = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
        const QDBusPendingCallWatcher echo(connectTo(QStringLiteral("ours")).asyncCall(ping));
        bool heard = false;
        QObject::connect(&echo, &QDBusPendingCallWatcher::finished, &echo, [&heard] { heard = true; });
        ASSERT_TRUE(runUntil([&heard] { return heard; }));
    }

    const QTemporaryDir _folder;
    QString _address;
    QProcess _daemon;
    std::unique_ptr<NotificationServer> _server;
    RecordingDelegate _delegate;
    QStringList _undelivered;
    const LogCapture _log;
    std::unique_ptr<DesktopNotifications> _center;
};

TEST_F(DesktopNotificationsTest, WhatTheServerIsGiven) {
    startServer();
    startCenter();
    deliver(QStringLiteral("a&b.pcap"));
    const auto shown = _server->shown.value(0);
    EXPECT_EQ(shown.application, QStringLiteral("Vantrel"));
    EXPECT_EQ(shown.replaces, 0U);
    EXPECT_EQ(shown.icon, QStringLiteral("vantrel"));
    EXPECT_EQ(shown.summary, QStringLiteral("Capture completed"));
    EXPECT_EQ(shown.body, QStringLiteral("a&b.pcap\n2 frames (1 KB)"));
    EXPECT_EQ(shown.actions, QStringList({contents, QStringLiteral("Show"), button, QStringLiteral("Show"),
                                          QStringLiteral("dismiss"), QStringLiteral("Dismiss")}));
    EXPECT_EQ(shown.hints, QVariantMap({{QStringLiteral("desktop-entry"), QStringLiteral("vantrel")}}));
    EXPECT_EQ(shown.expires, -1);
    EXPECT_TRUE(_undelivered.isEmpty());
    EXPECT_TRUE(_log.warnings().isEmpty());
}

TEST_F(DesktopNotificationsTest, AnUploadIsOpenedNotShown) {
    startServer();
    startCenter();
    auto upload = notification(QStringLiteral("a.pcap"), QStringLiteral("CloudShark"));
    upload.otherButtonTitle.clear();
    upload.informativeText.clear();
    _center->deliverNotification(upload);
    ASSERT_TRUE(runUntil([this] { return _server->shown.size() == 1; }));
    EXPECT_EQ(_server->shown.value(0).actions,
              QStringList({contents, QStringLiteral("Open"), button, QStringLiteral("Open")}));
    EXPECT_EQ(_server->shown.value(0).body, QStringLiteral("a.pcap"));
}

TEST_F(DesktopNotificationsTest, MarkupIsEscapedForAServerThatReadsIt) {
    startServer();
    _server->capabilities << QStringLiteral("body-markup");
    startCenter();
    deliver(QStringLiteral("<b>a&amp;\"b\".pcap"));
    EXPECT_EQ(_server->shown.value(0).body, QStringLiteral("&lt;b&gt;a&amp;amp;&quot;b&quot;.pcap\n2 frames (1 KB)"));
}

TEST_F(DesktopNotificationsTest, AServerWithoutActionsShowsItAllTheSame) {
    startServer();
    _server->capabilities = QStringList(QStringLiteral("body"));
    startCenter();
    deliver(QStringLiteral("a.pcap"));
    EXPECT_TRUE(_server->shown.value(0).actions.isEmpty());
    EXPECT_TRUE(_undelivered.isEmpty());
}

TEST_F(DesktopNotificationsTest, AServerThatDoesNotKnowItsCapabilitiesHasNone) {
    startServer();
    _server->knowsItsCapabilities = false;
    startCenter();
    deliver(QStringLiteral("a.pcap"));
    EXPECT_TRUE(_server->shown.value(0).actions.isEmpty());
    EXPECT_TRUE(_undelivered.isEmpty());
    EXPECT_EQ(_log.warnings(), QStringList(QStringLiteral("GetCapabilities failed: "
                                                          "org.freedesktop.DBus.Error.UnknownMethod: no such method")));
}

TEST_F(DesktopNotificationsTest, TheDelegateIsToldWhatWasClicked) {
    startServer();
    startCenter();
    deliver(QStringLiteral("a.pcap"));
    deliver(QStringLiteral("b.pcap"));
    _server->click(2, contents);
    _server->click(1, button, QStringLiteral("token_TIME1"));
    _server->click(1, button); // the token was good for one
    _server->click(1, QStringLiteral("settings"));
    _server->click(3, contents); // another program's
    settle();
    EXPECT_EQ(_delegate.told, QStringList({QStringLiteral("1 b.pcap "), QStringLiteral("2 a.pcap token_TIME1"),
                                           QStringLiteral("2 a.pcap ")}));
    EXPECT_TRUE(_server->closed.isEmpty());
}

TEST_F(DesktopNotificationsTest, DismissClosesAndTellsNobody) {
    startServer();
    startCenter();
    deliver(QStringLiteral("a.pcap"));
    _server->click(1, QStringLiteral("dismiss"));
    ASSERT_TRUE(runUntil([this] { return !_server->closed.isEmpty(); }));
    EXPECT_EQ(_server->closed, QList<uint>({1}));
    EXPECT_TRUE(_delegate.told.isEmpty());
}

TEST_F(DesktopNotificationsTest, AClickInTheHistoryCounts) {
    startServer();
    startCenter();
    deliver(QStringLiteral("a.pcap"));
    _server->expire(1);
    settle();
    _server->click(1, contents);
    settle();
    EXPECT_EQ(_delegate.told, QStringList(QStringLiteral("1 a.pcap ")));
}

TEST_F(DesktopNotificationsTest, TheNewestAreRemembered) {
    startServer();
    startCenter();
    const int count = static_cast<int>(DesktopNotifications::remembered) + 1;
    for (int i = 1; i <= count; ++i) {
        _center->deliverNotification(notification(QString::number(i)));
    }
    ASSERT_TRUE(runUntil([&] { return _server->shown.size() == count; }));
    settle();
    _server->click(1, contents);
    _server->click(2, contents);
    _server->click(static_cast<uint>(count), contents);
    settle();
    EXPECT_EQ(_delegate.told, QStringList({QStringLiteral("1 2 "), QStringLiteral("1 %1 ").arg(count)}));
    EXPECT_EQ(_server->asked, 1);
}

TEST_F(DesktopNotificationsTest, OnlyTheServersOwnSignalsCount) {
    startServer();
    startCenter();
    deliver(QStringLiteral("a.pcap"));
    auto signal =
        QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/Notifications"),
                                   QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("ActionInvoked"));
    signal << 1U << contents;
    auto stranger = connectTo(QStringLiteral("stranger"));
    ASSERT_TRUE(stranger.send(signal));
    ASSERT_TRUE(stranger.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.Notifications"))); // after it
    settle();
    QDBusConnection::disconnectFromBus(QStringLiteral("stranger"));
    EXPECT_TRUE(_delegate.told.isEmpty());
}

TEST_F(DesktopNotificationsTest, ANewServerIsAskedAnewAndKnowsNothingOfTheOld) {
    startServer();
    startCenter();
    deliver(QStringLiteral("a.pcap"));
    deliver(QStringLiteral("b.pcap"));
    EXPECT_EQ(_server->asked, 1);
    stopServer();
    startServer();
    _server->capabilities = QStringList(QStringLiteral("body"));
    settle();
    _server->click(1, contents);
    settle();
    EXPECT_TRUE(_delegate.told.isEmpty());
    deliver(QStringLiteral("c.pcap"));
    EXPECT_EQ(_server->asked, 1);
    EXPECT_TRUE(_server->shown.value(0).actions.isEmpty());
    _server->click(1, contents);
    settle();
    EXPECT_EQ(_delegate.told, QStringList(QStringLiteral("1 c.pcap ")));
}

TEST_F(DesktopNotificationsTest, AServerThatWasReplacedBeforeItAnsweredIsNotBelieved) {
    startServer();
    _server->answersCapabilities = false;
    startCenter();
    _center->deliverNotification(notification(QStringLiteral("a.pcap")));
    ASSERT_TRUE(runUntil([this] { return _server->asked == 1; }));
    ASSERT_TRUE(connectTo(QStringLiteral("server")).unregisterService(QStringLiteral("org.freedesktop.Notifications")));
    auto next = std::make_unique<NotificationServer>(QStringList()); // shows no actions, and says so
    ASSERT_TRUE(next->serveOn(connectTo(QStringLiteral("next"))));
    _server->answerLate(); // behind the bus's word that the name has another owner
    EXPECT_TRUE(runUntil([&next] { return next->shown.size() == 1; }) && next->shown.first().actions.isEmpty());
    next.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("next"));
}

TEST_F(DesktopNotificationsTest, WhatTheDelegateDoesNotWantIsNotShown) {
    startServer();
    startCenter();
    _delegate.presents = false;
    _center->deliverNotification(notification(QStringLiteral("a.pcap")));
    _delegate.presents = true;
    deliver(QStringLiteral("b.pcap"));
    EXPECT_EQ(_server->shown.size(), 1);
    EXPECT_TRUE(_undelivered.isEmpty());
}

TEST_F(DesktopNotificationsTest, ARefusedNotificationIsHandedBack) {
    startServer();
    _server->refuses = true;
    startCenter();
    _center->deliverNotification(notification(QStringLiteral("a.pcap")));
    ASSERT_TRUE(runUntil([this] { return !_undelivered.isEmpty(); }));
    EXPECT_EQ(_undelivered, QStringList(QStringLiteral("a.pcap")));
    EXPECT_EQ(_log.warnings(), QStringList(QStringLiteral("Notify failed: "
                                                          "org.freedesktop.DBus.Error.LimitsExceeded: too many")));
}

TEST_F(DesktopNotificationsTest, ASilentServerIsGivenUp) {
    startServer();
    _server->answersNotify = false;
    startCenter(milliseconds(200));
    _center->deliverNotification(notification(QStringLiteral("a.pcap")));
    ASSERT_TRUE(runUntil([this] { return !_undelivered.isEmpty(); }));
    EXPECT_EQ(_undelivered, QStringList(QStringLiteral("a.pcap")));
}

TEST_F(DesktopNotificationsTest, AServerSilentAboutItselfIsGivenUpAndAskedAgainNextTime) {
    startServer();
    _server->answersCapabilities = false;
    startCenter(milliseconds(200));
    _center->deliverNotification(notification(QStringLiteral("a.pcap")));
    _center->deliverNotification(notification(QStringLiteral("b.pcap")));
    ASSERT_TRUE(runUntil([this] { return _undelivered.size() == 2; }));
    EXPECT_EQ(_undelivered, QStringList({QStringLiteral("a.pcap"), QStringLiteral("b.pcap")}));
    EXPECT_EQ(_server->asked, 1);
    EXPECT_TRUE(_server->shown.isEmpty());
    _server->answersCapabilities = true;
    deliver(QStringLiteral("c.pcap"));
    EXPECT_EQ(_undelivered.size(), 2);
}

TEST_F(DesktopNotificationsTest, WithoutAServerItIsHandedBackAndALaterServerIsUsed) {
    startCenter();
    _center->deliverNotification(notification(QStringLiteral("a.pcap")));
    EXPECT_TRUE(_undelivered.isEmpty()) << "not within the call";
    ASSERT_TRUE(runUntil([this] { return !_undelivered.isEmpty(); }));
    startServer();
    deliver(QStringLiteral("b.pcap"));
    EXPECT_EQ(_undelivered, QStringList(QStringLiteral("a.pcap")));
}

TEST_F(DesktopNotificationsTest, WithoutABusItIsHandedBack) {
    const QString none = QStringLiteral("none");
    {
        DesktopNotifications center(QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"), none),
                                    [this](const UserNotification& gone) { _undelivered << gone.subtitle; });
        center.deliverNotification(notification(QStringLiteral("a.pcap")));
        EXPECT_TRUE(_undelivered.isEmpty()) << "not within the call";
        ASSERT_TRUE(runUntil([this] { return !_undelivered.isEmpty(); }));
    }
    QDBusConnection::disconnectFromBus(none);
    ASSERT_FALSE(_log.warnings().isEmpty());
    EXPECT_TRUE(_log.warnings().constFirst().startsWith(
        QStringLiteral("connecting to the session bus failed: org.freedesktop.DBus.Error.FileNotFound: ")))
        << _log.warnings().constFirst().toStdString();
}

TEST_F(DesktopNotificationsTest, ABusThatStandsStillHoldsNobodyUp) {
    startServer();
    auto ours = connectTo(QStringLiteral("ours"));
    ASSERT_EQ(::kill(static_cast<pid_t>(_daemon.processId()), SIGSTOP), 0);
    QElapsedTimer taken;
    taken.start();
    startCenter(milliseconds(200));
    _center->deliverNotification(notification(QStringLiteral("a.pcap")));
    EXPECT_LT(taken.elapsed(), 5000); // ms; a wait would take the 25 s of a call's usual limit
    EXPECT_TRUE(runUntil([this] { return !_undelivered.isEmpty(); }));
    ASSERT_EQ(::kill(static_cast<pid_t>(_daemon.processId()), SIGCONT), 0);
}

TEST_F(DesktopNotificationsTest, WhoeverIsHandedOneBackMayDestroyTheCenter) {
    _center =
        std::make_unique<DesktopNotifications>(connectTo(QStringLiteral("ours")), [this](const UserNotification& gone) {
            _undelivered << gone.subtitle;
            _center.reset();
        });
    _center->deliverNotification(notification(QStringLiteral("a.pcap")));
    _center->deliverNotification(notification(QStringLiteral("b.pcap")));
    ASSERT_TRUE(runUntil([this] { return !_undelivered.isEmpty(); }));
    EXPECT_EQ(_undelivered, QStringList({QStringLiteral("a.pcap"), QStringLiteral("b.pcap")}));
}

} // namespace
} // namespace vantrel::testing
