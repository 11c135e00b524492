// What the tests of CloudSharkUploader share.
#pragma once

#include "UploadFixture.h"
#include "delivery/CloudSharkUploader.h"

namespace vantrel::testing {

class CloudSharkFixture : public UploadFixture {
protected:
    // Whatever else happens, the token is in no log.
    ~CloudSharkFixture() override {
        const QString all = log.warnings().join(QLatin1Char('\n'));
        EXPECT_FALSE(all.contains(token)) << qPrintable(all);
    }

    void configure(const QString& url) {
        settings.setString(keys::CloudSharkApplianceURL, url);
        settings.setString(keys::CloudSharkApplianceAPIToken, token);
    }

    // One upload to a server of that script, to its end.
    void uploadTo(const Script& script, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        UploadServer server({script});
        configure(server.url());
        CloudSharkUploader uploader(settings, path);
        run(uploader, limit);
    }

    // Uploads once for each script, all to one server.
    void uploadToEach(const std::vector<Script>& scripts) {
        UploadServer server(scripts);
        configure(server.url());
        for (std::size_t index = 0; index < scripts.size(); ++index) {
            CloudSharkUploader uploader(settings, path);
            run(uploader);
        }
        EXPECT_EQ(server.connections(), static_cast<int>(scripts.size())) << "a request was sent again";
    }

    [[nodiscard]] std::vector<QString> errors() const {
        std::vector<QString> texts;
        for (const UserInfo& info : recorder.failed) {
            texts.push_back(info.value(QStringLiteral("error")));
        }
        return texts;
    }

    [[nodiscard]] UserInfo connectionFailure(const QString& error) const {
        return {{QStringLiteral("error"), error},
                {QStringLiteral("pathtofile"), path},
                {QStringLiteral("tags"), QString()},
                {QStringLiteral("comments"), QString()}};
    }
    [[nodiscard]] UserInfo applianceFailure(const QString& error) const {
        UserInfo info = connectionFailure(error);
        info.insert(QStringLiteral("uploader"), QStringLiteral("CloudShark"));
        return info;
    }
    [[nodiscard]] static UserInfo success(const QString& id, const QString& fileName) {
        return {{QStringLiteral("uploader"), QStringLiteral("CloudShark")},
                {QStringLiteral("id"), id},
                {QStringLiteral("filename"), fileName}};
    }

    const QString token = QStringLiteral("5ecr3t-t0ken");
    const QByteArray content = "not really a capture";
    const QString path = write(QStringLiteral("a.pcap"), content);
    LogCapture log;
};

} // namespace vantrel::testing
