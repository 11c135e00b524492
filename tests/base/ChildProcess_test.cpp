#include "base/ChildProcess.h"

#include "ChildCommands.h"
#include "base/FileDescriptor.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/capability.h>
#include <linux/securebits.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vantrel {
namespace {

using ::testing::HasSubstr;
using testing::run;
using testing::shell;

TEST(ChildProcess, GivesTheOutputAndTheErrorsApart) {
    const ChildResult result = run(shell("echo out; echo err >&2; printf more"));
    EXPECT_EQ(result.output, "out\nmore");
    EXPECT_EQ(result.errors, "err\n");
    EXPECT_TRUE(result.succeeded());
    EXPECT_EQ(result.status, 0);
}

TEST(ChildProcess, PassesArgumentsAsTheyAre) {
    ChildCommand command = shell("printf '%s|' \"$0\" \"$@\"");
    command.arguments << QStringLiteral("a b") << QString() << QStringLiteral("$(id)\"'") << QString::fromUtf8("ü\n");
    EXPECT_EQ(run(command).output, "a b||$(id)\"'|ü\n|");
}

TEST(ChildProcess, ReadsBothPipesAtTheSameTime) {
    const ChildResult result = run(shell("head -c 1048576 /dev/zero >&2; head -c 3000000 /dev/zero; echo end >&2"));
    EXPECT_EQ(result.errors.size(), 1048576 + 4);
    EXPECT_EQ(result.output.size(), 3000000);
    EXPECT_TRUE(result.succeeded());
}

TEST(ChildProcess, LeavesStandardErrorAloneUnlessItIsCaptured) {
    ::testing::internal::CaptureStderr();
    ChildCommand command = shell("echo err >&2; echo out");
    command.errors = ChildCommand::Errors::Inherited;
    const ChildResult result = run(command);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "err\n");
    EXPECT_EQ(result.output, "out\n");
    EXPECT_EQ(result.errors, "");
}

TEST(ChildProcess, StandardInputIsEmpty) { EXPECT_EQ(run(shell("wc -c; cat")).output, "0\n"); }

TEST(ChildProcess, TellsTheExitStatus) {
    EXPECT_EQ(run(shell("exit 0")).status, 0);
    EXPECT_EQ(run(shell("exit 1")).status, 1);
    EXPECT_EQ(run(shell("exit 255")).status, 255);
    EXPECT_FALSE(run(shell("exit 3")).succeeded());
}

TEST(ChildProcess, TellsTheSignalThatEndedTheChild) {
    const ChildResult result = run(shell("echo before; kill -9 $$"));
    EXPECT_EQ(result.status, SIGKILL);
    EXPECT_FALSE(result.succeeded());
    EXPECT_EQ(result.output, "before\n");
}

TEST(ChildProcess, WaitsForAChildThatHasClosedItsOutput) {
    EXPECT_EQ(run(shell("exec >&- 2>&-; sleep 0.2; exit 7")).status, 7);
}

TEST(ChildProcess, GivesExactlyTheEnvironment) {
    ChildCommand command{.program = QStringLiteral("/usr/bin/env"),
                         .arguments = {},
                         .environment = QStringList{QStringLiteral("A=1"), QString::fromUtf8("B=two ü=3")}};
    EXPECT_EQ(run(command).output, "A=1\nB=two ü=3\n");
    command.environment = QStringList();
    EXPECT_EQ(run(command).output, "");
}

TEST(ChildProcess, GivesOurEnvironmentUnlessTold) {
    ASSERT_EQ(::setenv("VANTREL_CHILD_TEST", "ours", 1), 0);
    EXPECT_EQ(run(shell("echo $VANTREL_CHILD_TEST")).output, "ours\n");
    ASSERT_EQ(::unsetenv("VANTREL_CHILD_TEST"), 0);
}

TEST(ChildProcess, KeepsTheWorkingDirectory) {
    EXPECT_EQ(run(shell("pwd -P")).output.trimmed(), QFile::encodeName(QDir::current().canonicalPath()));
}

TEST(ChildProcess, InheritsNoDescriptor) {
    const FileDescriptor ours(::open("/dev/null", O_RDONLY));
    const FileDescriptor high(::fcntl(ours.get(), F_DUPFD, 200));
    ASSERT_TRUE(high.isOpen());
    // The one beside the standard streams is of ls itself, which reads the folder.
    EXPECT_EQ(run({.program = QStringLiteral("/bin/ls"), .arguments = {QStringLiteral("/proc/self/fd")}}).output,
              "0\n1\n2\n3\n");
}

TEST(ChildProcess, WorksWhileOurStandardStreamsAreClosed) {
    std::array<FileDescriptor, 3> kept;
    for (int stream = 0; stream < 3; ++stream) {
        kept[static_cast<std::size_t>(stream)] = FileDescriptor(::fcntl(stream, F_DUPFD_CLOEXEC, 100));
        ::close(stream);
    }
    const ChildResult result = run(shell("cat; echo out; echo err >&2")); // nothing of it is left open
    for (int stream = 0; stream < 3; ++stream) {
        ::dup2(kept[static_cast<std::size_t>(stream)].get(), stream);
    }
    EXPECT_EQ(result.output, "out\n");
    EXPECT_EQ(result.errors, "err\n");
}

