#include "ui/VantrelProgressPanel.h"

#include "support/LogCapture.h"

#include <QAccessible>
#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QWindow>
#include <gmock/gmock.h>

namespace vantrel::ui {
namespace {

std::unique_ptr<VantrelProgressPanel> newPanel() {
    return VantrelProgressPanel::initWithWindowNibName(QStringLiteral("VantrelProgressPanel"),
                                                       QStringLiteral("ignored"));
}

template <typename Widget>
Widget& part(const QWidget& panel, const char* name) {
    auto* found = panel.findChild<Widget*>(QString::fromLatin1(name));
    EXPECT_NE(found, nullptr) << name;
    return *found;
}

QPushButton& stopButton(const QWidget& panel) { return part<QPushButton>(panel, "stopButton"); }
QPushButton& cancelButton(const QWidget& panel) { return part<QPushButton>(panel, "cancelButton"); }
QProgressBar& indicator(const QWidget& panel) { return part<QProgressBar>(panel, "progressIndicator"); }

void type(QWidget& window, int key) {
    QWidget* receiver = window.focusWidget() != nullptr ? window.focusWidget() : &window;
    for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(kind, key, Qt::NoModifier, key == Qt::Key_Space ? QStringLiteral(" ") : QString());
        QApplication::sendEvent(receiver, &event);
    }
}

struct Listener : VantrelProgressPanelDelegate {
    bool respondsToUserDidStop() const override { return hearsStop; }
    void userDidStop(VantrelProgressPanel& panel) override { stopped.push_back(&panel); }
    bool respondsToUserDidCancel() const override { return hearsCancel; }
    void userDidCancel(VantrelProgressPanel& panel) override { cancelled.push_back(&panel); }

    bool hearsStop = true;
    bool hearsCancel = true;
    std::vector<VantrelProgressPanel*> stopped;
    std::vector<VantrelProgressPanel*> cancelled;
};

TEST(VantrelProgressPanel, ComesFromItsInterfaceFileAlone) {
    EXPECT_NE(newPanel(), nullptr);
    const vantrel::testing::LogCapture log;
    EXPECT_EQ(VantrelProgressPanel::initWithWindowNibName(QStringLiteral("Other"), {}), nullptr);
    EXPECT_THAT(log.warnings(), ::testing::ElementsAre(QStringLiteral("there is no interface file \"Other\"")));
}

TEST(VantrelProgressPanel, MessageIsShownOnlyOnceItIsSet) {
    const auto panel = newPanel();
    const QLabel& label = part<QLabel>(*panel, "messageLabel");
    EXPECT_EQ(label.text(), QString());
    panel->setMessage(QStringLiteral("Frames: 12 (<b>1</b> KB)"));
    EXPECT_EQ(label.text(), QStringLiteral("Frames: 12 (<b>1</b> KB)"));
    EXPECT_EQ(label.textFormat(), Qt::PlainText);
}

TEST(VantrelProgressPanel, ProgressBelow0IsIndeterminate) {
    const auto panel = newPanel();
    EXPECT_EQ(indicator(*panel).maximum(), 0) << "moves until the first refresh";
    panel->setProgress(50);
    EXPECT_EQ(indicator(*panel).maximum(), 100);
    EXPECT_EQ(indicator(*panel).value(), 50);
    panel->setProgress(-1);
    EXPECT_EQ(indicator(*panel).minimum(), indicator(*panel).maximum());
    panel->setProgress(0);
    EXPECT_EQ(indicator(*panel).maximum(), 100);
    EXPECT_EQ(indicator(*panel).value(), 0);
}

TEST(VantrelProgressPanel, OvershootIsShownFullAndKept) {
    const auto panel = newPanel();
    panel->setProgress(1e12);
    EXPECT_EQ(indicator(*panel).value(), 100);
    EXPECT_EQ(panel->progress(), 1e12);
}

TEST(VantrelProgressPanel, ButtonsReachTheDelegateWithThePanel) {
    const auto panel = newPanel();
    Listener listener;
    panel->setDelegate(&listener);
    EXPECT_EQ(panel->delegate(), &listener);
    stopButton(*panel).click();
    EXPECT_THAT(listener.stopped, ::testing::ElementsAre(panel.get()));
    EXPECT_TRUE(listener.cancelled.empty());
    cancelButton(*panel).click();
    EXPECT_THAT(listener.cancelled, ::testing::ElementsAre(panel.get()));
    EXPECT_EQ(listener.stopped.size(), 1U);
}

TEST(VantrelProgressPanel, OperationsThatTheDelegateLacksAreNotCalled) {
    const auto panel = newPanel();
    Listener listener;
    listener.hearsStop = listener.hearsCancel = false;
    panel->setDelegate(&listener);
    panel->onStop();
    panel->onCancel();
    EXPECT_TRUE(listener.stopped.empty());
    EXPECT_TRUE(listener.cancelled.empty());

    VantrelProgressPanelDelegate hearsNothing;
    panel->setDelegate(&hearsNothing);
    panel->onStop();
    panel->onCancel();
}

TEST(VantrelProgressPanel, WithoutADelegateTheButtonsDoNothing) {
    const auto panel = newPanel();
    panel->onStop();
    panel->onCancel();
    auto listener = std::make_unique<Listener>();
    panel->setDelegate(listener.get());
    listener.reset();
    EXPECT_EQ(panel->delegate(), nullptr) << "the reference is weak";
    panel->onStop();
    panel->onCancel();
}

TEST(VantrelProgressPanel, NoStrayKeyEndsTheCapture) {
    const auto panel = newPanel();
    Listener listener;
    panel->setDelegate(&listener);
    panel->makeKeyAndOrderFront();
    QApplication::processEvents();
    for (const int key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        type(*panel, key);
    }
    EXPECT_TRUE(panel->isVisible());
    EXPECT_TRUE(listener.stopped.empty());
    EXPECT_TRUE(listener.cancelled.empty());

    type(*panel, Qt::Key_Tab);
    type(*panel, Qt::Key_Space);
    EXPECT_EQ(listener.stopped.size(), 1U) << "the stop button comes first";
}

TEST(VantrelProgressPanel, ButtonsHaveKeysAndSayWhatTheyDo) {
    const auto panel = newPanel();
    EXPECT_EQ(stopButton(*panel).text(), QStringLiteral("&Stop"));
    EXPECT_EQ(stopButton(*panel).toolTip(), QStringLiteral("End the capture and keep what was captured"));
    EXPECT_EQ(cancelButton(*panel).text(), QStringLiteral("&Cancel"));
    EXPECT_EQ(cancelButton(*panel).toolTip(), QStringLiteral("End the capture and throw it away"));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(panel.get())->role(), QAccessible::Dialog);
    EXPECT_EQ(indicator(*panel).accessibleName(), QStringLiteral("Used part of the file's limit"));
}

