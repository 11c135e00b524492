#include "RadioFixture.h"
#include "support/EventLoop.h"

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace vantrel::testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class RadioClientTest : public RadioTest {};

std::string failureOf(const Expected<void>& outcome) {
    return outcome ? "it succeeded" : outcome.error().text().toStdString();
}

TEST_F(RadioClientTest, ReadsWhatWasAnnounced) {
    start("good");
    EXPECT_EQ(adapter().interfaceName(), QStringLiteral("fake0"));
    EXPECT_EQ(adapter().interfaceMode(), CWInterfaceMode::Station);
    EXPECT_TRUE(adapter().isAssociated());
    EXPECT_TRUE(adapter().powerOn());
    EXPECT_EQ(adapter().wlanChannel(), (CWChannel{6, bandTwoDotFourGHz, width20MHz}));
    EXPECT_EQ(adapter().supportedWLANChannels(),
              (std::vector{CWChannel{1, bandTwoDotFourGHz, width20MHz}, CWChannel{36, bandFiveGHz, width80MHz}}));
    EXPECT_TRUE(exists(processId()));
    EXPECT_TRUE(_client->backendNote().isEmpty());
}

TEST_F(RadioClientTest, AChangeIsSeenOnceItsRequestReturns) {
    start("good");
    const CWChannel wide{36, bandFiveGHz, width80MHz};
    EXPECT_TRUE(adapter().setWLANChannel(wide));
    EXPECT_EQ(adapter().wlanChannel(), wide);
    EXPECT_TRUE(adapter().setPower(false));
    EXPECT_FALSE(adapter().powerOn());
    EXPECT_TRUE(adapter().setPower(true));
    EXPECT_TRUE(adapter().powerOn());
    adapter().disassociate();
    EXPECT_FALSE(adapter().isAssociated());
    EXPECT_TRUE(adapter().ssid().isEmpty());
    EXPECT_TRUE(_log.warnings().isEmpty());
}

TEST_F(RadioClientTest, ARefusalNamesWhatFailed) {
    start("good");
    EXPECT_EQ(failureOf(request(Refuse)), "NL80211_CMD_SET_CHANNEL: Device or resource busy");
    EXPECT_EQ(failureOf(adapter().setWLANChannel({1, 7, 1})), "setWLANChannel: there is no such channel");
    EXPECT_EQ(failureOf(adapter().setWLANChannel({-1, 1, 1})), "setWLANChannel: there is no such channel");
    adapter().disassociate();
    adapter().disassociate();
    EXPECT_EQ(_log.warnings(), QStringList(QStringLiteral("disassociate failed: disassociate: not associated")));
}

TEST_F(RadioClientTest, MonitorModeLastsAsLongAsItsObject) {
    start("good");
    auto monitor = adapter().beginMonitorMode();
    ASSERT_TRUE(monitor) << monitor.error().text().toStdString();
    EXPECT_EQ((*monitor)->deviceName(), QStringLiteral("vantrel0"));
    EXPECT_FALSE((*monitor)->takeStream().isOpen());
    EXPECT_EQ(adapter().interfaceMode(), CWInterfaceMode::Monitor);
    const auto second = adapter().beginMonitorMode();
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error().text(), QStringLiteral("NL80211_CMD_NEW_INTERFACE: File exists"));
    std::thread([&monitor] { monitor->reset(); }).join(); // on any thread
    EXPECT_EQ(adapter().interfaceMode(), CWInterfaceMode::None);
    EXPECT_TRUE(adapter().beginMonitorMode());
}

TEST_F(RadioClientTest, WhatAMonitorModeIsWantedForIsPassedOn) {
    start("good");
    for (const auto& [use, device] :
         {std::pair(MonitorUse::Probe, "probe0"), std::pair(MonitorUse::Capture, "vantrel0")}) {
        const auto monitor = adapter().beginMonitorMode(use);
        ASSERT_TRUE(monitor) << monitor.error().text().toStdString();
        EXPECT_EQ((*monitor)->deviceName(), QString::fromLatin1(device));
    }
}

TEST_F(RadioClientTest, ASilentProcessIsNotWaitedForLonger) {
    auto options = RadioTest::options("good");
    options.answerTime = 500ms;
    start(options);
    const auto begin = Clock::now();
    EXPECT_EQ(failureOf(request(StaySilent)), "setWLANChannel: vantrel-radio has not answered within 500 ms");
    EXPECT_GE(Clock::now() - begin, 500ms);
    EXPECT_LT(Clock::now() - begin, 5s);
    EXPECT_TRUE(adapter().setPower(false)); // the next has its own answer
}

TEST_F(RadioClientTest, AMonitorModeThatBeginsTooLateIsEnded) {
    auto options = RadioTest::options("good");
    options.answerTime = 500ms;
    start(options);
    ASSERT_TRUE(request(BeginLate));
    const auto begun = adapter().beginMonitorMode();
    ASSERT_FALSE(begun);
    EXPECT_EQ(begun.error().text(), QStringLiteral("beginMonitorMode: vantrel-radio has not answered within 500 ms"));
    Expected<std::unique_ptr<MonitorMode>> again;
    EXPECT_TRUE(runUntil([this, &again] { // nobody's monitor mode is in its way
        again = adapter().beginMonitorMode();
        return again.has_value();
    }));
}

TEST_F(RadioClientTest, ASlowProcessIsWaitedFor) {
    start("good");
    const auto begin = Clock::now();
    EXPECT_TRUE(request(AnswerLate));
    EXPECT_GE(Clock::now() - begin, 300ms);
}

