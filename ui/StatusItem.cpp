#include "ui/StatusItem.h"

#include "Glyph.h"
#include "TrayHost.h"

#include <QAction>
#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QSystemTrayIcon>
#include <algorithm>

namespace vantrel::ui {

namespace {
QAction* addCommand(QMenu& menu, const QString& text, StatusItem* item, void (StatusItem::*signal)()) {
    QAction* action = menu.addAction(text);
    QObject::connect(action, &QAction::triggered, item, signal);
    return action;
}
// A network's name as part of a menu entry, whatever it is made of: an ampersand would mark a mnemonic, and a tabulator
// or a line end would part the entry.
QString literal(QString name) {
    std::ranges::replace_if(
        name, [](QChar character) { return !character.isPrint() && !character.isSurrogate(); },
        QChar(QChar::ReplacementCharacter));
    return name.replace(u'&', QStringLiteral("&&"));
}
} // namespace

StatusItem::StatusItem() : _toolTip(QStringLiteral("Vantrel")), _host(std::make_unique<TrayHost>()) {
    buildMenu();
    qApp->installEventFilter(this);
    connect(_host.get(), &TrayHost::available, this, &StatusItem::show);
    _host->start();
}

StatusItem::~StatusItem() = default;

void StatusItem::buildMenu() {
    _menu.setAccessibleName(QStringLiteral("Vantrel"));
    _menu.setToolTipsVisible(true);
    _captures.setExclusionPolicy(QActionGroup::ExclusionPolicy::None);
    for (QAction* capture :
         {addCommand(_menu, QStringLiteral("&Capture"), this, &StatusItem::captureRequested),
          addCommand(_menu, QStringLiteral("Capture All &2.4 GHz"), this, &StatusItem::captureAll2Dot4GHzRequested),
          addCommand(_menu, QStringLiteral("Capture All &5 GHz"), this, &StatusItem::captureAll5GHzRequested),
          addCommand(_menu, QStringLiteral("Capture &All Channels"), this, &StatusItem::captureAllRequested)}) {
        _captures.addAction(capture);
    }
    _stop = addCommand(_menu, QStringLiteral("&Stop Capture"), this, &StatusItem::stopRequested);
    _menu.addSeparator();
    _disconnect = addCommand(_menu, QString(), this, &StatusItem::disconnectRequested);
    _turnOnOff = addCommand(_menu, QString(), this, &StatusItem::turnOnOffRequested);
    _menu.addSeparator();
    _preferences = addCommand(_menu, QStringLiteral("&Preferences…"), this, &StatusItem::preferencesRequested);
    _quit = addCommand(_menu, QStringLiteral("&Quit"), this, &StatusItem::quitRequested);
    _stop->setEnabled(false);
    setNetwork({});
    setPowerOn(true);
    setPreferencesEnabled(false);
}

void StatusItem::setCapturesEnabled(bool enabled) {
    _captures.setEnabled(enabled);
    _quit->setEnabled(enabled);
}

void StatusItem::setCapturing(bool capturing) {
    _capturing = capturing;
    _stop->setEnabled(capturing);
    updateIcon();
}

void StatusItem::setNetwork(const std::optional<QString>& name) {
    _disconnect->setText(name ? QStringLiteral("Disconnect from %1").arg(literal(*name)) : QString());
    _disconnect->setVisible(name.has_value());
}

void StatusItem::setPowerOn(bool on) {
    _turnOnOff->setText(on ? QStringLiteral("Turn Wi-Fi Off") : QStringLiteral("Turn Wi-Fi On"));
}

void StatusItem::setPreferencesEnabled(bool enabled) {
    _preferences->setEnabled(enabled);
    _preferences->setToolTip(enabled ? QString()
                                     : QStringLiteral("The preferences window is not part of this version."));
}

void StatusItem::setToolTip(const QString& text) {
    _toolTip = text;
    updateToolTip();
}

void StatusItem::setNote(const QString& note) {
    _note = note;
    updateToolTip();
}

QString StatusItem::toolTip() const {
    return _note.isEmpty() ? _toolTip : QStringLiteral("%1 (%2)").arg(_toolTip, _note);
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
    _host.release()->deleteLater(); // it is still emitting
    Q_EMIT shown();
}

void StatusItem::updateIcon() {
    if (_icon) {
        _icon->setIcon(glyphIcon(_capturing ? GlyphState::Capturing : GlyphState::Idle, glyphColour()));
    }
}

void StatusItem::updateToolTip() {
    if (_icon) {
        _icon->setToolTip(toolTip());
    }
}

bool StatusItem::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) {
        updateIcon();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace vantrel::ui
