#include "ui/NotificationWindow.h"

#include "base/Translated.h"
#include "ui/ApplicationIcon.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFontInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace vantrel::ui {

namespace {
constexpr int iconSize = 48;
constexpr int widthInLetters = 44; // at least
constexpr int gap = 12;            // pixels to the screen's edge and to the window above

QLabel* newLine(const QString& text) {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    label->setVisible(!text.isEmpty());
    return label;
}

// Names of files have no spaces to break at: what is too long is cut in the middle, and whole in the tool tip.
void fit(QLabel& label, int width) {
    const QString whole = label.text();
    label.setText(label.fontMetrics().elidedText(whole, Qt::ElideMiddle, width));
    if (label.text() != whole) {
        label.setToolTip(whole);
        label.setAccessibleName(whole);
    }
}
} // namespace

void NotificationWindow::present(const UserNotification& notification, std::function<void()> show) {
    auto* window = new NotificationWindow(notification, std::move(show));
    window->place();
    window->QDialog::show();
    window->raise();
}

NotificationWindow::NotificationWindow(const UserNotification& notification, std::function<void()> show) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                   Qt::WindowStaysOnTopHint);
    setWindowTitle(QStringLiteral("Vantrel"));
    auto* icon = new QLabel;
    icon->setPixmap(applicationIcon().pixmap(iconSize));
    QLabel* title = newLine(notification.title);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    QLabel* subtitle = newLine(notification.subtitle);
    QLabel* text = newLine(notification.informativeText);
    for (QLabel* wrapped : {title, text}) {
        wrapped->setWordWrap(true);
    }
    const int width = widthInLetters * fontMetrics().averageCharWidth();
    fit(*subtitle, width);
    title->setMinimumWidth(
        std::clamp(title->fontMetrics().horizontalAdvance(notification.title) + 1, width, 2 * width));

    auto* buttons = new QDialogButtonBox;
    QPushButton* shows =
        buttons->addButton(translated(QT_TRANSLATE_NOOP("vantrel", "&Show")), QDialogButtonBox::AcceptRole);
    QPushButton* dismisses = buttons->addButton(u'&' + notification.otherButtonTitle, QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    connect(shows, &QPushButton::clicked, this, [this, show = std::move(show)] {
        close();
        show();
    });
    shows->setAutoDefault(false);
    dismisses->setDefault(true); // a stray key only takes the window away
    dismisses->setFocus();

    auto* lines = new QVBoxLayout;
    lines->setSpacing(3);
    for (QLabel* line : {title, subtitle, text}) {
        lines->addWidget(line);
    }
    lines->addStretch();
    auto* upper = new QHBoxLayout;
    upper->setSpacing(14);
    upper->addWidget(icon, 0, Qt::AlignTop);
    upper->addLayout(lines, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 14, 16, 12);
    layout->setSpacing(12);
    layout->addLayout(upper);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void NotificationWindow::place() {
    adjustSize();
    const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
    int top = free.top() + gap;
    for (const QWidget* other : QApplication::topLevelWidgets()) {
        if (other != this && other->isVisible() && qobject_cast<const NotificationWindow*>(other) != nullptr) {
            top = std::max(top, other->frameGeometry().bottom() + 1 + gap);
        }
    }
    if (top + height() > free.bottom()) {
        top = free.top() + gap; // the screen is full: over the first
    }
    move(free.right() - width() - gap, top);
}

} // namespace vantrel::ui
