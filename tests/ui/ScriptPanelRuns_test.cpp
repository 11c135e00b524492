// What the script panel does with what becomes of a script.
#include "ScriptPanelFixture.h"
#include "support/LogCapture.h"

#include <QCheckBox>

namespace vantrel::ui {
namespace {

using ScriptPanelRuns = VantrelScriptPanelTest;

TEST_F(ScriptPanelRuns, OutputIsShownAndWrittenBesideTheCapture) {
    show({script(QStringLiteral("a.py"), "print('hällo')")});
    EXPECT_TRUE(isIdle());
    run().click();
    EXPECT_TRUE(isRunning());
    EXPECT_TRUE(run().isEnabled());
    EXPECT_FALSE(popUp().isEnabled()) << "its clearing item would take the button away";
    ASSERT_TRUE(outputCame());
    settle();
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(popUp().isEnabled());
    EXPECT_EQ(outFile(), "hällo\n");
    EXPECT_EQ(output(), QStringLiteral("hällo\n"));
    EXPECT_TRUE(panel->isVisible());
    EXPECT_EQ(alert(), nullptr);
}

TEST_F(ScriptPanelRuns, OutputReplacesThatOfAnEarlierRun) {
    QFile old(capture + QStringLiteral(".out"));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("much longer than what comes");
    old.close();
    show({script(QStringLiteral("a.py"), "import sys; sys.stdout.write(sys.argv[1][-6:])")});
    run().click();
    ASSERT_TRUE(outputCame());
    EXPECT_EQ(outFile(), "b.pcap");
}

TEST_F(ScriptPanelRuns, OutputThatCannotBeWrittenIsOnlyLogged) {
    panel->setCapture(QStringLiteral("/nowhere/b.pcap"));
    const vantrel::testing::LogCapture log;
    show({script(QStringLiteral("a.py"), "print('hello')")});
    run().click();
    ASSERT_TRUE(outputCame());
    settle();
    EXPECT_EQ(alert(), nullptr);
    EXPECT_THAT(log.warnings().join(u'\n').toStdString(),
                ::testing::HasSubstr("writing /nowhere/b.pcap.out failed: No such file or directory"));
}

TEST_F(ScriptPanelRuns, OutputClosesThePanelWhenTheUserWantsThat) {
    settings.setBool(keys::ScriptPanelAutoClose, true);
    show({script(QStringLiteral("a.py"), "print('hello')")});
    run().click();
    EXPECT_TRUE(runUntil([this] { return !panel->isVisible(); }));
    EXPECT_EQ(outFile(), "hello\n");
    EXPECT_TRUE(isIdle());
}

TEST_F(ScriptPanelRuns, FailureShowsTheErrors) {
    settings.setBool(keys::ScriptPanelAutoClose, true);
    show({script(QStringLiteral("a.py"), "import sys; print('out'); sys.stderr.write('<b>boom'); sys.exit(1)")});
    run().click();
    ASSERT_TRUE(alertCame());
    expectTexts(*alert(), "The script failed to run.", "<b>boom");
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(output(), QStringLiteral("<b>boom"));
    alert()->accept();
    settle();
    EXPECT_TRUE(panel->isVisible()) << "it stays open";
    EXPECT_FALSE(hasOutFile());
}

TEST_F(ScriptPanelRuns, LongErrorsFitOnTheScreen) {
    show({script(QStringLiteral("a.py"), "import sys\n"
                                         "for line in range(1000): print('line', line, file=sys.stderr)\n"
                                         "sys.exit(1)")});
    run().click();
    ASSERT_TRUE(alertCame());
    const QString information = alert()->informativeText();
    EXPECT_TRUE(information.startsWith(QStringLiteral("…\nline 980\n"))) << qPrintable(information);
    EXPECT_TRUE(information.endsWith(QStringLiteral("line 999\n")));
    EXPECT_TRUE(output().startsWith(QStringLiteral("line 0\n"))) << "all of them stand in the panel";
}

TEST_F(ScriptPanelRuns, MissingInterpreterIsAFailure) {
    panel = VantrelScriptPanel::initWithWindowNibName(QStringLiteral("VantrelScriptPanel"), capture, settings,
                                                      QStringLiteral("/nowhere/python"));
    show({script(QStringLiteral("a.py"), "")});
    run().click();
    ASSERT_TRUE(alertCame());
    expectTexts(*alert(), "The script failed to run.", "The Python interpreter /nowhere/python is not installed.");
}

TEST_F(ScriptPanelRuns, EmptyOutputIsToldUntilTheUserHasEnoughOfIt) {
    show({script(QStringLiteral("a.py"), "pass")});
    run().click();
    ASSERT_TRUE(alertCame());
    expectTexts(*alert(), "No output was produced.", "The script terminated successfully but no output was produced.");
    EXPECT_TRUE(isIdle());
    EXPECT_FALSE(hasOutFile());
    ASSERT_NE(alert()->checkBox(), nullptr);
    EXPECT_FALSE(alert()->checkBox()->isChecked());
    alert()->accept();
    settle();
    EXPECT_FALSE(settings.boolForKey(keys::SuppressNoOutputAlert));
    EXPECT_TRUE(panel->isVisible());
    run().click();
    ASSERT_TRUE(alertCame());
    alert()->checkBox()->click();
    alert()->reject(); // the Escape key
    settle();
    EXPECT_TRUE(settings.boolForKey(keys::SuppressNoOutputAlert));
    run().click();
    ASSERT_TRUE(runUntil([this] { return isIdle(); }));
    settle();
    EXPECT_EQ(alert(), nullptr);
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(ScriptPanelRuns, EmptyOutputClosesThePanelOnceItsAlertIsAnswered) {
    settings.setBool(keys::ScriptPanelAutoClose, true);
    show({script(QStringLiteral("a.py"), "pass")});
    run().click();
    ASSERT_TRUE(alertCame());
    EXPECT_TRUE(panel->isVisible());
    alert()->accept();
    EXPECT_TRUE(runUntil([this] { return !panel->isVisible(); }));
    settings.setBool(keys::SuppressNoOutputAlert, true);
    show({script(QStringLiteral("a.py"), "pass")});
    run().click();
    EXPECT_TRUE(runUntil([this] { return !panel->isVisible(); })) << "without an alert too";
}

TEST_F(ScriptPanelRuns, StopEndsTheScriptAndTellsNothing) {
    show({script(QStringLiteral("a.py"), "import sys, time\n"
                                         "print('something', flush=True)\n"
                                         "open(sys.argv[1] + '.started', 'w')\n"
                                         "time.sleep(600)")});
    run().click();
    ASSERT_TRUE(runUntil([this] { return QFile::exists(capture + QStringLiteral(".started")); }));
    run().click();
    EXPECT_TRUE(isIdle()) << "at once";
    ASSERT_TRUE(runUntil([this] { return !panel->analyzer()->isRunning(); }));
    settle();
    EXPECT_EQ(alert(), nullptr);
    EXPECT_EQ(output(), QString());
    EXPECT_FALSE(hasOutFile());
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(ScriptPanelRuns, LaunchDoesNotWaitForTheScriptThatWasStopped) {
    const QString stubborn = script(QStringLiteral("a.py"), "import signal, sys, time\n"
                                                            "signal.signal(signal.SIGTERM, signal.SIG_IGN)\n"
                                                            "open(sys.argv[1] + '.started', 'w')\n"
                                                            "time.sleep(600)");
    const QString quick = script(QStringLiteral("b.py"), "print('quick')");
    show({stubborn, quick});
    run().click();
    ASSERT_TRUE(runUntil([this] { return QFile::exists(capture + QStringLiteral(".started")); }));
    run().click();
    ui::choose(popUp(), quick);
    QElapsedTimer time;
    time.start();
    run().click();
    ASSERT_TRUE(outputCame());
    EXPECT_LT(time.elapsed(), 2500);
    EXPECT_EQ(output(), QStringLiteral("quick\n"));
}

} // namespace
} // namespace vantrel::ui
