#include "base/TerminationSignals.h"

#include <QCoreApplication>
#include <QTimer>
#include <csignal>
#include <cstdlib>
#include <cstring> // sigabbrev_np
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace vantrel {
namespace {

constexpr int endedInOrder = 42;

// In a child process: sends itself the signal, from another thread, while its event loop runs.
[[noreturn]] void runUntilTermination(int signal) {
    ::alarm(20); // the end of a loop that the signal does not reach
    const TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::terminationRequested, qApp,
                     [] { QCoreApplication::quit(); });
    std::thread sender;
    QTimer::singleShot(0, qApp, [&sender, signal] { sender = std::thread([signal] { ::kill(::getpid(), signal); }); });
    const int status = QCoreApplication::exec();
    sender.join();
    std::_Exit(status == 0 ? endedInOrder : 1);
}

class TerminationSignalsDeathTest : public ::testing::TestWithParam<int> {
protected:
    TerminationSignalsDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_P(TerminationSignalsDeathTest, EndTheEventLoopNormally) {
    EXPECT_EXIT(runUntilTermination(GetParam()), ::testing::ExitedWithCode(endedInOrder), "");
}

TEST_P(TerminationSignalsDeathTest, HaveTheirOwnMeaningAgainAfterwards) {
    EXPECT_EXIT(
        {
            { const TerminationSignals terminationSignals; }
            std::raise(GetParam());
        },
        ::testing::KilledBySignal(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminationSignalsDeathTest, ::testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto& instance) { return std::string(::sigabbrev_np(instance.param)); });

} // namespace
} // namespace vantrel
