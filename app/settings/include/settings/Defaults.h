// The registered defaults, and the questions about settings that more than one room asks.
#pragma once

#include <QString>
#include <QVariantMap>

namespace vantrel {

class SettingsStore;

// The whole table of registered defaults. `pcapApplication` is the .desktop file of the application that opens pcap
// files, empty when there is none; `desktopFolder` the path of the user's Desktop folder.
[[nodiscard]] QVariantMap registeredDefaults(const QString& pcapApplication, const QString& desktopFolder);

// Stores "DoNothing" when none of the three after-capture actions reads YES, so that one is always chosen.
void repairAfterCaptureAction(SettingsStore& settings);

// Takes "OpenInApplicationPath" out of the store when it names a path that does not exist. An empty one names none.
void removeVanishedApplication(SettingsStore& settings);

// Whether an upload service is set up: both of its two texts are non-empty.
[[nodiscard]] bool isCloudSharkConfigured(const SettingsStore& settings);
[[nodiscard]] bool isMojoPacketsConfigured(const SettingsStore& settings);

// Whether a value of "CaptureFilesLocation" is one of the words that stand for no folder.
[[nodiscard]] bool isSpecialLocation(const QString& location);

} // namespace vantrel
