#include "ui/StatusItem.h"

#include <QFile>
#include <QMenu>
#include <QStringList>
#include <QSvgRenderer>
#include <gtest/gtest.h>

namespace vantrel::ui {
namespace {

class StatusItemTest : public ::testing::Test {
protected:
    static TitleState channel36() {
        return {.powerOn = true,
                .channelNumber = 36,
                .channelWidthMHz = 80,
                .displayChannel = true,
                .displayChannelWidth = true};
    }

    QMenu menu;
    StatusItem item{menu};
};

TEST_F(StatusItemTest, ToolTipHoldsTitleCaptureAndNote) {
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel"));
    item.setTitle(channel36());
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 36 (80 MHz)"));
    item.setNote(QStringLiteral("simulated"));
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 36 (80 MHz) (simulated)"));
    item.setCapturing(true);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 36 (80 MHz), capturing (simulated)"));
    item.setTitle({.powerOn = true});
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: capturing (simulated)"));
    item.setCapturing(false);
    item.setNote(QString());
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel"));
}

TEST_F(StatusItemTest, ToolTipShowsAnUpload) {
    TitleState title = channel36();
    title.uploadProgress = 37;
    item.setTitle(title);
    EXPECT_EQ(item.toolTip(), QStringLiteral("Vantrel: 37%"));
}

TEST_F(StatusItemTest, ToolTipIsAnnouncedOnceForEachChange) {
    QStringList announced;
    QObject::connect(&item, &StatusItem::toolTipChanged, &item, [&](const QString& text) { announced << text; });
    for (int times = 0; times < 2; ++times) {
        item.setTitle(channel36());
        item.setCapturing(true);
        item.setNote(QStringLiteral("x"));
    }
    EXPECT_EQ(announced.join(u'|'), QStringLiteral("Vantrel: 36 (80 MHz)|Vantrel: 36 (80 MHz), capturing|"
                                                   "Vantrel: 36 (80 MHz), capturing (x)"));
}

TEST_F(StatusItemTest, WithoutAPlaceItStaysHiddenAndTheMenuStillPopsUp) {
    menu.addAction(QStringLiteral("Quit"));
    item.popUpMenu();
    EXPECT_FALSE(item.isShown());
    EXPECT_TRUE(menu.isVisible());
    menu.hide();
}

TEST_F(StatusItemTest, BothPicturesAreInTheProgram) {
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
