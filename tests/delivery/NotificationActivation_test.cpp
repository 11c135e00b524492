#include "delivery/NotificationActivation.h"

#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

class RecordingOpener : public FileOpener {
public:
    void setActivationToken(const QString& token) override { calls << QStringLiteral("token ") + token; }
    void openUrl(const QString& url) override { calls << QStringLiteral("openUrl ") + url; }
    void openFolder(const QString& path) override { calls << QStringLiteral("openFolder ") + path; }
    void revealFile(const QString& path) override { calls << QStringLiteral("revealFile ") + path; }
    void openFile(const QString& path, const QString& applicationPath) override {
        calls << QStringLiteral("openFile ") + path + QLatin1Char(' ') + applicationPath;
    }

    QStringList calls;
};

class NotificationActivationTest : public ::testing::Test {
protected:
    // What a click on a notification with this user info has opened.
    QString opened(const UserInfo& info, ActivationType type = ActivationType::ContentsClicked) {
        _opener.calls.clear();
        UserNotification notification;
        notification.userInfo = info;
        notification.activationToken = QStringLiteral("click_TIME1");
        _activation.didActivateNotification(notification, type);
        if (!_opener.calls.isEmpty()) {
            EXPECT_EQ(_opener.calls.takeFirst(), QStringLiteral("token click_TIME1"));
        }
        return _opener.calls.join(QLatin1Char('\n'));
    }

    QString openedCapture(const char* appliance, const char* id) {
        _settings.setString(keys::CloudSharkApplianceURL, QString::fromUtf8(appliance));
        return opened({{QStringLiteral("uploader"), QStringLiteral("CloudShark")},
                       {QStringLiteral("id"), QString::fromUtf8(id)},
                       {QStringLiteral("filename"), QStringLiteral("a.pcap")}});
    }

    static UserInfo savedFile() {
        return {{QStringLiteral("uploader"), QStringLiteral("LocalSingle")},
                {QStringLiteral("path"), QStringLiteral("/home/user/a b.pcap")}};
    }

    const QTemporaryDir _folder;
    SettingsStore _settings{_folder.filePath(QStringLiteral("settings.json"))};
    RecordingOpener _opener;
    NotificationActivation _activation{_settings, _opener};
};

TEST_F(NotificationActivationTest, EveryNotificationIsPresented) {
    EXPECT_TRUE(_activation.shouldPresentNotification({}));
}

TEST_F(NotificationActivationTest, ASavedFileIsRevealed) {
    EXPECT_EQ(opened(savedFile()), QStringLiteral("revealFile /home/user/a b.pcap"));
    EXPECT_EQ(opened(savedFile(), ActivationType::ActionButtonClicked),
              QStringLiteral("revealFile /home/user/a b.pcap"));
}

TEST_F(NotificationActivationTest, OtherActivationsAreIgnored) {
    EXPECT_EQ(opened(savedFile(), ActivationType::None), QString());
    EXPECT_EQ(opened(savedFile(), ActivationType::Replied), QString());
}

TEST_F(NotificationActivationTest, TheFolderOfSeveralFilesIsOpened) {
    EXPECT_EQ(opened({{QStringLiteral("uploader"), QStringLiteral("LocalMultiple")},
                      {QStringLiteral("location"), QStringLiteral("/home/user/vantrel_x")}}),
              QStringLiteral("openFolder /home/user/vantrel_x"));
}

TEST_F(NotificationActivationTest, ACloudSharkCaptureIsAPageOfTheApplianceAsSetNow) {
    EXPECT_EQ(openedCapture("https://shark.example", "0a1B-2_c.d~"),
              QStringLiteral("openUrl https://shark.example/captures/0a1B-2_c.d~"));
    EXPECT_EQ(openedCapture("http://shark.example:8080/sub", "7"),
              QStringLiteral("openUrl http://shark.example:8080/sub/captures/7"));
}

TEST_F(NotificationActivationTest, OneSlashStandsBetweenThePartsOfTheAddress) {
    EXPECT_EQ(openedCapture("https://shark.example/", "7"), QStringLiteral("openUrl https://shark.example/captures/7"));
    EXPECT_EQ(openedCapture("https://shark.example/sub//", "7"),
              QStringLiteral("openUrl https://shark.example/sub/captures/7"));
}

TEST_F(NotificationActivationTest, AnIdStaysOnePartOfThePath) {
    EXPECT_EQ(openedCapture("https://shark.example", "/7"),
              QStringLiteral("openUrl https://shark.example/captures/%2F7"));
    EXPECT_EQ(openedCapture("https://shark.example", "../../admin"),
              QStringLiteral("openUrl https://shark.example/captures/..%2F..%2Fadmin"));
    EXPECT_EQ(openedCapture("https://shark.example", "@evil.example/"),
              QStringLiteral("openUrl https://shark.example/captures/%40evil.example%2F"));
    EXPECT_EQ(openedCapture("https://shark.example", "7?a=b&c#d\\e%2e%2e"),
              QStringLiteral("openUrl https://shark.example/captures/7%3Fa%3Db%26c%23d%5Ce%252e%252e"));
    EXPECT_EQ(openedCapture("https://shark.example", "7\r\n\t \"'\xc3\xa9"),
              QStringLiteral("openUrl https://shark.example/captures/7%0D%0A%09%20%22%27%C3%A9"));
}

TEST_F(NotificationActivationTest, AnIdThatIsNoNameLeadsToAllCaptures) {
    for (const char* id : {"", ".", ".."}) {
        EXPECT_EQ(openedCapture("https://shark.example", id), QStringLiteral("openUrl https://shark.example/captures"))
            << id;
    }
    EXPECT_EQ(openedCapture("https://shark.example", "..."),
              QStringLiteral("openUrl https://shark.example/captures/..."));
}

TEST_F(NotificationActivationTest, AMojoPacketsTraceIsALoginUnescaped) {
    _settings.setString(keys::MojoPacketsServiceURL, QStringLiteral("https://elsewhere.example/upload"));
    EXPECT_EQ(opened({{QStringLiteral("uploader"), QStringLiteral("MojoPackets")},
                      {QStringLiteral("email"), QStringLiteral("a+b %2@c.example")},
                      {QStringLiteral("ticket"), QStringLiteral("%3&\"t'=")},
                      {QStringLiteral("trace_id"), QStringLiteral("12/3%1")},
                      {QStringLiteral("filename"), QStringLiteral("a.pcap")}}),
              QStringLiteral("openUrl https://mojopackets.example/site/login?email=a+b %2@c.example&ticket=%3&\"t'="
                             "&trace_id=12/3%1"));
}

TEST_F(NotificationActivationTest, AnUnknownUploaderOpensNothing) {
    EXPECT_EQ(opened({}), QString());
    EXPECT_EQ(opened({{QStringLiteral("uploader"), QStringLiteral("cloudshark")},
                      {QStringLiteral("id"), QStringLiteral("7")},
                      {QStringLiteral("path"), QStringLiteral("/home/user/a.pcap")},
                      {QStringLiteral("location"), QStringLiteral("/home/user")}}),
              QString());
}

} // namespace
} // namespace vantrel
