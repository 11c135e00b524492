// Fills a pop-up menu with the places that finished captures can go to, and tells which was chosen.
//
// Main thread.
#pragma once

#include <QObject>
#include <QString>

class QComboBox;

namespace vantrel {
class SettingsStore;
}

namespace vantrel::preferences {

class LocationMenu : public QObject {
    Q_OBJECT
public:
    // The menu and the settings are borrowed and outlive this object.
    LocationMenu(QComboBox& menu, SettingsStore& settings, QString desktopFolder);

    // Where captures go now, after putting the Desktop folder, as a file URL, in the place of a folder that is gone.
    void show();

    // The folder in a value of the setting, also where that is a file URL.
    [[nodiscard]] static QString folderIn(const QString& location);

Q_SIGNALS:
    // The setting holds the new place already.
    void locationDidChange();

private:
    void repair();
    void fill(const QString& location);
    void addFolder(const QString& title, const QString& path);
    void addService(const QString& title, const QString& titleWhenMissing, const QString& location, bool isConfigured);
    void chosen(int index);
    void write(const QString& location);
    void chooseOther();

    QComboBox& _menu;
    SettingsStore& _settings;
    const QString _desktopFolder;
};

} // namespace vantrel::preferences
