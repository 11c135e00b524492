// The panel where the user chooses the channels of a custom capture: one check box per channel, which carries the
// channel's number as its property "tag".
//
// Main thread, after the QApplication. Channels that the adapter cannot be tuned to at 20 MHz, which is how a custom
// capture hops, are shown but cannot be chosen, and say why.
#pragma once

#include "wifi/CWChannel.h"

#include <QDialog>
#include <memory>
#include <optional>
#include <vector>

class QCheckBox;

namespace vantrel {
class SettingsStore;
}

namespace vantrel::preferences {

namespace Ui { // NOLINT(readability-identifier-naming): uic calls it so
class VantrelCustomChannelsPanel;
}

class VantrelCustomChannelsPanel : public QDialog {
    Q_OBJECT
public:
    // The settings are borrowed. Without a parent the panel stands in the middle of the screen.
    VantrelCustomChannelsPanel(SettingsStore& settings, const std::vector<CWChannel>& supported,
                               QWidget* parent = nullptr);
    ~VantrelCustomChannelsPanel() override;

    // Shows the panel in front of everything else and waits for the user. True when it was left by OK, which has
    // written the chosen channels to the settings.
    bool runModal();
    // What was chosen, after OK.
    [[nodiscard]] const std::vector<int>& customChannels() const { return _customChannels; }

private:
    void windowDidLoad(const std::vector<CWChannel>& supported);
    void addOtherChannels(const std::vector<CWChannel>& supported);
    void offer(QCheckBox& box, const std::vector<CWChannel>& supported);
    [[nodiscard]] QList<QCheckBox*> checkBoxes() const;
    [[nodiscard]] std::vector<std::int64_t> chosenTags() const;
    void setAll(bool checked);
    void onCheckBox();
    void onConfirm();

    const std::unique_ptr<Ui::VantrelCustomChannelsPanel> _nib;
    SettingsStore& _settings; // borrowed
    std::vector<int> _customChannels;
};

} // namespace vantrel::preferences
