// A real bus of the test's own, and on it a login manager that keeps count of its locks.
#include "services/SleepWatch.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QProcess>
#include <QTemporaryDir>
#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <unistd.h>

namespace vantrel::testing {

// Outside any unnamed namespace, as moc wants it.
class FakeLoginManager : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    bool refuse = false;
    bool answerLater = false;
    QStringList inhibited; // the arguments of each call

    // Locks that have not been released; each is a pipe, whose reading end stays here.
    [[nodiscard]] int held() const {
        int count = 0;
        for (const auto& end : _ends) {
            pollfd wanted{.fd = end.get(), .events = POLLIN, .revents = 0};
            count += ::poll(&wanted, 1, 0) == 0 ? 1 : 0;
        }
        return count;
    }
    void answerNow() {
        auto lock = makeLock();
        QDBusConnection(_connection).send(_delayed.createReply(QVariant::fromValue(lock)));
    }

public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why, // NOLINT: its name
                                    const QString& mode) {
        inhibited << QStringList({what, who, why, mode}).join(QLatin1Char('|'));
        if (refuse) {
            sendErrorReply(QDBusError::AccessDenied, QStringLiteral("Permission denied"));
            return {};
        }
        if (answerLater) {
            setDelayedReply(true);
            _connection = connection().name();
            _delayed = message();
            return {};
        }
        return makeLock();
    }

Q_SIGNALS:
    void PrepareForSleep(bool start); // NOLINT: its name

private:
    QDBusUnixFileDescriptor makeLock() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        _ends.emplace_back(ends[0]);
        const FileDescriptor writer(ends[1]);
        return QDBusUnixFileDescriptor(writer.get());
    }

    std::vector<FileDescriptor> _ends;
    QString _connection;
    QDBusMessage _delayed;
};

namespace {

constexpr int patience = 20000; // ms, for a machine under load

// Counts what a watch tells.
struct Told : QObject {
    explicit Told(const SleepWatch& watch) {
        connect(&watch, &SleepWatch::aboutToSleep, this, [this] { ++sleeps; });
        connect(&watch, &SleepWatch::wokeUp, this, [this] { ++wakes; });
    }
    int sleeps = 0;
    int wakes = 0;
};

class SleepWatchTest : public ::testing::Test {
protected:
    void SetUp() override {
        _daemon.setProgram(QStringLiteral("dbus-daemon"));
        _address = QStringLiteral("unix:path=") + _folder.filePath(QStringLiteral("bus"));
        _daemon.setArguments({QStringLiteral("--session"), QStringLiteral("--nofork"),
                              QStringLiteral("--print-address"), QStringLiteral("--address=") + _address});
        _daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        _daemon.start();
        ASSERT_TRUE(_daemon.waitForReadyRead(patience)) << _daemon.errorString().toStdString();
        ASSERT_TRUE(ours().isConnected());
        ASSERT_TRUE(connectManager());
    }

    void TearDown() override {
        QDBusConnection::disconnectFromBus(ourName);
        disconnectManager();
        _daemon.terminate();
        EXPECT_TRUE(_daemon.waitForFinished(patience));
    }

