// The pane "Advanced": which channels are hopped and for how long, when a network is left, and what is kept of frames.
//
// Main thread.
#pragma once

#include "preferences/PreferencesSurroundings.h"
#include "preferences/PreferencesViewController.h"

#include <memory>

class QAbstractButton;

namespace vantrel::preferences {

namespace Ui { // NOLINT(readability-identifier-naming): uic calls it so
class VantrelAdvancedPrefsViewController;
}

class VantrelAdvancedPrefsViewController : public PreferencesViewController {
    Q_OBJECT
public:
    explicit VantrelAdvancedPrefsViewController(PreferencesSurroundings surroundings);
    ~VantrelAdvancedPrefsViewController() override;

    [[nodiscard]] QString identifier() const override;
    [[nodiscard]] QIcon toolbarItemImage() const override;
    [[nodiscard]] QString toolbarItemLabel() const override;
    void viewWillAppear() override;

protected:
    void controlTextDidEndEditing(QLineEdit& field) override;

private:
    struct Box {
        QAbstractButton& button;
        QLatin1StringView key;
    };
    [[nodiscard]] std::vector<Box> boxes() const;
    void showCustomChannels();
    void chooseCustomChannels();

    const PreferencesSurroundings _around;
    const std::unique_ptr<Ui::VantrelAdvancedPrefsViewController> _nib;
};

} // namespace vantrel::preferences