TEST(VantrelProgressPanel, WindowManagerOnlyMinimisesIt) {
    const auto panel = newPanel();
    Listener listener;
    panel->setDelegate(&listener);
    panel->makeKeyAndOrderFront();
    QCloseEvent request; // as it comes from the platform
    QApplication::sendEvent(panel->windowHandle(), &request);
    EXPECT_FALSE(request.isAccepted());
    EXPECT_TRUE(panel->isVisible());
    EXPECT_TRUE(panel->isMinimized());
    EXPECT_TRUE(listener.stopped.empty());
    EXPECT_TRUE(listener.cancelled.empty());
}

TEST(VantrelProgressPanel, DoesNotHinderTheProgramFromLeaving) {
    const auto panel = newPanel();
    panel->makeKeyAndOrderFront();
    EXPECT_TRUE(panel->close());
    EXPECT_FALSE(panel->isVisible());
}

TEST(VantrelProgressPanel, DroppedFramesAreALineOnlyWhenThereAreAny) {
    const auto panel = newPanel();
    panel->makeKeyAndOrderFront();
    const QLabel& label = part<QLabel>(*panel, "droppedFramesLabel");
    EXPECT_FALSE(label.isVisible());
    panel->setDroppedFrames(7);
    EXPECT_TRUE(label.isVisible());
    EXPECT_EQ(label.text().toStdString(), "7 frames lost: they came faster than this computer could take them.");
    EXPECT_TRUE(part<QLabel>(*panel, "droppedFramesIcon").isVisible());
    panel->setDroppedFrames(0);
    EXPECT_FALSE(label.isVisible());
}

TEST(VantrelProgressPanel, StandsInTheMiddleAndKeepsItsWidth) {
    const auto panel = newPanel();
    panel->setMessage(QStringLiteral("Frames: 1 (60 bytes)"));
    panel->center();
    panel->makeKeyAndOrderFront();
    QApplication::processEvents();
    const QPoint middle = panel->screen()->availableGeometry().center();
    EXPECT_LE((panel->geometry().center() - middle).manhattanLength(), 60) << "but for the title bar";
    const int width = panel->width();
    panel->setMessage(QStringLiteral("File 3 out of 10, frames: 123456 (75.24 MB)"));
    QApplication::processEvents();
    EXPECT_EQ(panel->width(), width);
    panel->orderOut();
    EXPECT_FALSE(panel->isVisible());
}

} // namespace
} // namespace vantrel::ui
