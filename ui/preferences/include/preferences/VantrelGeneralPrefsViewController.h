// The pane "General": where captures go, what happens to them then, their limits, and what the tray shows.
//
// Main thread.
#pragma once

#include "preferences/PreferencesSurroundings.h"
#include "preferences/PreferencesViewController.h"

#include <memory>

class QAbstractButton;

namespace vantrel::preferences {

namespace Ui { // NOLINT(readability-identifier-naming): uic calls it so
class VantrelGeneralPrefsViewController;
}

class LocationMenu;
class OpenInMenu;

class VantrelGeneralPrefsViewController : public PreferencesViewController {
    Q_OBJECT
public:
    explicit VantrelGeneralPrefsViewController(PreferencesSurroundings surroundings);
    ~VantrelGeneralPrefsViewController() override;

    [[nodiscard]] QString identifier() const override;
    [[nodiscard]] QIcon toolbarItemImage() const override;
    [[nodiscard]] QString toolbarItemLabel() const override;
    void viewWillAppear() override;

    // Whether a capture makes one file: unless its files are limited and more than one is wanted. What happens after
    // saving concerns single files alone.
    [[nodiscard]] bool isSingleFile() const { return _isSingleFile; }

protected:
    void controlTextDidEndEditing(QLineEdit& field) override;

private:
    void connectLocation();
    void connectAfterSaving();
    void connectLimits();
    void connectSetting(QAbstractButton& box, QLatin1StringView key, bool isInTray = false);
    void showAfterSaving();
    void showLimits();
    void updateSingleFile();
    void updateShowButton();
    void onAfterSaving(const QAbstractButton& radio);
    void onShow();

    const PreferencesSurroundings _around;
    const std::unique_ptr<Ui::VantrelGeneralPrefsViewController> _nib;
    const std::unique_ptr<LocationMenu> _locations;
    const std::unique_ptr<OpenInMenu> _applications;
    bool _isSingleFile = true;
};

} // namespace vantrel::preferences
