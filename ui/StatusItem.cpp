#include "ui/StatusItem.h"

#include "Glyph.h"
#include "TrayColour.h"
#include "TrayHost.h"
#include "base/Translated.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QWidget>

namespace vantrel::ui {

namespace {
const QString applicationName = QStringLiteral("Vantrel");
constexpr char capturingMark[] = QT_TRANSLATE_NOOP("vantrel", "capturing");

// In an XEmbed tray the item is a window, of a class that Qt keeps to itself, and without a name for screen readers.
void nameXEmbedWindow(const QString& name) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->inherits("QSystemTrayIconSys")) {
            window->setAccessibleName(name);
        }
    }
}
} // namespace

StatusItem::StatusItem(QMenu& menu)
    : _menu(menu),
      _pictures(std::make_unique<StatusIcons>()),
      _colour(std::make_unique<TrayColour>()),
      _host(std::make_unique<TrayHost>()) {
    connect(_colour.get(), &TrayColour::changed, this, &StatusItem::updateIcon);
    connect(_host.get(), &TrayHost::available, this, &StatusItem::show);
    _host->start();
}

StatusItem::~StatusItem() = default;

void StatusItem::setTitle(const TitleState& title) {
    if (title == _title) { // asked for at every hop
        return;
    }
    const bool isOtherPicture = titleMarks(title) != titleMarks(_title);
    _title = title;
    if (isOtherPicture) {
        updateIcon();
    }
    updateToolTip();
}

void StatusItem::setCapturing(bool capturing) {
    if (capturing != _capturing) {
        _capturing = capturing;
        updateIcon();
        updateToolTip();
    }
}

void StatusItem::setNote(const QString& note) {
    if (note != _note) {
        _note = note;
        updateToolTip();
    }
}

QString StatusItem::toolTip() const {
    QStringList parts;
    if (const QString title = statusTitle(_title); !title.isEmpty()) {
        parts << title;
    }
    if (_capturing) {
        parts << translated(capturingMark);
    }
    QString text = applicationName;
    if (!parts.isEmpty()) {
        text += QStringLiteral(": ") + parts.join(QStringLiteral(", "));
    }
    return _note.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, _note);
}

void StatusItem::popUpMenu() {
    _menu.popup(QCursor::pos());
    _menu.raise();
    _menu.activateWindow();
}

void StatusItem::show() {
    _icon = std::make_unique<QSystemTrayIcon>();
    updateIcon();
    updateToolTip();
    _icon->setContextMenu(&_menu);
    connect(_icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) {
            popUpMenu();
        }
    });
    _icon->show();
    nameXEmbedWindow(toolTip());
    _host.release()->deleteLater(); // it is still emitting
    Q_EMIT shown();
}

void StatusItem::updateIcon() {
    if (_icon) {
        _icon->setIcon(_pictures->icon(_capturing ? GlyphState::Capturing : GlyphState::Idle, titleMarks(_title),
                                       _colour->colour()));
    }
}

void StatusItem::updateToolTip() {
    const QString text = toolTip();
    if (_icon) {
        _icon->setToolTip(text);
        nameXEmbedWindow(text);
    }
    Q_EMIT toolTipChanged(text);
}

} // namespace vantrel::ui
