// The tray item: a picture with a title in it, and the menu under it. It knows nothing of adapters or captures.
//
// The title stands in the picture as far as a square of 22 pixels allows, and whole in the tool tip, which is what
// screen readers are told. The item shows itself as soon as the desktop has a place for it, now or later, and again
// after that place restarts; its colour follows the tray's theme. Main thread, after the QApplication; before it is
// destroyed, the item is taken off the tray.
#pragma once

#include "ui/StatusTitle.h"

#include <QObject>
#include <QString>
#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace vantrel::ui {

class StatusIcons;
class TrayColour;
class TrayHost;

class StatusItem : public QObject {
    Q_OBJECT
public:
    // The menu is borrowed and outlives the item.
    explicit StatusItem(QMenu& menu);
    ~StatusItem() override;

    void setTitle(const TitleState& title);
    // Whether a capture runs: shown by the picture and in the tool tip.
    void setCapturing(bool capturing);
    // What stands in parentheses after the tool tip, such as "simulated"; empty for none.
    void setNote(const QString& note);
    [[nodiscard]] QString toolTip() const;

    // Shows the menu at the pointer, also where no tray exists.
    void popUpMenu();

    // Whether the desktop had a place for the item.
    [[nodiscard]] bool isShown() const { return _icon != nullptr; }

Q_SIGNALS:
    // The item is in the tray for the first time.
    void shown();
    void toolTipChanged(const QString& toolTip);

private:
    void show();
    void updateIcon();
    void updateToolTip();

    QMenu& _menu; // borrowed
    TitleState _title;
    QString _note;
    bool _capturing = false;
    std::unique_ptr<StatusIcons> _pictures;
    std::unique_ptr<TrayColour> _colour;
    std::unique_ptr<TrayHost> _host;        // until it has found a place
    std::unique_ptr<QSystemTrayIcon> _icon; // from then on
};

} // namespace vantrel::ui
