// The tray item and its menu: the program's whole interface. It knows its picture, its commands and the signals they
// send, and nothing of captures.
//
// The item shows itself as soon as the desktop has a place for it, now or later, and again after that place restarts.
// Main thread, after the QApplication; before it is destroyed, the item is taken off the tray.
#pragma once

#include <QActionGroup>
#include <QMenu>
#include <QObject>
#include <QString>
#include <memory>
#include <optional>

class QSystemTrayIcon;

namespace vantrel::ui {

class TrayHost;

class StatusItem : public QObject {
    Q_OBJECT
public:
    StatusItem();
    ~StatusItem() override;

    // Whether captures may be started now. Quit goes with it: it is unavailable during a capture.
    void setCapturesEnabled(bool enabled);
    // Whether a capture runs: shown by the picture, and the condition of "Stop Capture".
    void setCapturing(bool capturing);
    // The network that the adapter is in, by its name, for "Disconnect from …"; without one the command is hidden.
    void setNetwork(const std::optional<QString>& name);
    // Whether the adapter's power is on: the power command offers the other.
    void setPowerOn(bool on);
    // Whether "Preferences…" can be chosen; not, until this is called.
    void setPreferencesEnabled(bool enabled);

    // The tool tip, "Vantrel" at first. A note, such as "simulated", follows it in parentheses; empty for none.
    void setToolTip(const QString& text);
    void setNote(const QString& note);
    [[nodiscard]] QString toolTip() const;

    // Shows the menu at the pointer, also where no tray exists.
    void popUpMenu();

    // Whether the desktop had a place for the item.
    [[nodiscard]] bool isShown() const { return _icon != nullptr; }
    // Stays the item's own.
    [[nodiscard]] QMenu* menu() { return &_menu; }

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void captureRequested();
    void captureAll2Dot4GHzRequested();
    void captureAll5GHzRequested();
    void captureAllRequested();
    void stopRequested();
    void disconnectRequested();
    void turnOnOffRequested();
    void preferencesRequested();
    void quitRequested();
    // The item is in the tray for the first time.
    void shown();

private:
    void buildMenu();
    void show();
    void updateIcon();
    void updateToolTip();

    QMenu _menu;
    QActionGroup _captures{this};   // enabled and disabled together
    QAction* _disconnect = nullptr; // the actions are the menu's children
    QAction* _turnOnOff = nullptr;
    QAction* _stop = nullptr;
    QAction* _preferences = nullptr;
    QAction* _quit = nullptr;
    QString _toolTip;
    QString _note;
    bool _capturing = false;
    std::unique_ptr<TrayHost> _host;        // until it has found a place
    std::unique_ptr<QSystemTrayIcon> _icon; // from then on
};

} // namespace vantrel::ui
