#include "PaneParts.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QPalette>
#include <QRadioButton>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace vantrel::preferences {
namespace {

class PaneParts : public ::testing::Test {
protected:
    ~PaneParts() override { QApplication::setPalette(_before); }

    // As a desktop of these colours does it.
    void paint(const QColor& text, const QColor& ground) {
        QPalette palette = _before;
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Window, ground);
        QApplication::setPalette(palette);
    }
    [[nodiscard]] static QString shown(const QString& path, int width = 10'000) {
        return shownPath(path, QWidget(), width);
    }

    const QPalette _before = QApplication::palette();
};

TEST_F(PaneParts, ImagesHaveTheColourOfTheText) {
    paint(QColor(240, 250, 230), Qt::black);
    for (const auto& name : {QStringLiteral("General"), QStringLiteral("Advanced"), QStringLiteral("Services")}) {
        const QImage image = paneImage(name).pixmap(32, 32).toImage();
        int drawn = 0;
        for (int at = 0; at < image.width() * image.height(); ++at) {
            const QColor pixel = image.pixelColor(at % image.width(), at / image.width());
            if (pixel.alpha() == 255) {
                EXPECT_EQ(pixel, QColor(240, 250, 230)) << qPrintable(name);
                ++drawn;
            }
        }
        EXPECT_GT(drawn, 20) << qPrintable(name);
    }
}

TEST_F(PaneParts, FramesOfBoxesShowOnADarkWindow) {
    QWidget pane;
    QVBoxLayout rows(&pane);
    QCheckBox box;
    QRadioButton radio;
    rows.addWidget(&box);
    rows.addWidget(&radio);
    paint(QColor(200, 200, 200), QColor(0, 0, 0));
    improveContrast(pane);
    EXPECT_EQ(box.palette().color(QPalette::Window), QColor(100, 100, 100));
    EXPECT_EQ(radio.palette().color(QPalette::Window), QColor(100, 100, 100));
    QApplication::setPalette(_before);
    improveContrast(pane);
    EXPECT_EQ(box.palette().color(QPalette::Window), _before.color(QPalette::Window)) << "as the style has it";
}

TEST_F(PaneParts, PathsStayOnOneLineAndReadFromLeftToRight) {
    EXPECT_EQ(shown(QStringLiteral("/a\u202Eb\nc\u2028d\u200Fe")),
              QStringLiteral("\u2066/a\uFFFDb\uFFFDc\uFFFDd\uFFFDe\u2069"));
    EXPECT_EQ(shown(QStringLiteral("/\u05D0\u05D1/x")), QStringLiteral("\u2066/\u05D0\u05D1/x\u2069"));
}

TEST_F(PaneParts, TheHomeFolderIsShortened) {
    const QString home = QDir::homePath();
    EXPECT_EQ(shown(home), QStringLiteral("\u2066~\u2069"));
    EXPECT_EQ(shown(home + QStringLiteral("/x")), QStringLiteral("\u2066~/x\u2069"));
    EXPECT_EQ(shown(home + QStringLiteral("x")), QStringLiteral("\u2066%1x\u2069").arg(home)) << "somebody else's";
}

} // namespace
} // namespace vantrel::preferences
