#include "app/Delivery.h"

#include "delivery/LeftoverCaptures.h"
#include "engine/TemporaryFolder.h"

#include <QDBusConnection>

namespace vantrel {

namespace {
QString captureFolder() { return temporaryFolder().value_or(QString()); }
} // namespace

Delivery::Delivery(Surroundings surroundings)
    : _around(std::move(surroundings)),
      _windows(_around.settings, _around.dialogs),
      _opener(makeDesktopOpener([this](const QString& messageText, const QString& informativeText) {
          _around.dialogs.showCriticalAlertWithInfo(messageText, informativeText);
      })),
      _activation(_around.settings, *_opener),
      _notifications(QDBusConnection::sessionBus(),
                     [this](const UserNotification& notification) {
                         _windows.showNotification(notification, [this, notification] {
                             _activation.didActivateNotification(notification, ActivationType::ActionButtonClicked);
                         });
                     }),
      _uploads({.settings = _around.settings,
                .notifications = _notifications,
                .dialogs = _windows,
                .setUploadProgress = _around.setUploadProgress,
                .lastCaptureTotals = _around.lastCaptureTotals,
                .temporaryFolder = captureFolder}),
      _commands(_windows, _uploads),
      _completion({.settings = _around.settings,
                   .mainQueue = _around.mainQueue,
                   .dialogs = _windows,
                   .notifications = _notifications,
                   .opener = *_opener,
                   .upload = [this](UploadService service, const QString& path,
                                    bool reconnecting) { upload(service, path, reconnecting); }}),
      _finalizer(_completion),
      _reconnecting(_around.mainQueue) {}

void Delivery::offerLeftovers() {
    for (const QString& folder : existingTemporaryFolders()) {
        offerLeftoverCaptures(folder, _notifications);
    }
}

void Delivery::upload(UploadService service, const QString& path, bool reconnecting) {
    if (reconnecting) {
        _reconnecting.wait(_around.waitToReconnect, [this, service, path] { startUpload(service, path); });
    } else {
        startUpload(service, path);
    }
}

void Delivery::startUpload(UploadService service, const QString& path) {
    switch (service) {
    case UploadService::CloudShark:
        _uploads.uploadToCloudShark(path);
        break;
    case UploadService::MojoPackets:
        _uploads.uploadToMojoPackets(path);
        break;
    }
}

} // namespace vantrel
