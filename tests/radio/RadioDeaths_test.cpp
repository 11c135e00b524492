#include "RadioFixture.h"

#include "support/EventLoop.h"

#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <sys/wait.h>
#include <thread>

namespace vantrel::testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class RadioDeathsTest : public RadioTest {
protected:
    // How often the process was started.
    [[nodiscard]] int starts() const {
        QFile file(_record);
        return file.open(QIODevice::ReadOnly) ? static_cast<int>(file.readAll().count('\n')) : 0;
    }
    [[nodiscard]] bool waitForStarts(int count) const {
        return runUntil([this, count] { return starts() >= count; });
    }

    const QTemporaryDir _folder;
    const QString _record = _folder.filePath(QStringLiteral("starts"));
};

TEST_F(RadioDeathsTest, WhoWaitsLearnsHowTheProcessEnded) {
    start("good");
    int former = processId();
    const auto exited = request(Exit);
    ASSERT_FALSE(exited);
    EXPECT_EQ(exited.error().text(), QStringLiteral("setWLANChannel: vantrel-radio has ended (exit status 5)"));
    EXPECT_NE(processId(), former); // absent, or already another
    ASSERT_TRUE(waitForAnother(former));
    EXPECT_EQ(::waitpid(former, nullptr, WNOHANG), -1); // no zombie
    EXPECT_EQ(errno, ECHILD);

    former = processId();
    const auto killed = request(Die);
    ASSERT_FALSE(killed);
    EXPECT_EQ(killed.error().text(), QStringLiteral("setWLANChannel: vantrel-radio has ended (signal 9, Killed)"));
    ASSERT_TRUE(_log.warnings().contains(QStringLiteral("vantrel-radio has ended (signal 9, Killed)")));
}

TEST_F(RadioDeathsTest, ADeadProcessLeavesNoAdapterBehind) {
    auto options = RadioTest::options("young", _record);
    options.restartPause = 60s;
    start(options);
    ASSERT_TRUE(waitForStarts(2)); // at once; the third has to wait
    const QString ended = QStringLiteral("vantrel-radio has ended (exit status 6)");
    ASSERT_TRUE(runUntil([this, &ended] { return _log.warnings().count(ended) == 2; }));
    ASSERT_TRUE(runUntil([this] { return adapter().interfaceName().isEmpty(); }));
    EXPECT_TRUE(adapter().interfaceName().isEmpty());
    EXPECT_TRUE(adapter().ssid().isEmpty());
    EXPECT_FALSE(adapter().powerOn());
    EXPECT_FALSE(adapter().wlanChannel());
    EXPECT_TRUE(adapter().supportedWLANChannels().empty());
    EXPECT_EQ(adapter().interfaceMode(), CWInterfaceMode::None);
    const auto power = adapter().setPower(true);
    ASSERT_FALSE(power);
    EXPECT_EQ(power.error().text(), QStringLiteral("setPower: vantrel-radio has ended (exit status 6)"));
    EXPECT_FALSE(adapter().beginMonitorMode());
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // no zombie
    const auto begin = Clock::now();
    _client.reset(); // does not wait for the pause
    EXPECT_LT(Clock::now() - begin, 5s);
    EXPECT_EQ(starts(), 2);
}

TEST_F(RadioDeathsTest, EachYoungDeathDoublesThePause) {
    auto options = RadioTest::options("young", _record);
    options.restartPause = 100ms;
    start(options);
    ASSERT_TRUE(waitForStarts(2)); // at once
    const auto begin = Clock::now();
    ASSERT_TRUE(waitForStarts(5));
    const auto took = Clock::now() - begin; // 100, 200 and 400 ms
    EXPECT_GE(took, 690ms);
    EXPECT_LT(took, 15s);
}

TEST_F(RadioDeathsTest, AProcessThatWasWellIsStartedAgainAtOnce) {
    auto options = RadioTest::options("counted", _record);
    options.restartPause = 60s;
    options.youth = 0ms;
    start(options);
    for (int i = 0; i < 4; ++i) {
        const int former = processId();
        EXPECT_FALSE(request(Die));
        ASSERT_TRUE(waitForAnother(former));
    }
    EXPECT_EQ(starts(), 5);
}

TEST_F(RadioDeathsTest, AMonitorModeOfADeadProcessIsVoid) {
    start("good");
    auto former = adapter().beginMonitorMode();
    ASSERT_TRUE(former);
    EXPECT_FALSE(request(Die));
    Expected<std::unique_ptr<MonitorMode>> next;
    ASSERT_TRUE(runUntil([this, &next] {
        next = adapter().beginMonitorMode();
        return next.has_value();
    }));
    former->reset();
    EXPECT_EQ(adapter().interfaceMode(), CWInterfaceMode::Monitor); // the next one's is untouched
    EXPECT_FALSE(adapter().beginMonitorMode());
    next->reset();
    EXPECT_EQ(adapter().interfaceMode(), CWInterfaceMode::None);
}

