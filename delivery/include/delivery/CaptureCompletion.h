// What becomes of a finished capture file: it goes to the destination that the capture was prepared with, the user is
// told, and an application or a script may get it.
//
// A file that cannot be delivered stays in the temporary folder, and the user is told where it is and why.
#pragma once

#include "base/Error.h"

#include <QString>
#include <cstdint>
#include <functional>

namespace vantrel {

class CompletionDialogs;
class FileMove;
class FileOpener;
class MainQueue;
class SettingsStore;
class UserNotificationCenter;

// One closed file, and what is known of its capture.
struct CaptureToDeliver {
    QString path;     // of the file, in the temporary folder
    QString location; // a folder, or a special value of "CaptureFilesLocation"
    QString prefix;   // the capture's name
    bool isMultipleFileCapture = false;
    std::int64_t maxCaptureFiles = 1;
    std::int64_t totalCaptureFiles = 1; // written so far
    std::uint64_t totalFrames = 0;
    std::uint64_t totalBytes = 0;
    bool isCapturing = false;  // a file of a rotation; the last of a capture comes after its end
    bool isRetry = false;      // could not be delivered before
    bool reconnecting = false; // the network is not back yet
};

enum class UploadService { CloudShark, MojoPackets };

class CaptureCompletion {
public:
    // All of it is borrowed and outlives this object. `upload` sends a file to a service, after the network is back
    // when it is not; main thread.
    struct Surroundings {
        const SettingsStore& settings;
        MainQueue& mainQueue;
        CompletionDialogs& dialogs;
        UserNotificationCenter& notifications;
        FileOpener& opener;
        std::function<void(UploadService service, const QString& path, bool reconnecting)> upload;
    };

    explicit CaptureCompletion(Surroundings surroundings) : _around(std::move(surroundings)) {}

    // Main thread for the last file of a capture, the packet queue at rotation, never both at once; the files of a
    // rotation have a folder for their location. False when the file could not be delivered and is where it was. A
    // cancelled save panel and an upload, whose outcome comes later, count as delivered.
    //
    // A copy to another file system is made on a thread of its own when the caller is the main thread, which meanwhile
    // goes on with its events.
    [[nodiscard]] bool finalizeCaptureFile(const CaptureToDeliver& capture);

    // The same, to this path, where a file is replaced; a folder is not.
    [[nodiscard]] bool saveCaptureFile(const CaptureToDeliver& capture, const QString& destination);

    // Any thread; the alert comes later on the main thread.
    void showSaveAlertWithMessage(const QString& informativeText);

private:
    [[nodiscard]] Expected<void> move(const CaptureToDeliver& capture, const QString& destination);
    [[nodiscard]] Expected<void> copyWithoutBlocking(FileMove& move) const;
    [[nodiscard]] bool isMainThread() const;
    void refuse(const CaptureToDeliver& capture, const Error& error);
    void notify(const CaptureToDeliver& capture, const QString& destination);
    void runAfterSavingAction(const QString& destination);

    const Surroundings _around;
};

} // namespace vantrel
