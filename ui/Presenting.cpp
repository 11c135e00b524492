#include "Presenting.h"
#include "base/Translated.h"

#include <QCheckBox>
#include <QCursor>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <algorithm>

namespace vantrel::ui {

namespace {
constexpr int widestInLetters = 80;
constexpr int besidesText = 200; // pixels of the screen that an alert keeps for its icon and its edges

// Wrapped lines of a program's errors are hard to read, and they are longer than those of a message.
void widenToLines(const QMessageBox& alert, const QString& informativeText) {
    auto* label = alert.findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel"));
    if (label == nullptr || !informativeText.contains(u'\n')) {
        return;
    }
    const QFontMetrics letters = label->fontMetrics();
    const QMargins around = label->contentsMargins();
    const int wanted = letters.size(Qt::TextExpandTabs, informativeText).width() + 1;
    const int room = std::min(widestInLetters * letters.averageCharWidth(),
                              alert.screen()->availableGeometry().width() - besidesText);
    label->setMinimumWidth(around.left() + std::max(0, std::min(wanted, room)) + around.right());
}
} // namespace

void orderFront(QWidget& window) {
    window.show();
    window.raise();
    window.activateWindow();
}

void orderFrontModally(QWidget& window) {
    window.setWindowModality(Qt::ApplicationModal);
    orderFront(window);
}

void center(QWidget& window) {
    const QScreen* at = QGuiApplication::screenAt(QCursor::pos());
    const QRect free = (at != nullptr ? at : QGuiApplication::primaryScreen())->availableGeometry();
    window.adjustSize();
    window.move(free.center() - window.rect().center());
}

void setTexts(QMessageBox& alert, const QString& messageText, const QString& informativeText) {
    alert.setWindowTitle(QStringLiteral("Vantrel"));
    alert.setText(messageText);
    alert.setInformativeText(informativeText);
    alert.setTextFormat(Qt::PlainText);
    // The call above leaves the informative text to guess its format.
    for (QLabel* label : alert.findChildren<QLabel*>()) {
        label->setTextFormat(Qt::PlainText);
    }
}

QCheckBox* addSuppression(QMessageBox& alert) {
    auto* suppression = new QCheckBox(translated(QT_TRANSLATE_NOOP("vantrel", "Do not show this message again")));
    alert.setCheckBox(suppression);
    return suppression;
}

QMessageBox* newWarningSheet(QWidget& window, const QString& messageText, const QString& informativeText) {
    window.show();
    auto* alert = new QMessageBox(&window);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setIcon(QMessageBox::Warning);
    setTexts(*alert, messageText, informativeText);
    widenToLines(*alert, informativeText);
    alert->setStandardButtons(QMessageBox::Ok);
    alert->setDefaultButton(QMessageBox::Ok);
    return alert;
}

} // namespace vantrel::ui
