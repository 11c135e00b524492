// Real processes: the probe claims the place, and prints what became of it.
#include "services/SingleInstance.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int patience = 20000; // ms, for a machine under load

class SingleInstanceTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(_home.isValid());
        _environment = QProcessEnvironment::systemEnvironment();
        _environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), _home.path());
        _environment.insert(QStringLiteral("TMPDIR"), _home.path());
        _environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
        _environment.remove(QStringLiteral("XDG_ACTIVATION_TOKEN"));
        _environment.remove(QStringLiteral("DESKTOP_STARTUP_ID"));
    }

    void setEnvironment(const char* name, const char* value) {
        _environment.insert(QString::fromLatin1(name), QString::fromLatin1(value));
    }

    [[nodiscard]] std::unique_ptr<QProcess> start() const {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(_environment);
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QStringLiteral(VANTREL_SERVICES_PROBE), {QStringLiteral("instance")});
        return process;
    }

    [[nodiscard]] static QString nextLine(QProcess& process) {
        while (!process.canReadLine() && process.waitForReadyRead(patience)) {
        }
        return QString::fromUtf8(process.readLine()).chopped(1);
    }

    static void end(QProcess& process) {
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished(patience));
        EXPECT_EQ(process.exitCode(), 0);
    }

    [[nodiscard]] QString socketPath() const { return _home.filePath(QStringLiteral("vantrel/instance.socket")); }

    // Starts ten at once and answers the one that became the first.
    [[nodiscard]] std::unique_ptr<QProcess> electOneOfTen() const {
        std::vector<std::unique_ptr<QProcess>> starts;
        starts.reserve(10);
        for (int i = 0; i < 10; ++i) {
            starts.push_back(start());
        }
        std::unique_ptr<QProcess> first;
        int others = 0;
        for (auto& process : starts) {
            if (const auto line = nextLine(*process); line == QLatin1String("first")) {
                EXPECT_EQ(first, nullptr);
                first = std::move(process);
            } else {
                EXPECT_EQ(line, QLatin1String("another"));
                EXPECT_TRUE(process->waitForFinished(patience));
                ++others;
            }
        }
        EXPECT_EQ(others, 9);
        return first;
    }

    QTemporaryDir _home;
    QProcessEnvironment _environment;
};

TEST_F(SingleInstanceTest, ASecondStartBringsTheFirstForward) {
    const auto first = start();
    ASSERT_EQ(nextLine(*first), QLatin1String("first"));
    const QFileInfo folder(_home.filePath(QStringLiteral("vantrel")));
    EXPECT_EQ(folder.permissions() & (QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther), 0);

    setEnvironment("DESKTOP_STARTUP_ID", "starter-7");
    auto second = start();
    EXPECT_EQ(nextLine(*second), QLatin1String("another"));
    end(*second);
    EXPECT_EQ(nextLine(*first), QLatin1String("activated starter-7"));

    setEnvironment("XDG_ACTIVATION_TOKEN", "token with spaces");
    second = start();
    EXPECT_EQ(nextLine(*second), QLatin1String("another"));
    end(*second);
    EXPECT_EQ(nextLine(*first), QLatin1String("activated token with spaces"));
    end(*first);
}

TEST_F(SingleInstanceTest, TheEndOfTheFirstFreesThePlace) {
    for (int i = 0; i < 2; ++i) {
        const auto first = start();
        EXPECT_EQ(nextLine(*first), QLatin1String("first"));
        end(*first);
        EXPECT_FALSE(QFile::exists(socketPath()));
    }
}

TEST_F(SingleInstanceTest, AKilledFirstIsSucceeded) {
    const auto first = start();
    ASSERT_EQ(nextLine(*first), QLatin1String("first"));
    first->kill();
    ASSERT_TRUE(first->waitForFinished(patience));
    ASSERT_TRUE(QFile::exists(socketPath())); // what it leaves behind
    const auto next = start();
    EXPECT_EQ(nextLine(*next), QLatin1String("first"));
    const auto second = start();
    EXPECT_EQ(nextLine(*second), QLatin1String("another"));
    end(*second);
    end(*next);
}

