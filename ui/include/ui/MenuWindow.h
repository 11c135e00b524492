// The tray's menu in a small window of its own, for a desktop that has no place for tray items: it comes when the item
// has found none for a while, and goes when the item finds one. So the program is never invisible.
//
// Closing it is the menu's Quit; while that is unavailable, it is only minimised. Main thread, after the QApplication.
#pragma once

#include <QWidget>
#include <chrono>

namespace vantrel::ui {

class StatusItem;
class StatusMenu;

class MenuWindow : public QWidget {
    Q_OBJECT
public:
    static constexpr std::chrono::seconds patience{10};

    // Both are borrowed and outlive the window, which shows itself and is never handed over.
    MenuWindow(StatusItem& item, StatusMenu& menu, std::chrono::milliseconds wait = patience);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void showWithoutTray();

    StatusItem& _item; // borrowed
    StatusMenu& _menu; // borrowed
};

} // namespace vantrel::ui
