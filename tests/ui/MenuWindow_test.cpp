#include "ui/MenuWindow.h"

#include "support/EventLoop.h"
#include "ui/MenuOutlets.h"
#include "ui/StatusItem.h"
#include "ui/StatusMenu.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QPushButton>
#include <QWindow>
#include <gmock/gmock.h>

namespace vantrel::ui {
namespace {

class MenuWindowTest : public ::testing::Test {
protected:
    bool appears() {
        return testing::runUntil([this] { return window.isVisible(); });
    }
    // As the window manager does it for the user.
    void close() {
        QCloseEvent request; // as it comes from the platform
        QApplication::sendEvent(window.windowHandle(), &request);
        EXPECT_FALSE(request.isAccepted());
    }

    StatusMenu menu;
    StatusItem item{*menu.menu()};
    MenuWindow window{item, menu, std::chrono::milliseconds(1)};
};

TEST_F(MenuWindowTest, HoldsTheTitleAndTheMenuItself) {
    EXPECT_FALSE(window.isVisible()) << "not before the item had time to find a place";
    ASSERT_TRUE(appears());
    window.findChild<QPushButton*>()->click();
    EXPECT_TRUE(menu.menu()->isVisible());
    menu.menu()->hide();
    item.setTitle({.powerOn = false, .displayChannel = true});
    QStringList texts;
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        texts << label->text();
    }
    EXPECT_EQ(texts.join(u'|'), QStringLiteral("Vantrel: Off|This desktop shows no tray, so the menu is here."));
}

TEST_F(MenuWindowTest, GoesWhenTheItemHasFoundItsPlace) {
    ASSERT_TRUE(appears());
    Q_EMIT item.shown();
    EXPECT_FALSE(window.isVisible());
}

TEST_F(MenuWindowTest, ClosingItQuits) {
    int quits = 0;
    QObject::connect(&menu, &StatusMenu::quitRequested, &menu, [&] { ++quits; });
    ASSERT_TRUE(appears());
    close();
    EXPECT_EQ(quits, 1);
}

TEST_F(MenuWindowTest, ClosingItDuringACaptureOnlyMinimisesIt) {
    int quits = 0;
    QObject::connect(&menu, &StatusMenu::quitRequested, &menu, [&] { ++quits; });
    ASSERT_TRUE(appears());
    menu.disableCaptures();
    close();
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(window.isMinimized());
}

TEST_F(MenuWindowTest, DoesNotObjectWhenTheProgramCloses) {
    ASSERT_TRUE(appears());
    menu.disableCaptures();
    EXPECT_TRUE(window.close());
}

} // namespace
} // namespace vantrel::ui
