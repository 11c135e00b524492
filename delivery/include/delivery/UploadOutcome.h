// Keeps the uploads that run, and tells the user what becomes of them: the progress in the tray, a notification of a
// success, and after a failure an alert that offers another attempt. Main thread.
#pragma once

#include "delivery/DeliveryDialogs.h"
#include "delivery/MojoPacketsUploader.h"
#include "delivery/UserNotification.h"
#include "delivery/VantrelUploader.h"

#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>

namespace vantrel {

class SettingsStore;

// Any number of uploads run at the same time, each with an outcome of its own; the progress is that of whichever was
// heard of last. Uploads that still run when this is destroyed are given up.
class UploadOutcome final : public QObject, public VantrelUploaderDelegate {
    Q_OBJECT
public:
    struct Totals {
        std::uint64_t frames = 0;
        std::uint64_t bytes = 0;
    };
    // The references are borrowed and outlive this. Nothing here is called before an upload is started.
    struct Surroundings {
        const SettingsStore& settings;
        UserNotificationCenter& notifications;
        UploadDialogs& dialogs;
        std::function<void(int percent)> setUploadProgress; // -1: no upload is running
        std::function<Totals()> lastCaptureTotals;
        std::function<QString()> temporaryFolder; // empty when there is none
        QString curl = MojoPacketsUploader::systemCurl;
    };

    explicit UploadOutcome(Surroundings surroundings);

    void uploadToCloudShark(const QString& path, const QString& tags = {}, const QString& comments = {});
    void uploadToMojoPackets(const QString& path);
    // Becomes the uploader's delegate, keeps it until it has ended, and starts it.
    void start(std::unique_ptr<VantrelUploader> uploader);

    [[nodiscard]] bool respondsToDidUpdateProgress() const override { return true; }
    void didUpdateProgress(VantrelUploader& uploader, int completed) override;

    // Announced with the totals of the last capture, whichever file was uploaded. The uploaded file is removed if it
    // lies in the temporary folder, whatever name the service gives it.
    [[nodiscard]] bool respondsToDidUploadFile() const override { return true; }
    void didUploadFile(VantrelUploader& uploader, const UserInfo& userInfo) override;

    // The user is asked from the event loop, while other uploads go on. "Save As..." is offered when the path begins
    // with the temporary folder's, and "Retry" is an upload of its own to the same service.
    [[nodiscard]] bool respondsToDidFail() const override { return true; }
    void didFail(VantrelUploader& uploader, const UserInfo& userInfo) override;

private:
    void askWhatNow(const UserInfo& userInfo, const QString& message, bool isCloudShark);
    void removeTemporaryFile(const QString& path) const;
    [[nodiscard]] bool offersSaveAs(const QString& path) const;
    void saveAs(const QString& path);

    const Surroundings _around;
};

} // namespace vantrel