TEST_F(SingleInstanceTest, TenStartsAtOnceElectOne) {
    const auto first = electOneOfTen();
    ASSERT_NE(first, nullptr);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(nextLine(*first), QLatin1String("activated "));
    }
    first->kill();
    ASSERT_TRUE(first->waitForFinished(patience));
    const auto next = electOneOfTen(); // over what the killed one left
    ASSERT_NE(next, nullptr);
    end(*next);
}

TEST_F(SingleInstanceTest, AMessageBeyondTheBoundIsRefused) {
    const auto first = start();
    ASSERT_EQ(nextLine(*first), QLatin1String("first"));
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    ASSERT_TRUE(socket.waitForConnected(patience));
    socket.write(QByteArray(5000, 'x') + '\n');
    EXPECT_TRUE(socket.state() == QLocalSocket::UnconnectedState || socket.waitForDisconnected(patience));

    QLocalSocket silent; // says nothing, and is cut off
    silent.connectToServer(socketPath());
    ASSERT_TRUE(silent.waitForConnected(patience));
    EXPECT_TRUE(silent.waitForDisconnected(patience));

    // A start with a token that does not fit is heard all the same.
    setEnvironment("XDG_ACTIVATION_TOKEN", QByteArray(4096, 't').constData());
    const auto second = start();
    EXPECT_EQ(nextLine(*second), QLatin1String("another"));
    EXPECT_EQ(nextLine(*first), QLatin1String("activated "));
    end(*second);

    setEnvironment("XDG_ACTIVATION_TOKEN", QByteArray(4095, 't').constData());
    const auto third = start();
    EXPECT_EQ(nextLine(*third), QLatin1String("another"));
    EXPECT_EQ(nextLine(*first), QStringLiteral("activated ") + QString(4095, QLatin1Char('t')));
    end(*third);
    end(*first);
}

TEST_F(SingleInstanceTest, WithoutARuntimeFolderAPrivateOneAmongTheTemporaryFilesServes) {
    const auto folder = _home.filePath(QStringLiteral("vantrel-%1").arg(::getuid()));
    for (const auto* runtime : {"", "relative", "/nonexistent/runtime"}) {
        setEnvironment("XDG_RUNTIME_DIR", runtime);
        const auto first = start();
        EXPECT_EQ(nextLine(*first), QLatin1String("first"));
        EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/instance.socket")));
        end(*first);
    }
    struct stat status {};
    ASSERT_EQ(::lstat(folder.toUtf8().constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST_F(SingleInstanceTest, AFolderThatSomebodyPreparedIsRefused) {
    setEnvironment("XDG_RUNTIME_DIR", "");
    const auto folder = _home.filePath(QStringLiteral("vantrel-%1").arg(::getuid()));
    const auto target = _home.filePath(QStringLiteral("target"));
    ASSERT_TRUE(QDir().mkdir(target));
    ASSERT_TRUE(QFile::link(target, folder));
    auto process = start();
    EXPECT_EQ(nextLine(*process), QStringLiteral("error lstat(%1): not a folder of this user").arg(folder));
    EXPECT_TRUE(process->waitForFinished(patience));
    EXPECT_TRUE(QDir(target).isEmpty());

    if (::getuid() != 0) {
        return; // only root can give a folder away
    }
    ASSERT_TRUE(QFile::remove(folder));
    ASSERT_TRUE(QDir().mkdir(folder));
    ASSERT_EQ(::chown(folder.toUtf8().constData(), 65534, 65534), 0);
    process = start();
    EXPECT_EQ(nextLine(*process), QStringLiteral("error lstat(%1): not a folder of this user").arg(folder));
    EXPECT_TRUE(process->waitForFinished(patience));
}

} // namespace
