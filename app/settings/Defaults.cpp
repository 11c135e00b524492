#include "settings/Defaults.h"

#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QFileInfo>
#include <QVariantList>

namespace vantrel {

namespace {

// Captures hold what others sent through the air, and must never reach a stranger because somebody forgot to name a
// server. Names under .example belong to nobody and never will (RFC 2606), so an upload fails until the user has
// entered the address of a service of their own choice.
constexpr QLatin1StringView nobodysCloudShark{"https://cloudshark.example"};
constexpr QLatin1StringView nobodysMojoPackets{"https://mojopackets.example/upload"};

constexpr int radiotapLinkType = 127; // DLT_IEEE802_11_RADIO

bool bothFilled(const SettingsStore& settings, QLatin1StringView first, QLatin1StringView second) {
    return !settings.stringForKey(first).isEmpty() && !settings.stringForKey(second).isEmpty();
}

} // namespace

QVariantMap registeredDefaults(const QString& pcapApplication, const QString& desktopFolder) {
    const bool found = !pcapApplication.isEmpty();
    QVariantMap defaults{
        {keys::DwellTime, 250},
        {keys::DoNothing, !found},
        {keys::OpenInApplication, found},
        {keys::RunScript, false},
        {keys::LinkLayerHeader, radiotapLinkType},
        {keys::LimitCaptureFile, false},
        {keys::LimitCaptureFileValue, 2048},
        {keys::LimitCaptureFileUnits, 0},
        {keys::MaxCaptureFiles, 1},
        {keys::RotateCaptureFiles, true},
        {keys::DisplayChannel, false},
        {keys::DisplayChannelWidth, false},
        {keys::FirstTimeCapture, true},
        {keys::CaptureFilesLocation, desktopFolder},
        {keys::CaptureUNII1, true},
        {keys::CaptureUNII2, false},
        {keys::CaptureUNII2e, false},
        {keys::CaptureUNII3, true},
        {keys::CloudSharkApplianceURL, QString(nobodysCloudShark)},
        {keys::MojoPacketsServiceURL, QString(nobodysMojoPackets)},
        {keys::CustomChannelList, QVariantList()},
        {keys::ShowDisconnectAlert, true},
        {keys::ScriptList, QVariantList()},
        {keys::ScriptPanelAutoClose, true},
        {keys::ShowCaptureCompleteNotification, true},
    };
    if (found) {
        defaults.insert(keys::OpenInApplicationPath, pcapApplication);
    }
    return defaults;
}

void repairAfterCaptureAction(SettingsStore& settings) {
    for (const auto key : {keys::OpenInApplication, keys::DoNothing, keys::RunScript}) {
        if (settings.boolForKey(key)) {
            return;
        }
    }
    settings.setBool(keys::DoNothing, true);
}

void removeVanishedApplication(SettingsStore& settings) {
    const QString path = settings.stringForKey(keys::OpenInApplicationPath);
    // An empty text is the user's choice of no application.
    if (!path.isEmpty() && !QFileInfo::exists(path)) {
        settings.removeObjectForKey(keys::OpenInApplicationPath);
    }
}

bool isCloudSharkConfigured(const SettingsStore& settings) {
    return bothFilled(settings, keys::CloudSharkApplianceURL, keys::CloudSharkApplianceAPIToken);
}

bool isMojoPacketsConfigured(const SettingsStore& settings) {
    return bothFilled(settings, keys::MojoPacketsEmail, keys::MojoPacketsAPIKey);
}

bool isSpecialLocation(const QString& location) {
    return location == locations::AskForEachCapture || location == locations::CloudShark ||
           location == locations::MojoPackets;
}

} // namespace vantrel
