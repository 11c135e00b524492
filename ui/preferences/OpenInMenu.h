// Fills a pop-up menu with the applications that open capture files, and writes the chosen one to the settings.
//
// Main thread.
#pragma once

#include "preferences/PreferencesSurroundings.h"

#include <QObject>

class QComboBox;

namespace vantrel::preferences {

class OpenInMenu : public QObject {
    Q_OBJECT
public:
    // The menu is borrowed, as are the surroundings; they outlive this object.
    OpenInMenu(QComboBox& menu, const PreferencesSurroundings& surroundings);

    // The applications as they are installed now, and the chosen one.
    void show();

private:
    void add(const CaptureApplication& application);
    void chosen(int index);
    void chooseOther();

    QComboBox& _menu;
    const PreferencesSurroundings& _around;
};

} // namespace vantrel::preferences
