#include "ui/AboutPanel.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTextBlock>
#include <QTextBrowser>
#include <gtest/gtest.h>
#include <set>

namespace vantrel::ui {
namespace {

// The colours of all the credits' characters.
std::set<QRgb> colours(const QTextBrowser& credits) {
    std::set<QRgb> found;
    for (QTextBlock block = credits.document()->begin(); block.isValid(); block = block.next()) {
        for (auto piece = block.begin(); !piece.atEnd(); ++piece) {
            found.insert(piece.fragment().charFormat().foreground().color().rgb());
        }
    }
    return found;
}

class AboutPanelTest : public ::testing::Test {
protected:
    QString texts() const {
        QStringList found;
        for (const QLabel* label : panel.findChildren<QLabel*>()) {
            found << (label->text().isEmpty() ? label->accessibleName() : label->text());
        }
        return found.join(u'|');
    }

    AboutPanel panel{QStringLiteral("2.1b3")};
    QTextBrowser& credits = *panel.findChild<QTextBrowser*>();
};

TEST_F(AboutPanelTest, NamesTheProgramAndItsVersion) {
    EXPECT_EQ(texts(), QStringLiteral("The icon of Vantrel|Vantrel|Version 2.1b3"));
    EXPECT_EQ(credits.accessibleName(), QStringLiteral("Credits"));
}

TEST_F(AboutPanelTest, CreditsAreStyledTextInTheColourOfALabel) {
    EXPECT_TRUE(credits.toPlainText().startsWith(QStringLiteral("Made by"))) << qPrintable(credits.toPlainText());
    EXPECT_TRUE(credits.toHtml().contains(QStringLiteral("font-weight")));
    EXPECT_EQ(colours(credits), std::set{panel.palette().color(QPalette::Active, QPalette::WindowText).rgb()});
}

TEST_F(AboutPanelTest, CreditsFollowTheTheme) {
    panel.setPalette(QPalette(QColor(Qt::black)));
    EXPECT_EQ(colours(credits), std::set{panel.palette().color(QPalette::Active, QPalette::WindowText).rgb()});
    EXPECT_GT(qGray(*colours(credits).begin()), 128);
}

TEST_F(AboutPanelTest, ClosesAndComesAgain) {
    for (int times = 0; times < 2; ++times) {
        panel.orderFront();
        EXPECT_TRUE(panel.isVisible());
        panel.findChild<QPushButton*>()->click();
        EXPECT_FALSE(panel.isVisible());
    }
}

} // namespace
} // namespace vantrel::ui
