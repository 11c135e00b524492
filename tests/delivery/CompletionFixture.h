// What the completion of captures works with: folders of its own, and recorders in place of windows and services.
#pragma once

#include "base/MainQueue.h"
#include "delivery/CaptureCompletion.h"
#include "delivery/DeliveryDialogs.h"
#include "delivery/FileOpener.h"
#include "delivery/UserNotification.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <vector>

namespace vantrel::testing {

class DeliveryRecorder final : public CompletionDialogs, public UserNotificationCenter, public FileOpener {
public:
    QStringList events;
    std::vector<UserNotification> notifications;
    std::optional<QString> chosenPath;

    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override {
        events << QStringLiteral("alert: %1 | %2").arg(messageText, informativeText);
    }
    std::optional<QString> chooseSavePath(const QString& fileName) override {
        events << QStringLiteral("save panel: %1").arg(fileName);
        return chosenPath;
    }
    void showScriptPanel(const QString& capturePath) override {
        events << QStringLiteral("script panel: %1").arg(capturePath);
    }
    void deliverNotification(const UserNotification& notification) override {
        events << QStringLiteral("notification");
        notifications.push_back(notification);
    }
    void openUrl(const QString& url) override { events << QStringLiteral("url: %1").arg(url); }
    void openFolder(const QString& path) override { events << QStringLiteral("folder: %1").arg(path); }
    void revealFile(const QString& path) override { events << QStringLiteral("reveal: %1").arg(path); }
    void openFile(const QString& path, const QString& applicationPath) override {
        events << QStringLiteral("open: %1 with %2").arg(path, applicationPath);
    }
};

class CompletionFixture : public ::testing::Test {
protected:
    CompletionFixture() {
        settings.registerDefaults(registeredDefaults({}, path(QStringLiteral("desktop"))));
        QDir().mkpath(path(QStringLiteral("desktop")));
        QDir().mkpath(path(QStringLiteral("tmp")));
    }

    [[nodiscard]] QString path(const QString& name) const { return QDir(folder.path()).filePath(name); }
    // A finished file of the capture "vantrel_x" in the temporary folder.
    CaptureToDeliver capture(const QByteArray& content = "frames") {
        QFile file(path(QStringLiteral("tmp/vantrel_x.pcap")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return {.path = file.fileName(),
                .location = path(QStringLiteral("desktop")),
                .prefix = QStringLiteral("vantrel_x"),
                .totalFrames = 12,
                .totalBytes = 1536};
    }
    CaptureToDeliver fileOfSeveral(const QByteArray& content, std::int64_t maxFiles = 3) {
        CaptureToDeliver file = capture(content);
        file.isMultipleFileCapture = true;
        file.maxCaptureFiles = maxFiles;
        file.isCapturing = true;
        return file;
    }
    [[nodiscard]] QByteArray content(const QString& name) const {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }
    // What is shown on the main thread's next turn.
    void settle() {
        bool done = false;
        mainQueue.post([&done] { done = true; });
        ASSERT_TRUE(runUntil([&done] { return done; }));
    }

    const QTemporaryDir folder;
    SettingsStore settings{path(QStringLiteral("settings.json"))};
    MainQueue mainQueue;
    DeliveryRecorder recorder;
    CaptureCompletion completion{
        {.settings = settings,
         .mainQueue = mainQueue,
         .dialogs = recorder,
         .notifications = recorder,
         .opener = recorder,
         .upload = [this](UploadService service, const QString& file, bool reconnecting) {
             recorder.events << QStringLiteral("upload to %1: %2%3")
                                    .arg(service == UploadService::CloudShark ? QStringLiteral("CloudShark")
                                                                              : QStringLiteral("Mojo Packets"),
                                         QFileInfo(file).fileName(),
                                         reconnecting ? QStringLiteral(", reconnecting") : QString());
         }}};
};

} // namespace vantrel::testing
