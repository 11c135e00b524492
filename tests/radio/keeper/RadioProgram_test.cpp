// The program vantrel-radio, started as the application starts it. It sees whatever adapters this machine has and
// changes none.
#include "base/FileDescriptor.h"
#include "protocol/PacketSocket.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <unistd.h>

namespace vantrel::testing {

namespace {

class RadioProgramTest : public ::testing::Test {
protected:
    void start() {
        auto ends = protocol::PacketSocket::makePair();
        ASSERT_TRUE(ends);
        client = std::make_unique<protocol::PacketSocket>(std::move(ends->first));
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("XDG_STATE_HOME"), folder.path());
        environment.insert(QStringLiteral("VANTREL_INTERFACE"), QStringLiteral("none-of-these"));
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::MergedChannels);
        const int theirs = ends->second.descriptor();
        program.setChildProcessModifier([theirs] { ::dup2(theirs, 3); });
        program.start(QStringLiteral(VANTREL_RADIO_PROGRAM), QStringList());
        ASSERT_TRUE(program.waitForStarted());
    }
    void expectEnd(int status) {
        ASSERT_TRUE(program.waitForFinished(10000)) << program.readAll().constData();
        EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(program.exitCode(), status) << program.readAll().constData();
    }
    // The first announcement; the program serves from then on.
    void expectGreeting() {
        const auto packet = client->receive();
        ASSERT_TRUE(packet && *packet);
        EXPECT_TRUE(std::holds_alternative<protocol::Channels>((*packet)->message));
    }

    QTemporaryDir folder;
    QProcess program;
    std::unique_ptr<protocol::PacketSocket> client;
};

TEST_F(RadioProgramTest, ByItselfItRefusesToRun) {
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(QStringLiteral(VANTREL_RADIO_PROGRAM), QStringList());
    expectEnd(2);
    EXPECT_EQ(program.readAll(), "vantrel-radio: Vantrel starts this program; by itself it does nothing\n");
}

TEST_F(RadioProgramTest, EndsWhenItsClientIsGone) {
    start();
    expectGreeting();
    client.reset();
    expectEnd(0);
}

TEST_F(RadioProgramTest, EndsInGoodOrderOnASignal) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        start();
        expectGreeting();
        ASSERT_EQ(::kill(static_cast<pid_t>(program.processId()), signal), 0);
        expectEnd(0);
    }
}

TEST_F(RadioProgramTest, TwoNeverDriveTheAdapterAtOnce) {
    ASSERT_TRUE(QDir(folder.path()).mkpath(QStringLiteral("vantrel")));
    const QByteArray path = QFile::encodeName(folder.filePath(QStringLiteral("vantrel/radio.lock")));
    FileDescriptor owner(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::flock(owner.get(), LOCK_EX), 0);
    start();
    expectEnd(4);
    EXPECT_TRUE(program.readAll().contains("another vantrel-radio drives the adapter"));

    start(); // one that is about to end is waited for
    owner.reset();
    expectGreeting();
    client.reset();
    expectEnd(0);
}

TEST_F(RadioProgramTest, WithoutItsLockItDrivesNothing) {
    ASSERT_TRUE(QDir(folder.path()).mkpath(QStringLiteral("vantrel/radio.lock"))); // a folder in its place
    start();
    expectEnd(4);
    const QByteArray lock = QFile::encodeName(folder.filePath(QStringLiteral("vantrel/radio.lock")));
    EXPECT_EQ(program.readAll(), "vantrel-radio: open " + lock + ": Is a directory\n");
}

} // namespace
} // namespace vantrel::testing
