#include "delivery/VantrelAnalyzer.h"

#include "support/EventLoop.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <gmock/gmock.h>

namespace vantrel {
namespace {

using namespace std::chrono_literals;
using testing::runUntil;

const QString python = QStringLiteral("/usr/bin/python3");

// Keeps what it is told.
class Reports : public VantrelAnalyzerDelegate {
public:
    [[nodiscard]] bool respondsToDidTerminateWithOutput() const override { return wantsOutput; }
    void didTerminateWithOutput(VantrelAnalyzer& /*analyzer*/, const QString& output) override {
        outputs << output;
        onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
        if (then) {
            then();
        }
    }
    [[nodiscard]] bool respondsToDidTerminateWithError() const override { return wantsErrors; }
    void didTerminateWithError(VantrelAnalyzer& /*analyzer*/, const QString& error) override {
        errors << error;
        onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
    }

    bool wantsOutput = true;
    bool wantsErrors = true;
    bool onMainThread = false;
    std::function<void()> then;
    QStringList outputs;
    QStringList errors;
};

class Endings {
public:
    explicit Endings(VantrelAnalyzer& analyzer) {
        QObject::connect(&analyzer, &VantrelAnalyzer::ended, &_context, [this] { ++_count; });
    }
    [[nodiscard]] int count() const { return _count; }

private:
    int _count = 0;
    QObject _context;
};

class VantrelAnalyzerTest : public ::testing::Test {
protected:
    [[nodiscard]] QString path(const QString& name) const { return QDir(_folder.path()).filePath(name); }
    [[nodiscard]] QString script(const char* text) const {
        const QString file = path(QStringLiteral("a script 'of' mine.py"));
        write(file, QByteArray("import os, sys, time, signal\n") + text);
        return file;
    }
    static void write(const QString& file, const QByteArray& bytes) {
        QFile written(file);
        ASSERT_TRUE(written.open(QIODevice::WriteOnly));
        written.write(bytes);
    }
    [[nodiscard]] QByteArray read(const QString& name) const {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    // A line that writes its process number where the test looks for it; what follows has begun then.
    [[nodiscard]] QByteArray tellNumber() const {
        return "open('" + QFile::encodeName(path(QStringLiteral("number"))) + "', 'w').write(f'{os.getpid()}\\n')\n";
    }
    [[nodiscard]] pid_t number() const {
        const QByteArray text = read(QStringLiteral("number"));
        return text.endsWith('\n') ? text.trimmed().toInt() : 0;
    }
    [[nodiscard]] bool startAndWaitForItsNumber(VantrelAnalyzer& analyzer, const QByteArray& text) const {
        analyzer.analyzeCapture(capture, script((tellNumber() + text).constData()));
        return runUntil([&] { return number() != 0; });
    }
    [[nodiscard]] bool runToItsEnd(VantrelAnalyzer& analyzer, const char* text) const {
        const Endings ended(analyzer);
        analyzer.setDelegate(_delegate);
        analyzer.analyzeCapture(capture, script(text));
        return runUntil([&] { return ended.count() > 0; });
    }
    [[nodiscard]] bool runToItsEnd(const char* text) const {
        VantrelAnalyzer analyzer(python);
        return runToItsEnd(analyzer, text);
    }

    const QString capture = QStringLiteral("/captures of mine/a $(b).pcap");
    Reports reports;

private:
    QTemporaryDir _folder;
    Reports* _delegate = &reports;
};

bool isGone(pid_t process) { return ::kill(process, 0) != 0; }

TEST_F(VantrelAnalyzerTest, ReportsTheOutput) {
    ASSERT_TRUE(runToItsEnd("print('hello'); print('not this', file=sys.stderr)"));
    EXPECT_EQ(reports.outputs, QStringList{QStringLiteral("hello\n")});
    EXPECT_EQ(reports.errors, QStringList());
    EXPECT_TRUE(reports.onMainThread);
}

TEST_F(VantrelAnalyzerTest, ReportsTheErrorsOfAFailure) {
    ASSERT_TRUE(runToItsEnd("print('not this'); print('boom', file=sys.stderr); sys.exit(1)"));
    EXPECT_EQ(reports.errors, QStringList{QStringLiteral("boom\n")});
    EXPECT_EQ(reports.outputs, QStringList());
    EXPECT_TRUE(reports.onMainThread);
}

TEST_F(VantrelAnalyzerTest, AnySignalIsAFailure) {
    ASSERT_TRUE(runToItsEnd("print('last words', file=sys.stderr, flush=True); os.kill(os.getpid(), signal.SIGKILL)"));
    EXPECT_EQ(reports.errors, QStringList{QStringLiteral("last words\n")});
}

TEST_F(VantrelAnalyzerTest, NoOutputIsReportedAsSuch) {
    ASSERT_TRUE(runToItsEnd("pass"));
    EXPECT_EQ(reports.outputs, QStringList{QString()});
}

TEST_F(VantrelAnalyzerTest, ScriptSeesTwoArgumentsAndTwoVariables) {
    // The interpreter adds to its own copy of the environment; the kernel keeps what it was started with.
    const char* text = "print(*sys.argv, sep='|')\n"
                       "print(open('/proc/self/cmdline').read().count('\\0'))\n"
                       "print(*open('/proc/self/environ').read().split('\\0')[:-1], sep='\\n')\n";
    ASSERT_TRUE(runToItsEnd(text));
    ASSERT_EQ(reports.outputs.size(), 1);
    EXPECT_EQ(reports.outputs[0].toStdString(),
              path(QStringLiteral("a script 'of' mine.py")).toStdString() +
                  "|/captures of mine/a $(b).pcap\n"
                  "3\n"
                  "PYTHONPATH=/Library/Frameworks/Python.framework/Versions/2.7/lib/python2.7/site-packages:"
                  "/usr/local/lib/python2.7/site-packages\n"
                  "PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin\n");
}

TEST_F(VantrelAnalyzerTest, TaskIsWhatRuns) {
    VantrelAnalyzer analyzer(python);
    ASSERT_TRUE(runToItsEnd(analyzer, "pass"));
    EXPECT_EQ(analyzer.task().program, python);
    EXPECT_EQ(analyzer.task().arguments, (QStringList{path(QStringLiteral("a script 'of' mine.py")), capture}));
    EXPECT_EQ(analyzer.task().errors, ChildCommand::Errors::Captured);
    EXPECT_EQ(analyzer.task().grace, 3s);
    analyzer.setTask({.program = QStringLiteral("/bin/true")});
    EXPECT_EQ(analyzer.task().program, QStringLiteral("/bin/true"));
}

TEST_F(VantrelAnalyzerTest, KeepsTheWorkingDirectory) {
    ASSERT_TRUE(runToItsEnd("print(os.getcwd(), end='')"));
    EXPECT_EQ(reports.outputs, QStringList{QDir::current().canonicalPath()});
}

TEST_F(VantrelAnalyzerTest, ManyErrorsBeforeTheOutputBlockNothing) {
    ASSERT_TRUE(runToItsEnd("sys.stderr.write('e' * 1048576); sys.stderr.flush(); print('done')"));
    EXPECT_EQ(reports.outputs, QStringList{QStringLiteral("done\n")});
    ASSERT_TRUE(runToItsEnd("sys.stderr.write('e' * 1048576); sys.exit(2)"));
    ASSERT_EQ(reports.errors.size(), 1);
    EXPECT_EQ(reports.errors[0], QString(1048576, u'e'));
}

TEST_F(VantrelAnalyzerTest, WaitsForAScriptThatHasClosedItsOutput) {
    ASSERT_TRUE(runToItsEnd("os.write(1, b'early'); os.close(1); time.sleep(0.2); os.write(2, b'late'); os._exit(3)"));
    EXPECT_EQ(reports.errors, QStringList{QStringLiteral("late")});
}

TEST_F(VantrelAnalyzerTest, WhatIsNotUtf8IsReplaced) {
    ASSERT_TRUE(runToItsEnd("os.write(1, b'\\xef\\xbb\\xbfa\\xff\\xc3\\xbc b\\x00c \\xe2\\x82')"));
    ASSERT_EQ(reports.outputs.size(), 1);
    // The mark of the byte order stays, as does the null, and what is cut off at the end shows.
    const QString text = reports.outputs[0];
    EXPECT_TRUE(text.startsWith(QStringView(u"\uFEFFa\uFFFD\u00FC b"))) << text.toStdString();
    EXPECT_EQ(text.mid(6, 3).toStdString(), std::string("\0c ", 3));
    EXPECT_TRUE(text.endsWith(QChar::ReplacementCharacter)) << text.toStdString();
    ASSERT_TRUE(runToItsEnd("os.write(2, b'\\xfe!'); sys.exit(1)"));
    EXPECT_EQ(reports.errors, QStringList{QString(QChar::ReplacementCharacter) + u'!'});
}

TEST_F(VantrelAnalyzerTest, ChildThatHoldsThePipeDelaysTheReportByThreeSecondsAtMost) {
    QElapsedTimer time;
    time.start();
    ASSERT_TRUE(runToItsEnd("import subprocess\n"
                            "print(subprocess.Popen(['/bin/sleep', '600']).pid)"));
    EXPECT_GE(time.elapsed(), 3000);
    ASSERT_EQ(reports.outputs.size(), 1);
    const pid_t left = reports.outputs[0].trimmed().toInt();
    ASSERT_GT(left, 0);
    EXPECT_FALSE(isGone(left)) << "it is not ours to end";
    ::kill(left, SIGKILL);
}

TEST_F(VantrelAnalyzerTest, CancelledRunReportsNothing) {
    VantrelAnalyzer analyzer(python);
    analyzer.setDelegate(&reports);
    const Endings ended(analyzer);
    ASSERT_TRUE(startAndWaitForItsNumber(analyzer, "print('something', flush=True); time.sleep(600)"));
    EXPECT_TRUE(analyzer.isRunning());
    EXPECT_FALSE(analyzer.canceled());
    analyzer.cancel();
    EXPECT_TRUE(analyzer.canceled());
    ASSERT_TRUE(runUntil([&] { return ended.count() > 0; }));
    EXPECT_FALSE(analyzer.isRunning());
    EXPECT_TRUE(isGone(number()));
    EXPECT_EQ(reports.outputs + reports.errors, QStringList());
}

TEST_F(VantrelAnalyzerTest, RunThatIsCancelledAtItsEndReportsNothing) {
    VantrelAnalyzer analyzer(python);
    analyzer.setDelegate(&reports);
    const Endings ended(analyzer);
    analyzer.analyzeCapture(capture, script((tellNumber() + "print('hello')").constData()));
    while (number() == 0 || !isGone(number())) { // without the event loop: its report waits there
        QThread::yieldCurrentThread();
    }
    analyzer.cancel();
    ASSERT_TRUE(runUntil([&] { return ended.count() > 0; }));
    EXPECT_EQ(reports.outputs + reports.errors, QStringList());
}

TEST_F(VantrelAnalyzerTest, RunThatIsCancelledAtOnceDoesNotGoOn) {
    VantrelAnalyzer analyzer(python);
    analyzer.setDelegate(&reports);
    const Endings ended(analyzer);
    analyzer.analyzeCapture(capture, script("time.sleep(600)"));
    analyzer.cancel();
    ASSERT_TRUE(runUntil([&] { return ended.count() > 0; }));
    EXPECT_EQ(reports.outputs + reports.errors, QStringList());
}

TEST_F(VantrelAnalyzerTest, ScriptThatDoesNotWantToEndIsKilledAfterThreeSeconds) {
    VantrelAnalyzer analyzer(python);
    analyzer.setDelegate(&reports);
    const Endings ended(analyzer);
    analyzer.analyzeCapture(
        capture,
        script(("signal.signal(signal.SIGTERM, signal.SIG_IGN)\n" + tellNumber() + "time.sleep(600)").constData()));
    ASSERT_TRUE(runUntil([&] { return number() != 0; }));
    QElapsedTimer time;
    time.start();
    analyzer.cancel();
    ASSERT_TRUE(runUntil([&] { return ended.count() > 0; }));
    EXPECT_GE(time.elapsed(), 2999);
    EXPECT_LT(time.elapsed(), 9000);
    EXPECT_TRUE(isGone(number()));
}

TEST_F(VantrelAnalyzerTest, SetCanceledOnlySilencesTheRun) {
    VantrelAnalyzer analyzer(python);
    analyzer.setDelegate(&reports);
    const Endings ended(analyzer);
    analyzer.analyzeCapture(capture, script(("print('hello')\n" + tellNumber()).constData()));
    analyzer.setCanceled(true);
    ASSERT_TRUE(runUntil([&] { return ended.count() > 0; }));
    EXPECT_NE(number(), 0) << "it ran to its end";
    EXPECT_EQ(reports.outputs, QStringList());
    ASSERT_TRUE(runToItsEnd(analyzer, "print('again')"));
    EXPECT_EQ(reports.outputs, QStringList{QStringLiteral("again\n")}) << "every run begins without";
}

TEST_F(VantrelAnalyzerTest, DestructionEndsTheScript) {
    {
        VantrelAnalyzer analyzer(python);
        analyzer.setDelegate(&reports);
        ASSERT_TRUE(startAndWaitForItsNumber(analyzer, "time.sleep(600)"));
    }
    EXPECT_TRUE(isGone(number()));
    QCoreApplication::processEvents();
    EXPECT_EQ(reports.outputs + reports.errors, QStringList());
}

TEST_F(VantrelAnalyzerTest, AnotherRunTakesThePlaceOfTheFirst) {
    VantrelAnalyzer analyzer(python);
    ASSERT_TRUE(startAndWaitForItsNumber(analyzer, "time.sleep(600)"));
    const pid_t first = number();
    ASSERT_TRUE(runToItsEnd(analyzer, "print('second')"));
    EXPECT_TRUE(isGone(first));
    EXPECT_EQ(reports.outputs, QStringList{QStringLiteral("second\n")});
    EXPECT_EQ(reports.errors, QStringList());
}

TEST_F(VantrelAnalyzerTest, OperationsAreOptional) {
    reports.wantsOutput = false;
    ASSERT_TRUE(runToItsEnd("print('hello')"));
    reports.wantsErrors = false;
    ASSERT_TRUE(runToItsEnd("sys.exit(1)"));
    EXPECT_EQ(reports.outputs + reports.errors, QStringList());
}

TEST_F(VantrelAnalyzerTest, DelegateThatIsGoneIsNone) {
    VantrelAnalyzer analyzer(python);
    EXPECT_EQ(analyzer.delegate(), nullptr);
    const Endings ended(analyzer);
    {
        Reports shortLived;
        analyzer.setDelegate(&shortLived);
        EXPECT_EQ(analyzer.delegate(), &shortLived);
        analyzer.analyzeCapture(capture, script("print('hello')"));
    }
    EXPECT_EQ(analyzer.delegate(), nullptr);
    EXPECT_TRUE(runUntil([&] { return ended.count() > 0; }));
}

TEST_F(VantrelAnalyzerTest, DelegateMayLetGoOfTheAnalyzer) {
    auto analyzer = std::make_unique<VantrelAnalyzer>(python);
    analyzer->setDelegate(&reports);
    reports.then = [&] { analyzer.reset(); };
    analyzer->analyzeCapture(capture, script("print('hello')"));
    EXPECT_TRUE(runUntil([&] { return analyzer == nullptr; }));
}

TEST_F(VantrelAnalyzerTest, MissingInterpreterIsSaidInPlainWords) {
    VantrelAnalyzer analyzer(QStringLiteral("/nowhere/python"));
    ASSERT_TRUE(runToItsEnd(analyzer, "pass"));
    EXPECT_EQ(reports.errors, QStringList{QStringLiteral("The Python interpreter /nowhere/python is not installed.")});
}

TEST_F(VantrelAnalyzerTest, InterpreterThatMayNotBeExecutedIsSaidInPlainWords) {
    VantrelAnalyzer analyzer(QStringLiteral("/etc/passwd"));
    ASSERT_TRUE(runToItsEnd(analyzer, "pass"));
    EXPECT_EQ(reports.errors,
              QStringList{QStringLiteral("The Python interpreter /etc/passwd cannot be started: Permission denied.")});
}

TEST_F(VantrelAnalyzerTest, SystemsInterpreterRunsScripts) {
    EXPECT_EQ(VantrelAnalyzer::systemInterpreter(), QStringLiteral("/usr/bin/python"));
    VantrelAnalyzer analyzer;
    ASSERT_TRUE(runToItsEnd(analyzer, "print('hello')"));
    if (!QFile::exists(VantrelAnalyzer::systemInterpreter())) {
        EXPECT_EQ(reports.errors, QStringList{QStringLiteral("The Python interpreter /usr/bin/python is not installed. "
                                                             "On Debian, the package python-is-python3 provides it.")});
        GTEST_SKIP() << "/usr/bin/python is not installed";
    }
    EXPECT_EQ(reports.outputs, QStringList{QStringLiteral("hello\n")});
}

} // namespace
} // namespace vantrel
