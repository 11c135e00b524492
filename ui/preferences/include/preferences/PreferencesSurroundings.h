// What the preferences need of the rest of the application.
//
// All of it is borrowed and outlives the windows; the functions are called on the main thread.
#pragma once

#include "wifi/CWChannel.h"

#include <QString>
#include <functional>
#include <optional>
#include <vector>

namespace vantrel {
class SettingsStore;
}

namespace vantrel::preferences {

// An application that opens capture files.
struct CaptureApplication {
    QString path;    // of its .desktop file
    QString name;    // in the user's language
    QString variant; // tells it from others of that name: its version, or the name of its .desktop file
    QString icon;    // a name in the icon theme or a path; may be empty
};

struct PreferencesSurroundings {
    SettingsStore& settings;
    QString desktopFolder; // of the user
    // Those installed, in the desktop's order.
    std::function<std::vector<CaptureApplication>()> pcapApplications;
    // What the .desktop file at a path describes; nothing when that is no application that can be started.
    std::function<std::optional<CaptureApplication>(const QString& path)> applicationAt;
    std::function<std::vector<CWChannel>()> supportedChannels;
    // In the browser and in the file viewer; failures are told to the user by whoever opens.
    std::function<void(const QString& url)> openUrl;
    std::function<void(const QString& path)> openFolder;
};

} // namespace vantrel::preferences
