#include "ui/MenuWindow.h"

#include "base/Translated.h"
#include "ui/MenuOutlets.h"
#include "ui/StatusItem.h"
#include "ui/StatusMenu.h"

#include <QAction>
#include <QCloseEvent>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace vantrel::ui {

namespace {
const QString windowName = QStringLiteral("Vantrel");
constexpr char reason[] = QT_TRANSLATE_NOOP("vantrel", "This desktop shows no tray, so the menu is here.");
constexpr char buttonTitle[] = QT_TRANSLATE_NOOP("vantrel", "&Menu");
constexpr int margin = 18; // pixels, as around the progress panel
} // namespace

MenuWindow::MenuWindow(StatusItem& item, StatusMenu& menu, std::chrono::milliseconds wait) : _item(item), _menu(menu) {
    setWindowTitle(windowName);
    auto* status = new QLabel(item.toolTip());
    status->setTextFormat(Qt::PlainText);
    auto* button = new QPushButton(translated(buttonTitle));
    // Not setMenu(): a button that is pressed by a screen reader would not answer it until that menu is closed.
    connect(button, &QPushButton::clicked, this, [button, shown = menu.menu()] {
        shown->popup(button->mapToGlobal(button->rect().bottomLeft()));
        shown->activateWindow();
    });
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(status);
    layout->addWidget(new QLabel(translated(reason)));
    layout->addWidget(button);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin / 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    connect(&item, &StatusItem::toolTipChanged, status, &QLabel::setText);
    connect(&item, &StatusItem::shown, this, &QWidget::hide);
    QTimer::singleShot(wait, this, &MenuWindow::showWithoutTray);
}

void MenuWindow::showWithoutTray() {
    if (!_item.isShown()) {
        show();
    }
}

void MenuWindow::closeEvent(QCloseEvent* event) {
    // Spontaneous: from the window manager. Otherwise from QApplication::quit(), which an ignored event would stop.
    if (!event->spontaneous()) {
        event->accept();
        return;
    }
    event->ignore();
    if (QAction* quit = _menu.item(outlets::quitMenuItem); quit->isEnabled()) {
        quit->trigger();
    } else {
        showMinimized();
    }
}

} // namespace vantrel::ui
