// Opens files, folders and pages with the desktop's applications.
#pragma once

#include <QString>
#include <functional>
#include <memory>

namespace vantrel {

// Main thread; every operation returns at once. What is started holds no descriptor and no privilege of ours.
class FileOpener {
public:
    virtual ~FileOpener() = default;
    // Gives the next operation, and only that one, the desktop's token for the user's click, so that what it opens may
    // come to the front (freedesktop.org, XDG_ACTIVATION_TOKEN). An empty token is none.
    virtual void setActivationToken(const QString& /*token*/) {}
    // In the default browser. The text is passed on as it stands, without escaping.
    virtual void openUrl(const QString& url) = 0;
    // In the file viewer.
    virtual void openFolder(const QString& path) = 0;
    // In the file viewer, selected in its folder.
    virtual void revealFile(const QString& path) = 0;
    // With the application that this .desktop file describes.
    virtual void openFile(const QString& path, const QString& applicationPath) = 0;
};

// The desktop's own: org.freedesktop.FileManager1 for revealing and folders, else the application registered for
// folders; GIO for everything else. `failed` is told from the event loop of the main thread, never within an operation,
// what could not be done, and why, each readable by the user; the reason names the file or address.
//
// The session bus is the one of the environment. An operation whose opener is destroyed goes on, and tells nobody.
using OpenFailed = std::function<void(const QString& messageText, const QString& informativeText)>;
[[nodiscard]] std::unique_ptr<FileOpener> makeDesktopOpener(OpenFailed failed);

} // namespace vantrel
