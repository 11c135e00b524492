#include "ui/VantrelScriptPanel.h"

#include "ScriptPanelFixture.h"
#include "ScriptTexts.h"
#include "support/LogCapture.h"

#include <QKeyEvent>
#include <QWheelEvent>

namespace vantrel::ui {
namespace {

QStringList titles(const QComboBox& popUp) {
    QStringList found;
    for (int index = 0; index < popUp.count(); ++index) {
        found << popUp.itemText(index);
    }
    return found;
}

TEST_F(VantrelScriptPanelTest, ComesFromItsInterfaceFileAlone) {
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->capture(), capture);
    EXPECT_EQ(panel->analyzer(), nullptr);
    const vantrel::testing::LogCapture log;
    EXPECT_EQ(VantrelScriptPanel::initWithWindowNibName(QStringLiteral("Other"), capture, settings), nullptr);
    EXPECT_THAT(log.warnings(), ::testing::ElementsAre(QStringLiteral("there is no interface file \"Other\"")));
}

TEST_F(VantrelScriptPanelTest, WithoutScriptsItAsksForOneAtOnce) {
    show({});
    EXPECT_TRUE(panel->isVisible());
    EXPECT_EQ(panel->windowTitle(), QStringLiteral("Launch script for ") + capture);
    EXPECT_FALSE(run().isEnabled());
    EXPECT_FALSE(popUp().isEnabled());
    QFileDialog* dialog = chooser();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowModality(), Qt::WindowModal);
    EXPECT_EQ(dialog->fileMode(), QFileDialog::ExistingFile);
    EXPECT_EQ(dialog->acceptMode(), QFileDialog::AcceptOpen);
    EXPECT_EQ(dialog->labelText(QFileDialog::Accept), QStringLiteral("Launch"));
    EXPECT_EQ(dialog->nameFilters(), QStringList{QStringLiteral("Python scripts (*.py)")});
    panel->onChoose();
    EXPECT_EQ(panel->findChildren<QFileDialog*>().size(), 1) << "one is enough";
    dialog->reject();
    settle();
    EXPECT_EQ(chooser(), nullptr);
    EXPECT_FALSE(run().isEnabled());
    EXPECT_TRUE(panel->isVisible());
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList), QStringList());
}

TEST_F(VantrelScriptPanelTest, VanishedScriptsAreForgotten) {
    const QString kept = script(QStringLiteral("kept & so.py"), "");
    const QString other = script(QStringLiteral("a.py"), "");
    show({QStringLiteral("/nowhere/a.py"), kept, QStringLiteral("/nowhere/b.py"), other});
    EXPECT_EQ(titles(popUp()), (QStringList{kept, other, QString(), QStringLiteral("Clear")}));
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList), (QStringList{kept, other}));
    EXPECT_EQ(panel->sanitizedScrips(), (QStringList{kept, other}));
    EXPECT_EQ(popUp().selectedScript(), kept) << "the first";
    EXPECT_FALSE(popUp().itemIcon(0).isNull());
    EXPECT_EQ(popUp().itemData(1).toString(), other);
    EXPECT_TRUE(run().isEnabled());
    EXPECT_TRUE(popUp().isEnabled());
    EXPECT_EQ(chooser(), nullptr);
}

TEST_F(VantrelScriptPanelTest, AListOfVanishedScriptsIsAnEmptyOne) {
    show({QStringLiteral("/nowhere/a.py")});
    EXPECT_EQ(popUp().count(), 0);
    EXPECT_FALSE(run().isEnabled());
    EXPECT_FALSE(popUp().isEnabled());
    EXPECT_NE(chooser(), nullptr);
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList), QStringList());
}

TEST_F(VantrelScriptPanelTest, LastUsedScriptIsSelected) {
    const QString first = script(QStringLiteral("a.py"), "");
    const QString last = script(QStringLiteral("b.py"), "");
    settings.setString(keys::LastUsedScript, last);
    show({first, last});
    EXPECT_EQ(popUp().selectedScript(), last);
    settings.setString(keys::LastUsedScript, QStringLiteral("Clear"));
    show({first, last});
    EXPECT_EQ(popUp().selectedScript(), first);
}

TEST_F(VantrelScriptPanelTest, ChosenScriptIsAddedOnceAndRunsAtOnce) {
    const QString chosen = script(QStringLiteral("a.py"), "print('hello')");
    show({});
    choose(chosen);
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList), QStringList{chosen});
    EXPECT_EQ(settings.stringForKey(keys::LastUsedScript), chosen);
    EXPECT_EQ(popUp().selectedScript(), chosen);
    EXPECT_TRUE(isRunning());
    ASSERT_TRUE(outputCame());
    settle();
    const QString other = script(QStringLiteral("b.py"), "");
    settings.setStringArray(keys::ScriptList, {other, chosen});
    panel->onChoose();
    choose(chosen);
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList), (QStringList{other, chosen}));
    EXPECT_EQ(popUp().selectedScript(), chosen);
    EXPECT_TRUE(isRunning());
    EXPECT_EQ(output(), QString()) << "cleared at each run";
    ASSERT_TRUE(outputCame());
}

TEST_F(VantrelScriptPanelTest, MissingScriptIsToldAndForgotten) {
    const QString gone = script(QStringLiteral("gone %1 <b>.py"), "");
    show({gone});
    ASSERT_TRUE(QFile::remove(gone));
    run().click();
    ASSERT_NE(alert(), nullptr);
    expectTexts(*alert(), "The script does not exist.", "The script '" + gone.toStdString() + "' cannot be found.");
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(panel->analyzer(), nullptr);
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList), QStringList{gone}) << "until the alert is answered";
    alert()->accept();
    settle();
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList), QStringList());
    EXPECT_EQ(chooser(), nullptr) << "not at once";
    QElapsedTimer time;
    time.start();
    EXPECT_TRUE(runUntil([this] { return chooser() != nullptr; }));
    EXPECT_GE(time.elapsed(), 400);
}

