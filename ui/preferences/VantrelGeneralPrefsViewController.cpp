#include "preferences/VantrelGeneralPrefsViewController.h"

#include "LocationMenu.h"
#include "OpenInMenu.h"
#include "PaneParts.h"
#include "PreferencesTexts.h"
#include "ServiceAddress.h"
#include "base/Translated.h"
#include "preferences/VantrelIntegerFormatter.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui_VantrelGeneralPrefsViewController.h"

#include <QButtonGroup>
#include <QSignalBlocker>
#include <algorithm>
#include <array>

namespace vantrel::preferences {

namespace {
constexpr std::int64_t leastLimit = 1;
constexpr std::int64_t fewestFiles = 1;
constexpr std::int64_t mostFiles = 100;

// Each is also the name of its radio button.
constexpr std::array afterSaving{keys::DoNothing, keys::OpenInApplication, keys::RunScript};

QString text(std::int64_t number) { return QString::number(number); }
} // namespace

VantrelGeneralPrefsViewController::VantrelGeneralPrefsViewController(PreferencesSurroundings surroundings)
    : _around(std::move(surroundings)),
      _nib([this] {
          auto nib = std::make_unique<Ui::VantrelGeneralPrefsViewController>();
          nib->setupUi(this);
          return nib;
      }()),
      _locations(std::make_unique<LocationMenu>(*_nib->locationMenu, _around.settings, _around.desktopFolder)),
      _applications(std::make_unique<OpenInMenu>(*_nib->openInMenu, _around)) {
    prepareHelp(*this);
    connectLocation();
    connectAfterSaving();
    connectLimits();
    connectSetting(*_nib->scriptPanelAutoClose, keys::ScriptPanelAutoClose);
    connectSetting(*_nib->showCaptureCompleteNotification, keys::ShowCaptureCompleteNotification);
    connectSetting(*_nib->displayChannel, keys::DisplayChannel, true);
    connectSetting(*_nib->displayChannelWidth, keys::DisplayChannelWidth, true);
    // The setting is the other way round: it is on when the user wants no warning.
    connect(_nib->warnOfNoOutput, &QAbstractButton::toggled, this,
            [this](bool on) { _around.settings.setBool(keys::SuppressNoOutputAlert, !on); });
}

VantrelGeneralPrefsViewController::~VantrelGeneralPrefsViewController() = default;

QString VantrelGeneralPrefsViewController::identifier() const { return QStringLiteral("General"); }
QIcon VantrelGeneralPrefsViewController::toolbarItemImage() const { return paneImage(QStringLiteral("General")); }
QString VantrelGeneralPrefsViewController::toolbarItemLabel() const { return translated(texts::general); }

void VantrelGeneralPrefsViewController::connectSetting(QAbstractButton& box, QLatin1StringView key, bool isInTray) {
    connect(&box, &QAbstractButton::toggled, this, [this, key, isInTray](bool on) {
        _around.settings.setBool(key, on);
        if (isInTray) {
            Q_EMIT preferencesDidChange();
        }
    });
}

void VantrelGeneralPrefsViewController::connectLocation() {
    connect(_locations.get(), &LocationMenu::locationDidChange, this,
            &VantrelGeneralPrefsViewController::updateShowButton);
    connect(_nib->showButton, &QAbstractButton::clicked, this, &VantrelGeneralPrefsViewController::onShow);
}

void VantrelGeneralPrefsViewController::connectAfterSaving() {
    auto* radios = new QButtonGroup(this);
    for (const auto key : afterSaving) {
        auto* radio = findChild<QAbstractButton*>(QString(key));
        radios->addButton(radio);
        connect(radio, &QAbstractButton::toggled, this, [this, radio](bool on) {
            if (on) {
                onAfterSaving(*radio);
            }
        });
    }
}

void VantrelGeneralPrefsViewController::connectLimits() {
    for (QLineEdit* field : {_nib->limitCaptureFileValue, _nib->maxCaptureFiles}) {
        field->setValidator(new VantrelIntegerFormatter(field));
        observeField(*field);
    }
    connectSetting(*_nib->limitCaptureFile, keys::LimitCaptureFile);
    connect(_nib->limitCaptureFile, &QAbstractButton::toggled, this,
            &VantrelGeneralPrefsViewController::updateSingleFile);
    connect(_nib->limitCaptureFileUnits, &QComboBox::activated, this,
            [this](int unit) { _around.settings.setInteger(keys::LimitCaptureFileUnits, unit); });
    connectSetting(*_nib->rotateCaptureFiles, keys::RotateCaptureFiles);
}

void VantrelGeneralPrefsViewController::viewWillAppear() {
    _locations->show();
    _applications->show();
    showAfterSaving();
    showLimits();
    const SettingsStore& settings = _around.settings;
    showSetting(*_nib->showCaptureCompleteNotification, settings, keys::ShowCaptureCompleteNotification);
    showSetting(*_nib->displayChannel, settings, keys::DisplayChannel);
    showSetting(*_nib->displayChannelWidth, settings, keys::DisplayChannelWidth);
    updateShowButton();
    updateSingleFile();
}

// In the order in which the delivery looks at them, should more than one be on.
void VantrelGeneralPrefsViewController::showAfterSaving() {
    const SettingsStore& settings = _around.settings;
    QRadioButton* chosen = settings.boolForKey(keys::OpenInApplication) ? _nib->OpenInApplication
                           : settings.boolForKey(keys::RunScript)       ? _nib->RunScript
                                                                        : _nib->DoNothing;
    const QSignalBlocker quiet(chosen);
    chosen->setChecked(true);
    showSetting(*_nib->scriptPanelAutoClose, settings, keys::ScriptPanelAutoClose);
    const QSignalBlocker quietToo(_nib->warnOfNoOutput);
    _nib->warnOfNoOutput->setChecked(!settings.boolForKey(keys::SuppressNoOutputAlert));
}

void VantrelGeneralPrefsViewController::showLimits() {
    const SettingsStore& settings = _around.settings;
    showSetting(*_nib->limitCaptureFile, settings, keys::LimitCaptureFile);
    showSetting(*_nib->rotateCaptureFiles, settings, keys::RotateCaptureFiles);
    showIn(*_nib->limitCaptureFileValue, text(settings.integerForKey(keys::LimitCaptureFileValue)));
    showIn(*_nib->maxCaptureFiles, text(settings.integerForKey(keys::MaxCaptureFiles)));
    const std::int64_t unit = settings.integerForKey(keys::LimitCaptureFileUnits);
    const bool isKnown = unit >= 0 && unit < _nib->limitCaptureFileUnits->count();
    _nib->limitCaptureFileUnits->setCurrentIndex(isKnown ? static_cast<int>(unit) : -1);
}

void VantrelGeneralPrefsViewController::controlTextDidEndEditing(QLineEdit& field) {
    const std::int64_t entered = VantrelIntegerFormatter::numberIn(field.text());
    if (&field == _nib->limitCaptureFileValue) {
        const std::int64_t value = std::max(entered, leastLimit);
        replaceIn(field, text(value));
        _around.settings.setInteger(keys::LimitCaptureFileValue, value);
    } else if (&field == _nib->maxCaptureFiles) {
        const std::int64_t value = std::clamp(entered, fewestFiles, mostFiles);
        replaceIn(field, text(value));
        _around.settings.setInteger(keys::MaxCaptureFiles, value);
        updateSingleFile();
    }
}

void VantrelGeneralPrefsViewController::updateSingleFile() {
    const bool isLimited = _around.settings.boolForKey(keys::LimitCaptureFile);
    _isSingleFile = !(isLimited && _around.settings.integerForKey(keys::MaxCaptureFiles) > 1);
    for (QWidget* part :
         {static_cast<QWidget*>(_nib->limitCaptureFileValue), static_cast<QWidget*>(_nib->limitCaptureFileUnits),
          static_cast<QWidget*>(_nib->maxCaptureFilesLabel), static_cast<QWidget*>(_nib->maxCaptureFiles)}) {
        part->setEnabled(isLimited);
    }
    _nib->rotateCaptureFiles->setEnabled(!_isSingleFile);
    _nib->afterSavingBox->setEnabled(_isSingleFile);
    _nib->openInMenu->setEnabled(_isSingleFile && _nib->OpenInApplication->isChecked());
    _nib->severalFilesNote->setVisible(!_isSingleFile);
}

void VantrelGeneralPrefsViewController::onAfterSaving(const QAbstractButton& radio) {
    // The chosen one first, so that one is on at any moment.
    _around.settings.setBool(QLatin1StringView(radio.objectName().toLatin1()), true);
    for (const auto key : afterSaving) {
        if (radio.objectName() != key) {
            _around.settings.setBool(key, false);
        }
    }
    updateSingleFile();
}

void VantrelGeneralPrefsViewController::updateShowButton() {
    const QString location = _around.settings.stringForKey(keys::CaptureFilesLocation);
    const bool isService = location == locations::CloudShark || location == locations::MojoPackets;
    const auto key = location == locations::CloudShark ? keys::CloudSharkApplianceURL : keys::MojoPacketsServiceURL;
    bool canShow = location != locations::AskForEachCapture;
    const char* toolTip = canShow ? texts::showsFolder : texts::nothingToShow;
    if (isService) {
        canShow = isUsable(addressVerdict(_around.settings.stringForKey(key)));
        toolTip = canShow ? texts::showsService : texts::noAddressToShow;
    }
    _nib->showButton->setEnabled(canShow);
    _nib->showButton->setToolTip(translated(toolTip));
    _nib->showButton->setAccessibleDescription(translated(toolTip));
}

void VantrelGeneralPrefsViewController::onShow() {
    const QString location = _around.settings.stringForKey(keys::CaptureFilesLocation);
    if (location == locations::CloudShark) {
        _around.openUrl(withPathComponent(_around.settings.stringForKey(keys::CloudSharkApplianceURL), u"captures"));
    } else if (location == locations::MojoPackets) {
        _around.openUrl(_around.settings.stringForKey(keys::MojoPacketsServiceURL));
    } else {
        _around.openFolder(LocationMenu::folderIn(location));
    }
}

} // namespace vantrel::preferences
