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

// The titles of those that the user could choose, in order.
QString enabled(StatusItem& item) {
    QStringList titles;
    for (const QAction* action : item.menu()->actions()) {
        if (action->isEnabled() && action->isVisible() && !action->isSeparator()) {
            titles << QString(action->text()).remove(u'&');
        }
    }
    return titles.join(u'|');
}

TEST(StatusItem, MenuHoldsTheCommandsInOrder) {
    StatusItem item;
    item.setNetwork(QStringLiteral("home"));
    std::vector<std::string> titles;
    for (const QAction* action : item.menu()->actions()) {
        titles.push_back(action->isSeparator() ? "-" : action->text().toStdString());
    }
    EXPECT_THAT(titles, ElementsAre("&Capture", "Capture All &2.4 GHz", "Capture All &5 GHz", "Capture &All Channels",
                                    "&Stop Capture", "-", "Disconnect from home", "Turn Wi-Fi Off", "-",
                                    "&Preferences…", "&Quit"));
    EXPECT_EQ(item.menu()->accessibleName(), QStringLiteral("Vantrel"));
}

const QString enabledWhenIdle = QStringLiteral("Capture|Capture All 2.4 GHz|Capture All 5 GHz|Capture All Channels|"
                                               "Turn Wi-Fi Off|Quit");

TEST(StatusItem, BeforeACaptureEverythingButStopIsEnabled) {
    StatusItem item;
    EXPECT_EQ(enabled(item), enabledWhenIdle);
}

TEST(StatusItem, DuringACaptureTheCapturesAndQuitAreDisabled) {
    StatusItem item;
    item.setCapturesEnabled(false);
    item.setCapturing(true);
    EXPECT_EQ(enabled(item), QStringLiteral("Stop Capture|Turn Wi-Fi Off"));

    item.setCapturing(false);
    item.setCapturesEnabled(true);
    EXPECT_EQ(enabled(item), enabledWhenIdle);
}

TEST(StatusItem, DisconnectIsThereInANetworkOnlyAndNamesItLiterally) {
    StatusItem item;
    const auto disconnect = [&item]() -> const QAction* {
        for (const QAction* action : item.menu()->actions()) {
            if (action->isVisible() && action->text().startsWith(QStringLiteral("Disconnect"))) {
                return action;
            }
        }
        return nullptr;
    };
    EXPECT_EQ(disconnect(), nullptr);
    item.setNetwork(QStringLiteral("a&b_\t\n\u00e9\U0001F4F6"));
    ASSERT_NE(disconnect(), nullptr);
    EXPECT_EQ(disconnect()->text(), QStringLiteral("Disconnect from a&&b_\ufffd\ufffd\u00e9\U0001F4F6"));
    EXPECT_TRUE(disconnect()->isEnabled());
    item.setNetwork({});
    EXPECT_EQ(disconnect(), nullptr);
}

TEST(StatusItem, PowerCommandOffersTheOther) {
    StatusItem item;
    EXPECT_NE(command(item, QStringLiteral("Turn Wi-Fi Off")), nullptr);
    item.setPowerOn(false);
    EXPECT_EQ(command(item, QStringLiteral("Turn Wi-Fi Off")), nullptr);
    EXPECT_NE(command(item, QStringLiteral("Turn Wi-Fi On")), nullptr);
    item.setPowerOn(true);
    EXPECT_NE(command(item, QStringLiteral("Turn Wi-Fi Off")), nullptr);
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
    item.setNetwork(QStringLiteral("home"));
    QStringList sent;
    const auto note = [&](void (StatusItem::*signal)(), const QString& name) {
        QObject::connect(&item, signal, &item, [&sent, name] { sent << name; });
    };
    note(&StatusItem::captureRequested, QStringLiteral("capture"));
    note(&StatusItem::captureAll2Dot4GHzRequested, QStringLiteral("2.4"));
    note(&StatusItem::captureAll5GHzRequested, QStringLiteral("5"));
    note(&StatusItem::captureAllRequested, QStringLiteral("all"));
    note(&StatusItem::stopRequested, QStringLiteral("stop"));
    note(&StatusItem::disconnectRequested, QStringLiteral("disconnect"));
    note(&StatusItem::turnOnOffRequested, QStringLiteral("power"));
    note(&StatusItem::preferencesRequested, QStringLiteral("pref"));
    note(&StatusItem::quitRequested, QStringLiteral("quit"));
    for (QAction* action : item.menu()->actions()) {
        action->trigger();
    }
    EXPECT_EQ(sent.join(u' '), QStringLiteral("capture 2.4 5 all stop disconnect power pref quit"));
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
