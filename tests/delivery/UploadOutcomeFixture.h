// What the tests of the uploads' outcomes share: a user who answers as told, and uploads to real peers.
#pragma once

#include "UploadFixture.h"
#include "delivery/UploadOutcome.h"

#include <QDir>

namespace vantrel::testing {

class FakeUser : public UploadDialogs, public UserNotificationCenter {
public:
    struct Alert {
        QString messageText;
        QString informativeText;
        bool offersSaveAs = false;
    };

    Choice askAboutFailedUpload(const QString& messageText, const QString& informativeText,
                                bool offersSaveAs) override {
        alerts.push_back({messageText, informativeText, offersSaveAs});
        return answerAlert();
    }
    void chooseSavePath(const QString& fileName, std::function<void(const QString&)> chosen) override {
        proposedNames.append(fileName);
        savePathChosen = std::move(chosen);
    }
    void chooseFileToUpload(bool asksForTags, std::function<void(const FileToUpload&)> chosen) override {
        askedForTags.push_back(asksForTags);
        fileChosen = std::move(chosen);
    }
    void deliverNotification(const UserNotification& notification) override { notifications.push_back(notification); }

    std::function<Choice()> answerAlert = [] { return Choice::Cancel; };
    std::vector<Alert> alerts;
    QStringList proposedNames;
    std::function<void(const QString&)> savePathChosen;
    std::vector<bool> askedForTags;
    std::function<void(const FileToUpload&)> fileChosen;
    std::vector<UserNotification> notifications;
};

class UploadOutcomeFixture : public UploadFixture {
protected:
    void SetUp() override {
        ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("temporary")));
        qputenv("CURL_HOME", folder.path().toLocal8Bit()); // not the configuration of whoever runs the tests
        settings.setString(keys::CloudSharkApplianceAPIToken, QStringLiteral("t0ken"));
        settings.setString(keys::MojoPacketsEmail, QStringLiteral("me@b.example"));
        settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("k3y"));
        outcome = std::make_unique<UploadOutcome>(
            UploadOutcome::Surroundings{.settings = settings,
                                        .notifications = user,
                                        .dialogs = user,
                                        .setUploadProgress = [this](int percent) { progress.push_back(percent); },
                                        .lastCaptureTotals = [this] { return totals; },
                                        .temporaryFolder = [this] { return temporaryFolder; }});
    }

    void serveFrom(const UploadServer& server) {
        settings.setString(keys::CloudSharkApplianceURL, server.url());
        settings.setString(keys::MojoPacketsServiceURL, server.url());
    }

    // Where the application does everything; Qt destroys later only what was given up there.
    void inTheEventLoop(std::function<void()> act) {
        bool done = false;
        QMetaObject::invokeMethod(
            outcome.get(),
            [&] {
                act();
                done = true;
            },
            Qt::QueuedConnection);
        EXPECT_TRUE(runUntil([&] { return done; }));
    }

    [[nodiscard]] qsizetype running() const { return outcome->findChildren<VantrelUploader*>().size(); }
    [[nodiscard]] bool waitForAll() {
        return runUntil([this] { return running() == 0; });
    }

    QString temporaryFolder = folder.filePath(QStringLiteral("temporary"));
    FakeUser user;
    UploadOutcome::Totals totals{.frames = 12, .bytes = 2048};
    std::vector<int> progress;
    LogCapture log;
    std::unique_ptr<UploadOutcome> outcome;
};

inline const QByteArray cloudSharkSuccess = R"({"id": "9f", "filename": "a.pcap"})";
inline const QByteArray mojoSuccess = R"({"email": "a@b.example", "ticket": "T-1", "trace_id": "77"})";

} // namespace vantrel::testing
