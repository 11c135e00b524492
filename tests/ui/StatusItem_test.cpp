#include "ui/StatusItem.h"

#include <QAction>
#include <QFile>
#include <QSvgRenderer>
#include <gmock/gmock.h>

namespace vantrel::ui {
namespace {

using ::testing::ElementsAre;

// The command of this title, looked up as the user reads it.
QAction* command(StatusItem& item, const QString& title) {
    for (QAction* action : item.menu()->actions()) {
        if (QString(action->text()).remove(u'&') == title) {
            return action;
        }
    }
    return nullptr;
}

bool isEnabled(StatusItem& item, const QString& title) {
    const QAction* action = command(item, title);
    return action != nullptr && action->isEnabled();
}

TEST(StatusItem, MenuHoldsTheCommandsInOrder) {
    StatusItem item;
    std::vector<std::string> titles;
    for (const QAction* action : item.menu()->actions()) {
        titles.push_back(action->isSeparator() ? "-" : action->text().toStdString());
    }
    EXPECT_THAT(titles, ElementsAre("&Capture", "&Stop Capture", "-", "&Preferences…", "&Quit"));
    EXPECT_EQ(item.menu()->accessibleName(), QStringLiteral("Vantrel"));
}

TEST(StatusItem, BeforeACaptureOnlyCaptureAndQuitAreEnabled) {
    StatusItem item;
    EXPECT_TRUE(isEnabled(item, QStringLiteral("Capture")));
    EXPECT_FALSE(isEnabled(item, QStringLiteral("Stop Capture")));
    EXPECT_FALSE(isEnabled(item, QStringLiteral("Preferences…")));
    EXPECT_TRUE(isEnabled(item, QStringLiteral("Quit")));
}

TEST(StatusItem, DuringACaptureOnlyStopIsEnabled) {
    StatusItem item;
    item.setCapturesEnabled(false);
    item.setCapturing(true);
    EXPECT_FALSE(isEnabled(item, QStringLiteral("Capture")));
    EXPECT_TRUE(isEnabled(item, QStringLiteral("Stop Capture")));
    EXPECT_FALSE(isEnabled(item, QStringLiteral("Quit")));

    item.setCapturing(false);
    item.setCapturesEnabled(true);
    EXPECT_TRUE(isEnabled(item, QStringLiteral("Capture")));
    EXPECT_FALSE(isEnabled(item, QStringLiteral("Stop Capture")));
    EXPECT_TRUE(isEnabled(item, QStringLiteral("Quit")));
}

TEST(StatusItem, DisabledPreferencesSayWhy) {
    StatusItem item;
    EXPECT_EQ(command(item, QStringLiteral("Preferences…"))->toolTip(),
              QStringLiteral("The preferences window is not part of this version."));
    item.setPreferencesEnabled(true);
    EXPECT_TRUE(isEnabled(item, QStringLiteral("Preferences…")));
}

TEST(StatusItem, EachCommandSendsItsOwnSignal) {
    StatusItem item;
    item.setCapturing(true);
    item.setPreferencesEnabled(true);
    QStringList sent;
    QObject::connect(&item, &StatusItem::captureRequested, &item, [&] { sent.append(QStringLiteral("capture")); });
    QObject::connect(&item, &StatusItem::stopRequested, &item, [&] { sent.append(QStringLiteral("stop")); });
    QObject::connect(&item, &StatusItem::preferencesRequested, &item, [&] { sent.append(QStringLiteral("pref")); });
    QObject::connect(&item, &StatusItem::quitRequested, &item, [&] { sent.append(QStringLiteral("quit")); });
    for (QAction* action : item.menu()->actions()) {
        action->trigger();
    }
    EXPECT_EQ(sent.join(u' '), QStringLiteral("capture stop pref quit"));
}

TEST(StatusItem, NoteStandsInParenthesesAfterTheToolTip) {
    StatusItem item;
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel"));
    item.setNote(QStringLiteral("simulated"));
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel (simulated)"));
    item.setToolTip(QStringLiteral("%1"));
    EXPECT_EQ(item.toolTip(), QStringLiteral("%1 (simulated)"));
    item.setNote(QString());
    EXPECT_EQ(item.toolTip(), QStringLiteral("%1"));
}

TEST(StatusItem, WithoutAPlaceItStaysHiddenAndTheMenuStillPopsUp) {
    StatusItem item;
    item.popUpMenu();
    EXPECT_FALSE(item.isShown());
    EXPECT_TRUE(item.menu()->isVisible());
    item.menu()->hide();
}

TEST(StatusItem, BothPicturesAreInTheProgram) {
    StatusItem item;
    for (const QString& name : {QStringLiteral("VantrelInMenu"), QStringLiteral("VantrelInMenuCapturing")}) {
        QFile file(QStringLiteral(":/vantrel/ui/%1.svg").arg(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
        const QByteArray drawing = file.readAll();
        EXPECT_TRUE(QSvgRenderer(drawing).isValid());
        EXPECT_TRUE(drawing.contains("#000000")) << "the tint replaces this colour";
    }
}

} // namespace
} // namespace vantrel::ui
