// What the tests of uploads share: settings of their own, a folder for files, and a delegate that notes what it is
// told.
#pragma once

#include "UploadServer.h"
#include "delivery/VantrelUploader.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <functional>
#include <gmock/gmock.h>
#include <vector>

// In Qt's own namespace, where GoogleTest looks for it.
inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }
inline void PrintTo(const vantrel::UserInfo& info, std::ostream* out) {
    for (const auto& [key, value] : info.asKeyValueRange()) {
        *out << key.toStdString() << ": \"" << value.toStdString() << "\"; ";
    }
}

namespace vantrel::testing {

// Notes every report, in order.
class Recorder : public VantrelUploaderDelegate {
public:
    [[nodiscard]] bool respondsToDidUploadFile() const override { return responds; }
    void didUploadFile(VantrelUploader& /*uploader*/, const UserInfo& userInfo) override {
        order.append(QStringLiteral("uploaded"));
        uploaded.push_back(userInfo);
        inReport();
    }
    [[nodiscard]] bool respondsToDidFail() const override { return responds; }
    void didFail(VantrelUploader& /*uploader*/, const UserInfo& userInfo) override {
        order.append(QStringLiteral("failed"));
        failed.push_back(userInfo);
        inReport();
    }
    [[nodiscard]] bool respondsToDidUpdateProgress() const override { return responds; }
    void didUpdateProgress(VantrelUploader& /*uploader*/, int completed) override {
        order.append(QString::number(completed));
        progress.push_back(completed);
    }

    bool responds = true;
    QStringList order;
    std::vector<UserInfo> uploaded;
    std::vector<UserInfo> failed;
    std::vector<int> progress;
    std::function<void()> inReport = [] {};
};

class UploadFixture : public ::testing::Test {
protected:
    UploadFixture() {
        // The peers are on this machine; no proxy of whoever runs the tests stands between.
        for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"}) {
            qunsetenv(name);
        }
    }

    QString write(const QString& name, const QByteArray& content) {
        const QString path = folder.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size()) << qPrintable(path);
        return path;
    }

    // Runs it to its end.
    void run(VantrelUploader& uploader, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        bool ended = false;
        const QObject context;
        QObject::connect(&uploader, &VantrelUploader::ended, &context, [&ended] { ended = true; });
        uploader.setDelegate(&recorder);
        uploader.upload();
        EXPECT_TRUE(runUntil([&] { return ended; }, limit)) << "the upload did not end";
    }

    QTemporaryDir folder;
    SettingsStore settings{folder.filePath(QStringLiteral("settings/settings.json"))};
    Recorder recorder;
};

} // namespace vantrel::testing