TEST_F(RadioDeathsTest, AProcessThatOnlyClosesItsSocketIsWaitedFor) {
    start("good");
    const int former = processId();
    const auto closed = request(CloseSocket);
    ASSERT_FALSE(closed);
    EXPECT_EQ(closed.error().text(), QStringLiteral("setWLANChannel: vantrel-radio has ended (exit status 0)"));
    EXPECT_FALSE(exists(former)); // one owns the radio
    ASSERT_TRUE(waitForAnother(former));
}

// Nobody waits for an answer all that time, but one owns the radio.
TEST_F(RadioDeathsTest, AProcessThatTakesItsTimeBehindItsSocketIsWaitedForToo) {
    start("counted", _record);
    const int former = processId();
    const auto closed = request(CloseEarly);
    ASSERT_FALSE(closed);
    EXPECT_EQ(closed.error().text(), QStringLiteral("setWLANChannel: vantrel-radio has closed its socket"));
    EXPECT_TRUE(exists(former));
    EXPECT_EQ(starts(), 1);
    ASSERT_TRUE(waitForAnother(former));
    EXPECT_FALSE(exists(former));
}

// As when a package is replaced while the application runs.
TEST_F(RadioDeathsTest, AProgramThatIsGoneForAWhileIsStartedWhenItIsBack) {
    auto options = RadioTest::options("good");
    options.restartPause = 50ms;
    const QTemporaryDir folder;
    const QString original = options.program;
    options.program = folder.filePath(QStringLiteral("vantrel-radio"));
    ASSERT_TRUE(QFile::copy(original, options.program));
    start(options);
    const int former = processId();
    ASSERT_TRUE(QFile::remove(options.program));
    EXPECT_FALSE(request(Die));
    const QString missing = QStringLiteral("posix_spawn(%1): No such file or directory").arg(options.program);
    ASSERT_TRUE(runUntil([this, &missing] {
        const auto power = adapter().setPower(true);
        return !power && power.error().why.contains(missing);
    }));
    EXPECT_TRUE(adapter().interfaceName().isEmpty());
    ASSERT_TRUE(QFile::copy(original, options.program));
    ASSERT_TRUE(waitForAnother(former));
    EXPECT_TRUE(adapter().setPower(true));
}

TEST_F(RadioDeathsTest, ASocketThatOutlivesItsProcessDeceivesNobody) {
    start("good");
    const int former = processId();
    const auto begin = Clock::now();
    const auto left = request(LeaveHeir);
    ASSERT_FALSE(left);
    EXPECT_EQ(left.error().text(), QStringLiteral("setWLANChannel: vantrel-radio has ended (exit status 5)"));
    EXPECT_LT(Clock::now() - begin, 2500ms);
    EXPECT_TRUE(waitForAnother(former));
}

TEST_F(RadioDeathsTest, KillingItAgainAndAgainEndsNothing) {
    auto options = RadioTest::options("good");
    options.youth = 0ms;
    start(options);
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([this, &stop] {
            while (!stop) {
                static_cast<void>(adapter().setWLANChannel({36, bandFiveGHz, width80MHz}));
                const auto monitor = adapter().beginMonitorMode();
            }
        });
    }
    for (int i = 0; i < 10; ++i) {
        int former = 0;
        EXPECT_TRUE(runUntil([this, &former] { return (former = processId()) > 0; }));
        if (former > 0) {
            ::kill(former, SIGKILL);
        }
        EXPECT_TRUE(waitForAnother(former));
    }
    stop = true;
    for (auto& thread : threads) {
        thread.join();
    }
    _client.reset();
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST_F(RadioDeathsTest, DestructionWaitsForTheProcess) {
    start("lingers", QStringLiteral("300"));
    const int process = processId();
    const auto begin = Clock::now();
    _client.reset();
    EXPECT_GE(Clock::now() - begin, 300ms);
    EXPECT_FALSE(exists(process));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_TRUE(_log.warnings().isEmpty());
}

TEST_F(RadioDeathsTest, AProcessThatTakesTooLongIsLeftAlone) {
    auto options = RadioTest::options("lingers", QStringLiteral("3000"));
    options.endTime = 100ms;
    start(options);
    const int process = processId();
    const auto begin = Clock::now();
    _client.reset();
    EXPECT_LT(Clock::now() - begin, 2500ms);
    EXPECT_EQ(_log.warnings(), QStringList(QStringLiteral(
                                   "vantrel-radio has not ended within 100 ms, and is left to put the adapter back")));
    int status = -1;
    EXPECT_EQ(::waitpid(process, &status, 0), process); // it ends by itself, unharmed
    EXPECT_EQ(status, 0);
}

TEST_F(RadioDeathsTest, DestructionEndsAWaitingRequest) {
    start("good");
    auto monitor = adapter().beginMonitorMode();
    ASSERT_TRUE(monitor);
    QString text;
    std::thread waiting([this, &text] {
        const auto silent = request(StaySilent);
        text = silent ? QString() : silent.error().text();
    });
    EXPECT_TRUE(runUntil([this] { return adapter().channelNumber() == StaySilent; })); // it was read
    _client.reset();
    waiting.join();
    EXPECT_EQ(text, QStringLiteral("setWLANChannel: the Wi-Fi service is closed"));
    monitor->reset(); // outlives the client, and is void
}

} // namespace
} // namespace vantrel::testing
