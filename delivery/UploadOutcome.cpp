#include "delivery/UploadOutcome.h"

#include "DeliveryTexts.h"
#include "ReplyText.h"
#include "base/SizeText.h"
#include "base/Translated.h"
#include "delivery/CloudSharkUploader.h"
#include "delivery/FileMover.h"

#include <QFile>
#include <QFileInfo>
#include <optional>

namespace vantrel {

namespace {

constexpr int noUpload = -1;

// What is said of an upload depends on the uploader's class alone.
struct Service {
    QString succeeded;
    QString failed;
    QString pathToFile;
    bool isCloudShark = false;
};

std::optional<Service> serviceOf(const VantrelUploader& uploader) {
    if (const auto* cloudShark = dynamic_cast<const CloudSharkUploader*>(&uploader)) {
        return Service{.succeeded =
                           translated(QT_TRANSLATE_NOOP("vantrel", "Capture successfully uploaded to CloudShark")),
                       .failed = translated(QT_TRANSLATE_NOOP("vantrel", "Failed to upload capture to CloudShark.")),
                       .pathToFile = cloudShark->pathToFile(),
                       .isCloudShark = true};
    }
    if (const auto* mojoPackets = dynamic_cast<const MojoPacketsUploader*>(&uploader)) {
        return Service{.succeeded =
                           translated(QT_TRANSLATE_NOOP("vantrel", "Capture successfully uploaded to Mojo Packets")),
                       .failed = translated(QT_TRANSLATE_NOOP("vantrel", "Failed to upload capture to Mojo Packets.")),
                       .pathToFile = mojoPackets->pathToFile()};
    }
    return std::nullopt;
}

QString totalsText(const UploadOutcome::Totals& totals) {
    return totals.frames == 0 ? QString() : texts::framesText(totals.frames, totals.bytes);
}
} // namespace

UploadOutcome::UploadOutcome(Surroundings surroundings) : _around(std::move(surroundings)) {}

void UploadOutcome::uploadToCloudShark(const QString& path, const QString& tags, const QString& comments) {
    start(std::make_unique<CloudSharkUploader>(_around.settings, path, tags, comments));
}

void UploadOutcome::uploadToMojoPackets(const QString& path) {
    start(std::make_unique<MojoPacketsUploader>(_around.settings, path, _around.curl));
}

void UploadOutcome::start(std::unique_ptr<VantrelUploader> uploader) {
    VantrelUploader* const started = uploader.release();
    started->setParent(this);
    started->setDelegate(this);
    connect(started, &VantrelUploader::ended, started, &QObject::deleteLater);
    started->upload();
}

void UploadOutcome::didUpdateProgress(VantrelUploader& /*uploader*/, int completed) {
    _around.setUploadProgress(completed);
}

void UploadOutcome::didUploadFile(VantrelUploader& uploader, const UserInfo& userInfo) {
    _around.setUploadProgress(noUpload);
    const auto service = serviceOf(uploader);
    if (!service) {
        return;
    }
    removeTemporaryFile(service->pathToFile);
    _around.notifications.deliverNotification({.title = service->succeeded,
                                               .subtitle = userInfo.value(userinfo::FileName),
                                               .informativeText = totalsText(_around.lastCaptureTotals()),
                                               .userInfo = userInfo,
                                               .otherButtonTitle = translated(texts::dismiss)});
}

void UploadOutcome::didFail(VantrelUploader& uploader, const UserInfo& userInfo) {
    _around.setUploadProgress(noUpload);
    if (const auto service = serviceOf(uploader)) {
        // Not within the uploader's call: the connection goes on being served while the alert stands open, and ends.
        QMetaObject::invokeMethod(
            this,
            [this, userInfo, message = service->failed, isCloudShark = service->isCloudShark] {
                askWhatNow(userInfo, message, isCloudShark);
            },
            Qt::QueuedConnection);
    }
}

void UploadOutcome::askWhatNow(const UserInfo& userInfo, const QString& message, bool isCloudShark) {
    const QString path = userInfo.value(userinfo::PathToFile);
    const QString error = userInfo.value(userinfo::Error, absentText);
    switch (_around.dialogs.askAboutFailedUpload(message, error, offersSaveAs(path))) {
    case UploadDialogs::Choice::Retry:
        if (isCloudShark) {
            uploadToCloudShark(path, userInfo.value(userinfo::Tags), userInfo.value(userinfo::Comments));
        } else {
            uploadToMojoPackets(path);
        }
        break;
    case UploadDialogs::Choice::SaveAs:
        saveAs(path);
        break;
    case UploadDialogs::Choice::Cancel:
        break;
    }
}

// Never by the name in the service's answer, which comes from outside and might be any file's.
void UploadOutcome::removeTemporaryFile(const QString& path) const {
    const QString folder = QFileInfo(_around.temporaryFolder()).canonicalFilePath();
    if (folder.isEmpty() || QFileInfo(path).canonicalPath() != folder) {
        return;
    }
    QFile file(path);
    if (!file.remove()) {
        qCWarning(lcDelivery, "%s stays where it is: %s", qUtf8Printable(path), qUtf8Printable(file.errorString()));
    }
}

bool UploadOutcome::offersSaveAs(const QString& path) const {
    const QString folder = _around.temporaryFolder();
    return !folder.isEmpty() && path.startsWith(folder);
}

void UploadOutcome::saveAs(const QString& path) {
    _around.dialogs.chooseSavePath(QFileInfo(path).fileName(), [path](const QString& chosen) {
        if (const auto moved = moveFile(path, chosen); !moved) {
            qCWarning(lcDelivery, "%s stays where it is: %s", qUtf8Printable(path),
                      qUtf8Printable(moved.error().text()));
        }
    });
}

} // namespace vantrel
