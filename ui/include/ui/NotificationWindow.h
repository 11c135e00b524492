// A user notification in a small window of our own, for a desktop where nobody shows notifications.
//
// It takes no keyboard from the user's work, stands in the upper right corner of the screen, beneath those that are
// already there, and stays until it is answered. Main thread; whoever makes it lets go of it: it deletes itself.
#pragma once

#include "delivery/UserNotification.h"

#include <QDialog>
#include <functional>

namespace vantrel::ui {

class NotificationWindow : public QDialog {
    Q_OBJECT
public:
    // Shows the notification; the continuation runs when the user chooses "Show", and never when the window is closed.
    static void present(const UserNotification& notification, std::function<void()> show);

private:
    NotificationWindow(const UserNotification& notification, std::function<void()> show);
    void place();
};

} // namespace vantrel::ui