TEST_F(RadioClientTest, ReadingNeverWaits) {
    start("good");
    std::thread waiting([this] { EXPECT_FALSE(request(StaySilent)); });
    EXPECT_TRUE(runUntil([this] { return adapter().channelNumber() == StaySilent; })); // it was read
    const auto begin = Clock::now();
    for (int i = 0; i < 1000; ++i) {
        static_cast<void>(adapter().powerOn());
    }
    EXPECT_LT(Clock::now() - begin, 5s);
    ::kill(processId(), SIGKILL);
    waiting.join();
}

TEST_F(RadioClientTest, GarbageIsLoggedAndPassedOver) {
    start("good");
    EXPECT_TRUE(request(SayGarbage));
    EXPECT_TRUE(adapter().setPower(false));
    EXPECT_FALSE(adapter().powerOn());
    const auto warnings = _log.warnings();
    const QString refused = QStringLiteral("a packet of vantrel-radio was refused: ");
    ASSERT_EQ(warnings.size(), 10); // of 105
    EXPECT_EQ(warnings[0], refused + QStringLiteral("decode: the version runs over the end"));
    EXPECT_EQ(warnings[1], refused + QStringLiteral("decode: the request number runs over the end"));
    EXPECT_EQ(warnings[2], refused + QStringLiteral("decode: the version is 2, not 1"));
    EXPECT_EQ(warnings[3], refused + QStringLiteral("recv: a packet of 16385 bytes, at most 16384 are allowed"));
    EXPECT_EQ(warnings[4], refused + QStringLiteral("vantrel-radio: a request, which only the application makes"));
    EXPECT_EQ(warnings[5], refused + QStringLiteral("decode: the type is 99, which is unknown"));
}

TEST_F(RadioClientTest, AnswersThatNobodyWaitsForAreDropped) {
    start("good");
    EXPECT_TRUE(request(AnswerMuch));
    EXPECT_TRUE(adapter().setPower(false));
    EXPECT_TRUE(request(AnswerMuch));
}

TEST_F(RadioClientTest, ManyThreadsAskAtOnce) {
    start("good");
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([this, number] {
            for (int i = 0; i < 50; ++i) {
                if (number % 2 == 0) {
                    EXPECT_TRUE(adapter().setWLANChannel({1 + number, bandTwoDotFourGHz, width20MHz}));
                } else {
                    EXPECT_EQ(failureOf(request(Refuse)), "NL80211_CMD_SET_CHANNEL: Device or resource busy");
                }
                EXPECT_FALSE(adapter().interfaceName().isEmpty());
                EXPECT_EQ(adapter().supportedWLANChannels().size(), 2U);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

TEST_F(RadioClientTest, TheProcessInheritsNothingOfOurs) {
    sigset_t blocked;
    sigset_t before;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGTERM);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    auto* const handler = ::signal(SIGPIPE, SIG_IGN);
    const FileDescriptor inheritable(::open("/dev/null", O_RDONLY)); // NOLINT: not closed by exec, as some library's
    const FileDescriptor high(::dup2(inheritable.get(), 700));
    ::setenv("FAKE_RADIO_FACT", "fact", 1);
    start("facts");
    ::unsetenv("FAKE_RADIO_FACT");
    ::signal(SIGPIPE, handler);
    ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
    EXPECT_EQ(adapter().ssid(), QStringLiteral("leader unblocked default /dev/null 3 fact"));
}

std::string startFailure(const RadioOptions& options) {
    const auto client = makeRadioClient(options);
    return client ? "it started" : client.error().text().toStdString();
}

TEST_F(RadioClientTest, AProgramThatIsNotThereIsAnError) {
    auto missing = options("");
    missing.program = QStringLiteral("/nonexistent/vantrel-radio");
    EXPECT_EQ(startFailure(missing), "posix_spawn(/nonexistent/vantrel-radio): No such file or directory");
}

TEST_F(RadioClientTest, AProcessThatEndsAtOnceIsAnError) {
    const auto begin = Clock::now();
    EXPECT_EQ(startFailure(options("exits", QStringLiteral("3"))),
              "vantrel-radio: this machine has no Wi-Fi the kernel can configure");
    EXPECT_EQ(startFailure(options("exits", QStringLiteral("4"))),
              "vantrel-radio: another vantrel-radio drives the adapter");
    EXPECT_EQ(startFailure(options("exits", QStringLiteral("7"))), "vantrel-radio: it ended at once (exit status 7)");
    EXPECT_LT(Clock::now() - begin, 4s);            // less than the time it had
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // no zombie, no other start
}

TEST_F(RadioClientTest, AnotherVersionIsAnError) {
    auto other = options("other-version");
    other.startTime = 500ms;
    EXPECT_EQ(startFailure(other), "decode: the version is 2, not 1");
}

TEST_F(RadioClientTest, AProcessThatTakesItsTimeIsNoError) {
    auto silent = options("silent");
    silent.startTime = 100ms;
    start(silent);
    EXPECT_TRUE(_log.warnings().contains(QStringLiteral("vantrel-radio has announced no adapter within 100 ms")));
    EXPECT_TRUE(adapter().interfaceName().isEmpty());
    EXPECT_FALSE(adapter().powerOn());
    EXPECT_TRUE(adapter().setWLANChannel({36, bandFiveGHz, width80MHz})); // it speaks
    EXPECT_EQ(adapter().interfaceName(), QStringLiteral("fake0"));
}

TEST_F(RadioClientTest, AMonitorModeWithoutADeviceIsNone) {
    start("good");
    ASSERT_TRUE(request(BeginBlank));
    const auto begun = adapter().beginMonitorMode();
    ASSERT_FALSE(begun);
    EXPECT_EQ(begun.error().text(), QStringLiteral("beginMonitorMode: vantrel-radio has named no device"));
}

} // namespace
} // namespace vantrel::testing
