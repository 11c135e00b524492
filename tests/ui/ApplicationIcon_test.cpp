#include "ui/ApplicationIcon.h"

#include <QImage>
#include <QPixmap>
#include <gtest/gtest.h>

namespace vantrel::ui {
namespace {

TEST(ApplicationIcon, IsDrawnInEverySizeOfADesktop) {
    const QIcon icon = applicationIcon();
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        const QImage picture = icon.pixmap(size).toImage();
        ASSERT_EQ(picture.size(), QSize(size, size));
        EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0) << "the corner is free at " << size;
        const QColor ground = picture.pixelColor(size / 16, size / 2);
        EXPECT_GT(ground.blue(), ground.red() + 60) << "the ground is blue at " << size;
        const QColor funnel = picture.pixelColor(size / 2, size * 5 / 8);
        EXPECT_GT(funnel.red(), funnel.blue() + 60) << "the funnel is yellow at " << size;
    }
}

} // namespace
} // namespace vantrel::ui