TEST(ChildProcess, HasNoBlockedNorIgnoredSignal) {
    ::signal(SIGUSR1, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGTERM);
    ::sigaddset(&blocked, SIGUSR2);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const QByteArray signals = run({.program = QStringLiteral("/bin/grep"),
                                    .arguments = {QStringLiteral("-E"), QStringLiteral("^Sig(Blk|Ign|Cgt)"),
                                                  QStringLiteral("/proc/self/status")}})
                                   .output;
    sigset_t after;
    ::pthread_sigmask(SIG_SETMASK, &before, &after);
    ::signal(SIGUSR1, SIG_DFL);
    ::signal(SIGPIPE, SIG_DFL);
    EXPECT_THAT(signals.toStdString(), HasSubstr("SigBlk:\t0000000000000000"));
    EXPECT_THAT(signals.toStdString(), HasSubstr("SigIgn:\t0000000000000000"));
    EXPECT_EQ(::sigismember(&after, SIGUSR2), 1) << "the caller's own mask is as it was";
    EXPECT_EQ(::sigismember(&after, SIGINT), 0);
}

TEST(ChildProcess, ExitStatusIsKnownThoughSigchldWasIgnored) {
    EXPECT_EXIT(
        {
            ::signal(SIGCHLD, SIG_IGN);
            ::_exit(run(shell("exit 42")).status);
        },
        ::testing::ExitedWithCode(42), "");
}

TEST(ChildProcess, LeadsAGroupOfItsOwn) {
    // pid and group of the shell
    const QList<QByteArray> numbers = run(shell("cut -d' ' -f 1,5 /proc/$$/stat")).output.trimmed().split(' ');
    ASSERT_EQ(numbers.size(), 2);
    EXPECT_EQ(numbers[0], numbers[1]);
    EXPECT_NE(numbers[1].toInt(), ::getpgrp());
}

// Raises what children would inherit, on the calling thread alone, and gives up being root there.
bool becomePrivilegedUser() {
    if (::geteuid() != 0) {
        return false;
    }
    constexpr std::uint32_t raw = 1U << CAP_NET_RAW;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> sets{};
    sets[0] = {.effective = raw, .permitted = raw, .inheritable = raw};
    constexpr long nobody = 65534;
    return ::prctl(PR_SET_SECUREBITS, SECBIT_KEEP_CAPS | SECBIT_NO_SETUID_FIXUP) == 0 &&
           ::syscall(SYS_setresuid, nobody, nobody, nobody) == 0 && ::syscall(SYS_capset, &header, sets.data()) == 0 &&
           ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, CAP_NET_RAW, 0, 0) == 0;
}

TEST(ChildProcess, HoldsNoneOfOurCapabilities) {
    bool raised = false;
    QByteArray ours;
    QByteArray theirs;
    std::thread([&] {
        raised = becomePrivilegedUser();
        QFile status(QStringLiteral("/proc/thread-self/status"));
        if (status.open(QIODevice::ReadOnly)) {
            ours = status.readAll();
        }
        theirs = run({.program = QStringLiteral("/bin/grep"),
                      .arguments = {QStringLiteral("^Cap[IPEA]"), QStringLiteral("/proc/self/status")}})
                     .output;
    }).join();
    if (!raised) {
        GTEST_SKIP() << "this needs root, and the right to raise ambient capabilities";
    }
    ASSERT_THAT(ours.toStdString(), HasSubstr("CapAmb:\t0000000000002000"));
    EXPECT_EQ(theirs, "CapInh:\t0000000000000000\nCapPrm:\t0000000000000000\nCapEff:\t0000000000000000\n"
                      "CapAmb:\t0000000000000000\n");
}

TEST(ChildProcess, MissingProgramIsAnError) {
    const auto child = ChildProcess::start({.program = QStringLiteral("/nowhere/program")});
    ASSERT_FALSE(child);
    EXPECT_EQ(child.error().what.toStdString(), "execve /nowhere/program");
    EXPECT_EQ(child.error().why.toStdString(), "No such file or directory");
}

TEST(ChildProcess, ProgramThatMayNotBeExecutedIsAnError) {
    const auto child = ChildProcess::start({.program = QStringLiteral("/etc/passwd")});
    ASSERT_FALSE(child);
    EXPECT_EQ(child.error().why.toStdString(), "Permission denied");
}

TEST(ChildProcess, FailedStartsLeaveNothingBehind) {
    const auto descriptors = [] { return QDir(QStringLiteral("/proc/self/fd")).entryList().size(); };
    const auto before = descriptors();
    for (int times = 0; times < 5; ++times) {
        EXPECT_FALSE(ChildProcess::start({.program = QStringLiteral("/nowhere")}));
        EXPECT_EQ(run(shell("exit 4")).status, 4);
    }
    EXPECT_EQ(descriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "every child is reaped";
    EXPECT_EQ(errno, ECHILD);
}

} // namespace
} // namespace vantrel
