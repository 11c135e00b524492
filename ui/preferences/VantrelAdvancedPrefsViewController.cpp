#include "preferences/VantrelAdvancedPrefsViewController.h"

#include "PaneParts.h"
#include "PreferencesTexts.h"
#include "base/Translated.h"
#include "preferences/VantrelCustomChannelsPanel.h"
#include "preferences/VantrelIntegerFormatter.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui_VantrelAdvancedPrefsViewController.h"

#include <algorithm>

namespace vantrel::preferences {

namespace {
constexpr std::int64_t shortestDwell = 100; // milliseconds
} // namespace

VantrelAdvancedPrefsViewController::VantrelAdvancedPrefsViewController(PreferencesSurroundings surroundings)
    : _around(std::move(surroundings)),
      _nib(std::make_unique<Ui::VantrelAdvancedPrefsViewController>()) {
    _nib->setupUi(this);
    prepareHelp(*this);
    for (const Box& box : boxes()) {
        connect(&box.button, &QAbstractButton::toggled, this,
                [this, key = box.key](bool on) { _around.settings.setBool(key, on); });
    }
    _nib->dwellTime->setValidator(new VantrelIntegerFormatter(_nib->dwellTime));
    observeField(*_nib->dwellTime);
    connect(_nib->chooseCustomChannels, &QAbstractButton::clicked, this,
            &VantrelAdvancedPrefsViewController::chooseCustomChannels);
}

VantrelAdvancedPrefsViewController::~VantrelAdvancedPrefsViewController() = default;

QString VantrelAdvancedPrefsViewController::identifier() const { return QStringLiteral("Advanced"); }
QIcon VantrelAdvancedPrefsViewController::toolbarItemImage() const { return paneImage(QStringLiteral("Advanced")); }
QString VantrelAdvancedPrefsViewController::toolbarItemLabel() const { return translated(texts::advanced); }

std::vector<VantrelAdvancedPrefsViewController::Box> VantrelAdvancedPrefsViewController::boxes() const {
    return {{*_nib->captureUNII1, keys::CaptureUNII1},
            {*_nib->captureUNII2, keys::CaptureUNII2},
            {*_nib->captureUNII2e, keys::CaptureUNII2e},
            {*_nib->captureUNII3, keys::CaptureUNII3},
            {*_nib->showDisconnectAlert, keys::ShowDisconnectAlert},
            {*_nib->alwaysDisconnect, keys::AlwaysDisconnect},
            {*_nib->enableAdaptivePacketSlicing, keys::EnableAdaptivePacketSlicing}};
}

void VantrelAdvancedPrefsViewController::viewWillAppear() {
    for (const Box& box : boxes()) {
        showSetting(box.button, _around.settings, box.key);
    }
    showIn(*_nib->dwellTime, QString::number(_around.settings.integerForKey(keys::DwellTime)));
    showCustomChannels();
}

void VantrelAdvancedPrefsViewController::controlTextDidEndEditing(QLineEdit& field) {
    const std::int64_t dwell = std::max(VantrelIntegerFormatter::numberIn(field.text()), shortestDwell);
    replaceIn(field, QString::number(dwell));
    _around.settings.setInteger(keys::DwellTime, dwell);
}

void VantrelAdvancedPrefsViewController::showCustomChannels() {
    QStringList numbers;
    for (const std::int64_t number : _around.settings.integerArrayForKey(keys::CustomChannelList)) {
        numbers << QString::number(number);
    }
    _nib->customChannels->setText(numbers.isEmpty() ? translated(texts::noCustomChannels)
                                                    : numbers.join(QStringLiteral(", ")));
}

void VantrelAdvancedPrefsViewController::chooseCustomChannels() {
    VantrelCustomChannelsPanel panel(_around.settings, _around.supportedChannels(), this);
    panel.runModal();
    showCustomChannels();
}

} // namespace vantrel::preferences
