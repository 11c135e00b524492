// How children end: by themselves, on request, and with what they have started.
#include "ChildCommands.h"
#include "base/ChildProcess.h"

#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

namespace vantrel {
namespace {

using namespace std::chrono_literals;
using testing::run;
using testing::shell;

constexpr auto longAgo = 10s; // longer than anything here may last on a slow machine, shorter than what it waits out

class Stopwatch {
public:
    [[nodiscard]] std::chrono::steady_clock::duration elapsed() const {
        return std::chrono::steady_clock::now() - _start;
    }

private:
    std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
};

bool isAlive(pid_t process) { return ::kill(process, 0) == 0; }

// The process is adopted by init when its parent ends, and not always reaped there at once.
bool isGone(pid_t process) {
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    return !status.open(QIODevice::ReadOnly) || status.readAll().contains("State:\tZ");
}

template <typename Condition>
bool becomes(Condition condition) {
    const Stopwatch time;
    while (!condition()) {
        if (time.elapsed() > longAgo) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

// A pipe that children inherit, for scripts that tell when they have come somewhere.
class Signpost {
public:
    Signpost() { EXPECT_TRUE(_folder.isValid()); }
    [[nodiscard]] QByteArray path() const { return QFile::encodeName(_folder.filePath(QStringLiteral("here"))); }
    [[nodiscard]] QByteArray text() const {
        QFile file(_folder.filePath(QStringLiteral("here")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] bool isReached() const { return text().endsWith('\n'); }

private:
    QTemporaryDir _folder;
};

TEST(ChildProcessEnds, TerminateAsksTheChildToEnd) {
    const Signpost ready;
    const auto child = ChildProcess::start(
        shell(("trap 'echo asked; exit 5' TERM; echo ready > " + ready.path() + "; while :; do sleep 0.05; done")
                  .constData()));
    ASSERT_TRUE(child);
    ASSERT_TRUE(becomes([&] { return ready.isReached(); }));
    std::thread other([&] { (*child)->terminate(); });
    const ChildResult result = (*child)->waitUntilExit();
    other.join();
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.output, "asked\n");
    (*child)->terminate(); // nothing: it is over
}

TEST(ChildProcessEnds, TerminateBeforeTheWaitCounts) {
    const auto child = ChildProcess::start(shell("sleep 600"));
    ASSERT_TRUE(child);
    (*child)->terminate();
    EXPECT_EQ((*child)->waitUntilExit().status, SIGTERM);
}

TEST(ChildProcessEnds, ChildThatIgnoresTheRequestIsKilledAfterTheGrace) {
    const Signpost ready;
    const QByteArray script = "trap '' TERM; echo ready > " + ready.path() + "; while :; do sleep 0.05; done";
    const auto child = ChildProcess::start(shell(script.constData(), 400ms));
    ASSERT_TRUE(child);
    ASSERT_TRUE(becomes([&] { return ready.isReached(); }));
    const Stopwatch time;
    (*child)->terminate();
    EXPECT_EQ((*child)->waitUntilExit().status, SIGKILL);
    EXPECT_GE(time.elapsed(), 400ms);
    EXPECT_LT(time.elapsed(), longAgo);
}

TEST(ChildProcessEnds, WhatItLeftBehindIsKilledWithTheGroup) {
    const Signpost ready;
    // The one left behind holds no pipe of ours, and tells its number once it ignores the request.
    const QByteArray script =
        "(trap '' TERM; sh -c 'echo $PPID' > " + ready.path() + "; exec sleep 600) >/dev/null 2>&1 & exec sleep 600";
    const auto child = ChildProcess::start(shell(script.constData()));
    ASSERT_TRUE(child);
    ASSERT_TRUE(becomes([&] { return ready.isReached(); }));
    const pid_t leftBehind = ready.text().trimmed().toInt();
    ASSERT_TRUE(isAlive(leftBehind));
    (*child)->terminate();
    EXPECT_EQ((*child)->waitUntilExit().status, SIGTERM);
    EXPECT_TRUE(becomes([&] { return isGone(leftBehind); }));
}

TEST(ChildProcessEnds, WhatItLeftBehindGoesOnOtherwise) {
    const ChildResult result = run(shell("sleep 600 >/dev/null 2>&1 & echo $!"));
    const pid_t leftBehind = result.output.trimmed().toInt();
    EXPECT_FALSE(isGone(leftBehind));
    ::kill(leftBehind, SIGKILL);
    EXPECT_TRUE(result.succeeded());
}

TEST(ChildProcessEnds, PipesThatAreHeldOpenAreReadOnForTheGrace) {
    const Stopwatch time;
    const ChildResult result = run(shell("(sleep 0.2; echo late; exec sleep 600) & echo $!; exit 3", 1s));
    EXPECT_GE(time.elapsed(), 1s);
    EXPECT_LT(time.elapsed(), longAgo);
    EXPECT_EQ(result.status, 3);
    EXPECT_TRUE(result.output.endsWith("\nlate\n")) << result.output.constData();
    const pid_t holder = result.output.left(result.output.indexOf('\n')).toInt();
    EXPECT_FALSE(isGone(holder));
    ::kill(holder, SIGKILL);
}

TEST(ChildProcessEnds, PipesThatAreLetGoEndTheWaitAtOnce) {
    const Stopwatch time;
    EXPECT_EQ(run(shell("(sleep 0.1; echo late) & echo soon")).output, "soon\nlate\n");
    EXPECT_LT(time.elapsed(), longAgo);
}

TEST(ChildProcessEnds, TerminateEndsTheReadingOfHeldPipes) {
    const Signpost ready;
    const QByteArray script = "trap '' TERM; (echo ready > " + ready.path() + "; exec sleep 600) & exit 0";
    const auto child = ChildProcess::start(shell(script.constData(), 500ms));
    ASSERT_TRUE(child);
    ASSERT_TRUE(becomes([&] { return ready.isReached(); }));
    (*child)->terminate();
    const Stopwatch time;
    EXPECT_TRUE((*child)->waitUntilExit().succeeded());
    EXPECT_LT(time.elapsed(), longAgo);
}

TEST(ChildProcessEnds, DestructionKillsTheChildAndItsGroup) {
    const Signpost ready;
    const QByteArray script =
        "trap '' TERM; sleep 600 & echo $$ $! > " + ready.path() + "; while :; do sleep 0.05; done";
    auto child = ChildProcess::start(shell(script.constData()));
    ASSERT_TRUE(child);
    ASSERT_TRUE(becomes([&] { return ready.isReached(); }));
    const QList<QByteArray> processes = ready.text().trimmed().split(' ');
    child->reset();
    EXPECT_FALSE(isAlive(processes[0].toInt())) << "reaped";
    EXPECT_TRUE(becomes([&] { return isGone(processes[1].toInt()); }));
}

TEST(ChildProcessEnds, ManyThreadsMayRunAndEndChildren) {
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&right, number] {
            for (int times = 0; times < 5; ++times) {
                const bool ends = times % 2 == 0;
                auto child = ChildProcess::start(
                    shell(ends ? "exec sleep 600" : QStringLiteral("exit %1").arg(number + 1).toUtf8().constData()));
                if (!child) {
                    continue;
                }
                std::thread ender([&] {
                    if (ends) {
                        (*child)->terminate();
                    }
                });
                right += (*child)->waitUntilExit().status == (ends ? SIGTERM : number + 1) ? 1 : 0;
                (*child)->terminate();
                ender.join();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 20);
}

} // namespace
} // namespace vantrel
