#include "delivery/CaptureCompletion.h"

#include "DeliveryTexts.h"
#include "base/MainQueue.h"
#include "base/SizeText.h"
#include "base/Translated.h"
#include "delivery/DeliveryDialogs.h"
#include "delivery/FileMover.h"
#include "delivery/FileOpener.h"
#include "delivery/NumberedFiles.h"
#include "delivery/UserNotification.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QThread>
#include <memory>
#include <thread>

namespace vantrel {

Q_LOGGING_CATEGORY(lcDelivery, "vantrel.delivery")

bool CaptureCompletion::finalizeCaptureFile(const CaptureToDeliver& capture) {
    const QString name = QFileInfo(capture.path).fileName();
    if (capture.location == locations::AskForEachCapture) {
        const auto chosen = _around.dialogs.chooseSavePath(name);
        return !chosen || saveCaptureFile(capture, *chosen);
    }
    if (capture.location == locations::CloudShark || capture.location == locations::MojoPackets) {
        if (!capture.isMultipleFileCapture) {
            _around.upload(capture.location == locations::CloudShark ? UploadService::CloudShark
                                                                     : UploadService::MojoPackets,
                           capture.path, capture.reconnecting);
        }
        return true;
    }
    if (!capture.isMultipleFileCapture) {
        return saveCaptureFile(capture, QDir(capture.location).filePath(name));
    }
    const NumberedFiles files(capture.location, capture.prefix, capture.maxCaptureFiles);
    if (const auto made = files.makeFolder(); !made) {
        refuse(capture, made.error());
        return false;
    }
    return saveCaptureFile(capture, files.newest());
}

bool CaptureCompletion::saveCaptureFile(const CaptureToDeliver& capture, const QString& destination) {
    if (const auto moved = move(capture, destination); !moved) {
        refuse(capture, moved.error());
        return false;
    }
    qCInfo(lcDelivery, "capture file: %s", qUtf8Printable(destination));
    if (_around.settings.boolForKey(keys::ShowCaptureCompleteNotification)) {
        notify(capture, destination);
    }
    if (!capture.isMultipleFileCapture) {
        runAfterSavingAction(destination);
    }
    return true;
}

// The new file is brought over before the older ones move up: when the destination is full, none has moved.
Expected<void> CaptureCompletion::move(const CaptureToDeliver& capture, const QString& destination) {
    if (QFileInfo(destination).isDir()) {
        return failure(destination, translated(texts::isFolder));
    }
    FileMove move(capture.path, QFileInfo(destination).path());
    if (move.needsCopy()) {
        if (auto copied = copyWithoutBlocking(move); !copied) {
            return copied;
        }
    }
    if (capture.isMultipleFileCapture) {
        const NumberedFiles files(capture.location, capture.prefix, capture.maxCaptureFiles);
        if (auto made = files.makeRoom(); !made) {
            return made;
        }
    }
    return move.finish(destination);
}

Expected<void> CaptureCompletion::copyWithoutBlocking(FileMove& move) const {
    if (!isMainThread()) {
        return move.copy();
    }
    Expected<void> copied;
    QEventLoop events;
    const auto isWaiting = std::make_shared<bool>(true); // main thread
    std::thread copying([&move, &copied, &events, isWaiting, &mainQueue = _around.mainQueue] {
        copied = move.copy();
        mainQueue.post([&events, isWaiting] {
            if (*isWaiting) {
                events.quit();
            }
        });
    });
    events.exec(); // returns early when the program is told to quit
    *isWaiting = false;
    copying.join();
    return copied;
}

bool CaptureCompletion::isMainThread() const { return QThread::currentThread() == _around.mainQueue.thread(); }

// Once per file, and once more when the capture has ended and nothing more is tried.
void CaptureCompletion::refuse(const CaptureToDeliver& capture, const Error& error) {
    qCWarning(lcDelivery, "%s stays where it is: %s", qUtf8Printable(capture.path), qUtf8Printable(error.text()));
    if (!capture.isRetry || !capture.isCapturing) {
        const char* text = capture.isCapturing ? texts::saveFailedWhileCapturing : texts::saveFailedInfo;
        showSaveAlertWithMessage(translated(text).arg(error.text(), capture.path));
    }
}

void CaptureCompletion::showSaveAlertWithMessage(const QString& informativeText) {
    _around.mainQueue.post([&dialogs = _around.dialogs, informativeText] {
        dialogs.showCriticalAlertWithInfo(translated(texts::saveFailed), informativeText);
    });
}

void CaptureCompletion::notify(const CaptureToDeliver& capture, const QString& destination) {
    UserNotification notification{.title = translated(texts::completed),
                                  .subtitle = {},
                                  .informativeText = {},
                                  .userInfo = {},
                                  .otherButtonTitle = translated(texts::dismiss)};
    if (!capture.isMultipleFileCapture) {
        notification.subtitle = QFileInfo(destination).fileName();
        notification.informativeText = texts::framesText(capture.totalFrames, capture.totalBytes);
        notification.userInfo = {{userinfo::Uploader, userinfo::LocalSingle}, {userinfo::Path, destination}};
    } else if (!capture.isCapturing) {
        notification.subtitle = capture.prefix;
        notification.informativeText = texts::filesFramesText(static_cast<std::uint64_t>(capture.totalCaptureFiles),
                                                              capture.totalFrames, capture.totalBytes);
        notification.userInfo = {{userinfo::Uploader, userinfo::LocalMultiple},
                                 {userinfo::Location, QDir(capture.location).filePath(capture.prefix)}};
    } else {
        return; // the capture goes on
    }
    _around.notifications.deliverNotification(notification);
}

void CaptureCompletion::runAfterSavingAction(const QString& destination) {
    const SettingsStore& settings = _around.settings;
    if (settings.boolForKey(keys::OpenInApplication)) {
        if (const QString application = settings.stringForKey(keys::OpenInApplicationPath); !application.isEmpty()) {
            _around.opener.openFile(destination, application);
        }
    } else if (settings.boolForKey(keys::RunScript)) {
        _around.dialogs.showScriptPanel(destination);
    }
}

} // namespace vantrel