TEST_F(VantrelScriptPanelTest, MissingScriptAmongOthersAsksForNone) {
    const QString gone = script(QStringLiteral("a.py"), "");
    const QString other = script(QStringLiteral("b.py"), "");
    show({gone, other});
    ASSERT_TRUE(QFile::remove(gone));
    panel->onRun();
    ASSERT_NE(alert(), nullptr);
    alert()->accept();
    settle();
    EXPECT_EQ(popUp().selectedScript(), other);
    EXPECT_FALSE(runUntil([this] { return chooser() != nullptr; }, std::chrono::milliseconds(700)));
}

TEST_F(VantrelScriptPanelTest, ClearForgetsAllScripts) {
    const QString one = script(QStringLiteral("a.py"), "");
    show({one, script(QStringLiteral("b.py"), "")});
    ui::choose(popUp(), QStringLiteral("Clear"));
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList), QStringList());
    EXPECT_EQ(popUp().count(), 0);
    EXPECT_FALSE(run().isEnabled());
    EXPECT_FALSE(popUp().isEnabled());
    EXPECT_EQ(chooser(), nullptr);
    EXPECT_TRUE(QFile::exists(one)) << "the scripts themselves stay";
}

void type(QWidget& receiver, int key) {
    for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(kind, key, Qt::NoModifier);
        QApplication::sendEvent(&receiver, &event);
    }
}

TEST_F(VantrelScriptPanelTest, NoKeyOrWheelChoosesInTheClosedPopUp) {
    const QString first = script(QStringLiteral("a.py"), "");
    show({first, script(QStringLiteral("b.py"), "")});
    for (const int key : {Qt::Key_End, Qt::Key_Down, Qt::Key_PageDown, Qt::Key_C}) {
        type(popUp(), key);
        EXPECT_EQ(popUp().selectedScript(), first) << key;
        popUp().hidePopup();
    }
    QWheelEvent turn({5, 5}, popUp().mapToGlobal(QPointF(5, 5)), {}, {0, -1200}, Qt::NoButton, Qt::NoModifier,
                     Qt::NoScrollPhase, false);
    QApplication::sendEvent(&popUp(), &turn);
    EXPECT_EQ(popUp().selectedScript(), first);
    EXPECT_EQ(settings.stringArrayForKey(keys::ScriptList).size(), 2);
}

TEST_F(VantrelScriptPanelTest, EscapeHidesThePanelAndReturnLaunches) {
    show({script(QStringLiteral("a.py"), "print('hello')")});
    type(popUp(), Qt::Key_Return);
    EXPECT_TRUE(isRunning());
    type(*panel, Qt::Key_Escape);
    EXPECT_FALSE(panel->isVisible());
    ASSERT_TRUE(outputCame()) << "the script went on";
    EXPECT_EQ(outFile(), "hello\n");
}

TEST_F(VantrelScriptPanelTest, AlertBringsTheHiddenPanelBack) {
    show({script(QStringLiteral("a.py"), "import sys; sys.exit(1)")});
    run().click();
    panel->close();
    EXPECT_FALSE(panel->isVisible());
    ASSERT_TRUE(alertCame());
    EXPECT_TRUE(panel->isVisible());
}

TEST_F(VantrelScriptPanelTest, PanelThatIsReplacedEndsItsScript) {
    show({script(QStringLiteral("a.py"), "import sys, time\nopen(sys.argv[1] + '.started', 'w')\ntime.sleep(600)")});
    run().click();
    ASSERT_TRUE(runUntil([this] { return QFile::exists(capture + QStringLiteral(".started")); }));
    QElapsedTimer time;
    time.start();
    newPanel();
    EXPECT_LT(time.elapsed(), 2500);
}

TEST_F(VantrelScriptPanelTest, EveryPartHasItsNameAndPlace) {
    show({script(QStringLiteral("a.py"), "")});
    for (const QWidget* part : {static_cast<QWidget*>(&popUp()), static_cast<QWidget*>(panel->outputTextView()),
                                static_cast<QWidget*>(panel->activityIndicator())}) {
        EXPECT_FALSE(part->accessibleName().isEmpty()) << qPrintable(part->objectName());
    }
    EXPECT_TRUE(panel->outputTextView()->isReadOnly());
    EXPECT_TRUE(panel->outputTextView()->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
    EXPECT_TRUE(QFontInfo(panel->outputTextView()->font()).fixedPitch());
    EXPECT_TRUE(run().isDefault());
    QStringList order;
    const QWidget* at = &popUp();
    do {
        if ((at->focusPolicy() & Qt::TabFocus) != 0 && !at->objectName().startsWith(QStringLiteral("qt_"))) {
            order << at->objectName();
        }
        at = at->nextInFocusChain();
    } while (at != &popUp());
    EXPECT_EQ(order.join(u' ').toStdString(), "scriptsPopUpButton chooseButton outputTextView runButton");
    EXPECT_LT(panel->minimumSizeHint().height(), panel->height());
    EXPECT_GT(panel->maximumWidth(), 5000) << "it can be made larger";
}

TEST(ScriptTexts, OutputBeyondAMillionCharactersIsCounted) {
    const QString million(1'000'000, u'x');
    EXPECT_EQ(shownOutput(million), million);
    EXPECT_EQ(shownOutput(million + QStringLiteral("yz")), million + QStringLiteral("\n… and 2 characters more."));
}

} // namespace
} // namespace vantrel::ui
