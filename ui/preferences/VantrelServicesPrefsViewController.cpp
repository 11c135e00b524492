#include "preferences/VantrelServicesPrefsViewController.h"

#include "PaneParts.h"
#include "PreferencesTexts.h"
#include "ServiceAddress.h"
#include "base/Translated.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui_VantrelServicesPrefsViewController.h"

#include <QStyle>
#include <algorithm>

namespace vantrel::preferences {

namespace {
// The help belongs to whoever runs the services, and nobody does: names under .example are nobody's and never will be
// (RFC 2606). A browser says so, and no stranger learns who asked.
constexpr QLatin1StringView cloudSharkHelpPage{"https://cloudshark.example/help/vantrel"};
constexpr QLatin1StringView mojoPacketsHelpPage{"https://mojopackets.example/help/vantrel"};

// As much as the settings keep of one value. What a field cannot hold would be lost when it is written back.
constexpr int longestText = 1 << 20;
} // namespace

VantrelServicesPrefsViewController::VantrelServicesPrefsViewController(PreferencesSurroundings surroundings)
    : _around(std::move(surroundings)),
      _nib(std::make_unique<Ui::VantrelServicesPrefsViewController>()) {
    _nib->setupUi(this);
    for (const Field& field : fields()) {
        field.edit.setMaxLength(longestText);
        observeField(field.edit);
    }
    for (const Address& address : addresses()) {
        connectAddress(address);
    }
    alignLabels();
    connectSecret(*_nib->cloudSharkApplianceAPIToken, *_nib->revealCloudSharkApplianceAPIToken);
    connectSecret(*_nib->mojoPacketsAPIKey, *_nib->revealMojoPacketsAPIKey);
    connectHelp(*_nib->cloudSharkHelp, cloudSharkHelpPage);
    connectHelp(*_nib->mojoPacketsHelp, mojoPacketsHelpPage);
}

VantrelServicesPrefsViewController::~VantrelServicesPrefsViewController() = default;

QString VantrelServicesPrefsViewController::identifier() const { return QStringLiteral("Services"); }
QIcon VantrelServicesPrefsViewController::toolbarItemImage() const { return paneImage(QStringLiteral("Services")); }
QString VantrelServicesPrefsViewController::toolbarItemLabel() const { return translated(texts::services); }

std::vector<VantrelServicesPrefsViewController::Field> VantrelServicesPrefsViewController::fields() const {
    return {{*_nib->cloudSharkApplianceURL, keys::CloudSharkApplianceURL},
            {*_nib->cloudSharkApplianceAPIToken, keys::CloudSharkApplianceAPIToken},
            {*_nib->mojoPacketsServiceURL, keys::MojoPacketsServiceURL},
            {*_nib->mojoPacketsEmail, keys::MojoPacketsEmail},
            {*_nib->mojoPacketsAPIKey, keys::MojoPacketsAPIKey}};
}

std::vector<VantrelServicesPrefsViewController::Address> VantrelServicesPrefsViewController::addresses() const {
    return {{*_nib->cloudSharkApplianceURL, *_nib->cloudSharkApplianceURLMark, *_nib->cloudSharkApplianceURLVerdict},
            {*_nib->mojoPacketsServiceURL, *_nib->mojoPacketsServiceURLMark, *_nib->mojoPacketsServiceURLVerdict}};
}

void VantrelServicesPrefsViewController::connectAddress(const Address& address) {
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    address.mark.setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this).pixmap(size));
    connect(&address.edit, &QLineEdit::textChanged, this, [this, address] {
        // While the user types, what was wrong may become right, but an unfinished address is not blamed.
        if (address.mark.isVisibleTo(this) || !address.edit.hasFocus()) {
            showVerdict(address);
        }
    });
}

// So that the fields of both boxes stand in one line.
void VantrelServicesPrefsViewController::alignLabels() {
    const QList<QLabel*> labels{_nib->cloudSharkApplianceURLLabel, _nib->cloudSharkApplianceAPITokenLabel,
                                _nib->mojoPacketsServiceURLLabel, _nib->mojoPacketsEmailLabel,
                                _nib->mojoPacketsAPIKeyLabel};
    int widest = 0;
    for (const QLabel* label : labels) {
        widest = std::max(widest, label->sizeHint().width());
    }
    for (QLabel* label : {_nib->cloudSharkApplianceURLLabel, _nib->mojoPacketsServiceURLLabel}) {
        label->setMinimumWidth(widest);
        label->setAlignment(Qt::AlignRight | Qt::AlignTrailing | Qt::AlignVCenter);
    }
}

void VantrelServicesPrefsViewController::connectSecret(QLineEdit& edit, QAbstractButton& reveal) {
    connect(&reveal, &QAbstractButton::toggled, this,
            [&edit](bool on) { edit.setEchoMode(on ? QLineEdit::Normal : QLineEdit::Password); });
}

void VantrelServicesPrefsViewController::connectHelp(QAbstractButton& button, QLatin1StringView url) {
    connect(&button, &QAbstractButton::clicked, this, [this, url] { _around.openUrl(QString(url)); });
}

void VantrelServicesPrefsViewController::viewWillAppear() {
    for (const Field& field : fields()) {
        showIn(field.edit, _around.settings.stringForKey(field.key));
    }
    for (const Address& address : addresses()) {
        showVerdict(address);
    }
}

void VantrelServicesPrefsViewController::windowDidResignKey() {
    static_cast<void>(commitEditing());
    writeAll();
}

void VantrelServicesPrefsViewController::controlTextDidEndEditing(QLineEdit& /*field*/) {
    writeAll();
    for (const Address& address : addresses()) {
        showVerdict(address);
    }
}

// Whoever opens the window next may not be alone before the screen.
void VantrelServicesPrefsViewController::hideEvent(QHideEvent* event) {
    _nib->revealCloudSharkApplianceAPIToken->setChecked(false);
    _nib->revealMojoPacketsAPIKey->setChecked(false);
    PreferencesViewController::hideEvent(event);
}

void VantrelServicesPrefsViewController::showVerdict(const Address& address) {
    const AddressVerdict verdict = addressVerdict(address.edit.text());
    const QString text = verdictText(verdict);
    address.mark.setVisible(!isUsable(verdict));
    address.mark.setAccessibleName(isUsable(verdict) ? QString() : text);
    address.verdict.setText(text);
    address.verdict.setVisible(!text.isEmpty());
    address.edit.setAccessibleDescription(text);
}

void VantrelServicesPrefsViewController::writeAll() {
    for (const Field& field : fields()) {
        _around.settings.setString(field.key, field.edit.text());
    }
    Q_EMIT preferencesDidChange();
}

} // namespace vantrel::preferences