    [[nodiscard]] bool connectManager() {
        auto bus = QDBusConnection::connectToBus(_address, managerName);
        return bus.registerObject(QStringLiteral("/org/freedesktop/login1"), _manager.get(),
                                  QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
               bus.registerService(QStringLiteral("org.freedesktop.login1"));
    }

    // The object first, so that Qt's D-Bus thread has nothing to do with it when it closes the connection.
    void disconnectManager() {
        _manager.reset();
        QDBusConnection::disconnectFromBus(managerName);
    }

    [[nodiscard]] QDBusConnection ours() const { return QDBusConnection::connectToBus(_address, ourName); }
    [[nodiscard]] bool waitForLocks(int count) {
        return runUntil([this, count] { return _manager->held() == count; });
    }
    // Runs the loop until the watch has heard what was said before: the bus keeps the order.
    void settle(const SleepWatch& watch) {
        const Told told(watch);
        Q_EMIT _manager->PrepareForSleep(true);
        Q_EMIT _manager->PrepareForSleep(false);
        EXPECT_TRUE(runUntil([&told] { return told.wakes > 0; }));
    }

    const QString ourName = QStringLiteral("sleep-watch");
    const QString managerName = QStringLiteral("login-manager");
    const QTemporaryDir _folder;
    QString _address;
    QProcess _daemon;
    std::unique_ptr<FakeLoginManager> _manager = std::make_unique<FakeLoginManager>();
    const LogCapture _log;
};

TEST_F(SleepWatchTest, TheSleepIsHeldUpUntilTheOwnerIsReady) {
    SleepWatch watch(ours());
    const Told told(watch);
    ASSERT_TRUE(waitForLocks(1));
    const QString asked = QStringLiteral("sleep|Vantrel|A capture is being finished|delay");
    EXPECT_EQ(_manager->inhibited, QStringList(asked));
    watch.readyToSleep(); // nobody asked: the lock stays

    for (int night = 1; night <= 2; ++night) {
        Q_EMIT _manager->PrepareForSleep(true);
        ASSERT_TRUE(runUntil([&told, night] { return told.sleeps == night; }));
        EXPECT_EQ(_manager->held(), 1);
        watch.readyToSleep();
        ASSERT_TRUE(waitForLocks(0));
        EXPECT_EQ(told.wakes, night - 1);
        Q_EMIT _manager->PrepareForSleep(false);
        ASSERT_TRUE(waitForLocks(1)); // for the next time
        EXPECT_EQ(told.wakes, night);
    }
    EXPECT_EQ(_manager->inhibited, QStringList({asked, asked, asked}));
    EXPECT_TRUE(_log.warnings().isEmpty());
}

TEST_F(SleepWatchTest, AnOwnerMayBeReadyAtOnce) {
    SleepWatch watch(ours());
    ASSERT_TRUE(waitForLocks(1));
    QObject::connect(&watch, &SleepWatch::aboutToSleep, &watch, [&watch] { watch.readyToSleep(); });
    Q_EMIT _manager->PrepareForSleep(true);
    EXPECT_TRUE(waitForLocks(0));
}

TEST_F(SleepWatchTest, AnOwnerThatWasNotReadyInTimeStillHoldsTheLock) {
    SleepWatch watch(ours());
    ASSERT_TRUE(waitForLocks(1));
    settle(watch); // the login manager did not wait any longer
    watch.readyToSleep();
    settle(watch);
    EXPECT_EQ(_manager->held(), 1);
    EXPECT_EQ(_manager->inhibited.size(), 1);
}

TEST_F(SleepWatchTest, WhatIsSaidTwiceIsToldOnce) {
    SleepWatch watch(ours());
    const Told told(watch);
    Q_EMIT _manager->PrepareForSleep(false);
    Q_EMIT _manager->PrepareForSleep(true);
    settle(watch);
    EXPECT_EQ(told.sleeps, 1);
    EXPECT_EQ(told.wakes, 1);
}

TEST_F(SleepWatchTest, ALockThatComesTooLateIsGivenBack) {
    _manager->answerLater = true;
    SleepWatch watch(ours());
    const Told told(watch);
    ASSERT_TRUE(runUntil([this] { return _manager->inhibited.size() == 1; }));
    Q_EMIT _manager->PrepareForSleep(true);
    ASSERT_TRUE(runUntil([&told] { return told.sleeps == 1; }));
    watch.readyToSleep();
    _manager->answerNow();
    ASSERT_TRUE(waitForLocks(0));

    // One that comes while the owner is not ready holds up, as it should.
    Q_EMIT _manager->PrepareForSleep(false);
    ASSERT_TRUE(runUntil([this] { return _manager->inhibited.size() == 2; }));
    Q_EMIT _manager->PrepareForSleep(true);
    ASSERT_TRUE(runUntil([&told] { return told.sleeps == 2; }));
    _manager->answerNow();
    settle(watch);
    EXPECT_EQ(_manager->held(), 1);
}

TEST_F(SleepWatchTest, ARefusedLockIsLoggedAndTheRestWorks) {
    _manager->refuse = true;
    SleepWatch watch(ours());
    const Told told(watch);
    ASSERT_TRUE(runUntil([this] { return !_log.warnings().isEmpty(); }));
    EXPECT_EQ(_log.warnings(), QStringList(QStringLiteral(
                                   "Inhibit failed: org.freedesktop.DBus.Error.AccessDenied: Permission denied")));
    Q_EMIT _manager->PrepareForSleep(true);
    EXPECT_TRUE(runUntil([&told] { return told.sleeps == 1; }));
    watch.readyToSleep();
    _manager->refuse = false; // asked anew after each wake
    Q_EMIT _manager->PrepareForSleep(false);
    EXPECT_TRUE(waitForLocks(1));
}

TEST_F(SleepWatchTest, WithoutALoginManagerThereIsALogLine) {
    disconnectManager();
    const SleepWatch watch(ours());
    ASSERT_TRUE(runUntil([this] { return !_log.warnings().isEmpty(); }));
    EXPECT_TRUE(_log.warnings().constFirst().startsWith(
        QStringLiteral("Inhibit failed: org.freedesktop.DBus.Error.ServiceUnknown: ")))
        << _log.warnings().constFirst().toStdString();
}

TEST_F(SleepWatchTest, WithoutASystemBusThereIsALogLine) {
    SleepWatch watch(
        QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("no-bus")));
    ASSERT_EQ(_log.warnings().size(), 1);
    EXPECT_TRUE(_log.warnings().constFirst().startsWith(
        QStringLiteral("connecting to the system bus failed: org.freedesktop.DBus.Error.FileNotFound: ")))
        << _log.warnings().constFirst().toStdString();
    watch.readyToSleep();
    QDBusConnection::disconnectFromBus(QStringLiteral("no-bus"));
}

TEST_F(SleepWatchTest, ADestroyedWatchLeavesNoLock) {
    auto watch = std::make_unique<SleepWatch>(ours());
    ASSERT_TRUE(waitForLocks(1));
    watch.reset();
    EXPECT_TRUE(waitForLocks(0));
}

// The bus of the program itself is the one of the environment.
TEST_F(SleepWatchTest, TheSystemBusIsTheOneOfTheEnvironment) {
    QProcess probe;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), _address);
    probe.setProcessEnvironment(environment);
    probe.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    probe.start(QStringLiteral(VANTREL_SERVICES_PROBE), {QStringLiteral("sleep")});
    ASSERT_TRUE(waitForLocks(1));
    Q_EMIT _manager->PrepareForSleep(true);
    ASSERT_TRUE(runUntil([&probe] { return probe.canReadLine(); }));
    EXPECT_EQ(probe.readLine(), QByteArray("about to sleep\n"));
    EXPECT_EQ(_manager->held(), 1);
    probe.write("ready\n");
    EXPECT_TRUE(waitForLocks(0));
    Q_EMIT _manager->PrepareForSleep(false);
    ASSERT_TRUE(runUntil([&probe] { return probe.canReadLine(); }));
    EXPECT_EQ(probe.readLine(), QByteArray("woke up\n"));
    EXPECT_TRUE(waitForLocks(1));
    probe.closeWriteChannel();
    EXPECT_TRUE(runUntil([&probe] { return probe.state() == QProcess::NotRunning; }));
    EXPECT_TRUE(waitForLocks(0));
}

} // namespace
} // namespace vantrel::testing

#include "SleepWatch_test.moc"
