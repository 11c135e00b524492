// The pane "Services": addresses and credentials of the two upload services.
//
// Main thread. Nothing of what stands in the fields is logged.
#pragma once

#include "preferences/PreferencesSurroundings.h"
#include "preferences/PreferencesViewController.h"

#include <memory>

class QAbstractButton;
class QLabel;

namespace vantrel::preferences {

namespace Ui { // NOLINT(readability-identifier-naming): uic calls it so
class VantrelServicesPrefsViewController;
}

class VantrelServicesPrefsViewController : public PreferencesViewController {
    Q_OBJECT
public:
    explicit VantrelServicesPrefsViewController(PreferencesSurroundings surroundings);
    ~VantrelServicesPrefsViewController() override;

    [[nodiscard]] QString identifier() const override;
    [[nodiscard]] QIcon toolbarItemImage() const override;
    [[nodiscard]] QString toolbarItemLabel() const override;
    void viewWillAppear() override;
    void windowDidResignKey() override;

protected:
    void controlTextDidEndEditing(QLineEdit& field) override;
    void hideEvent(QHideEvent* event) override;

private:
    struct Field {
        QLineEdit& edit;
        QLatin1StringView key;
    };
    [[nodiscard]] std::vector<Field> fields() const;
    struct Address {
        QLineEdit& edit;
        QLabel& mark;
        QLabel& verdict;
    };
    [[nodiscard]] std::vector<Address> addresses() const;
    void alignLabels();
    void connectAddress(const Address& address);
    void connectSecret(QLineEdit& edit, QAbstractButton& reveal);
    void connectHelp(QAbstractButton& button, QLatin1StringView url);
    void showVerdict(const Address& address);
    void writeAll();

    const PreferencesSurroundings _around;
    const std::unique_ptr<Ui::VantrelServicesPrefsViewController> _nib;
};

} // namespace vantrel::preferences
