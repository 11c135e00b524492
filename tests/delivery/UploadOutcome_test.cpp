#include "UploadOutcomeFixture.h"
#include "delivery/CloudSharkUploader.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QPointer>
#include <sys/mount.h>

namespace vantrel {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Choice = UploadDialogs::Choice;

class UploadSuccess : public UploadOutcomeFixture {};

TEST_F(UploadSuccess, ToCloudSharkIsAnnounced) {
    UploadServer server({{receiveRequest(), answer(cloudSharkSuccess)}});
    serveFrom(server);
    outcome->uploadToCloudShark(write(QStringLiteral("temporary/a.pcap"), "x"));
    ASSERT_TRUE(waitForAll());
    EXPECT_THAT(progress, ElementsAre(100, -1));
    ASSERT_EQ(user.notifications.size(), 1U);
    const UserNotification& told = user.notifications.front();
    EXPECT_EQ(told.title, QStringLiteral("Capture successfully uploaded to CloudShark"));
    EXPECT_EQ(told.subtitle, QStringLiteral("a.pcap"));
    EXPECT_EQ(told.informativeText, QStringLiteral("12 frames (2 KB)"));
    EXPECT_EQ(told.otherButtonTitle, QStringLiteral("Dismiss"));
    EXPECT_EQ(told.userInfo, (UserInfo{{QStringLiteral("uploader"), QStringLiteral("CloudShark")},
                                       {QStringLiteral("id"), QStringLiteral("9f")},
                                       {QStringLiteral("filename"), QStringLiteral("a.pcap")}}));
    EXPECT_THAT(user.alerts, IsEmpty());
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST_F(UploadSuccess, ToMojoPacketsIsAnnounced) {
    UploadServer server({{receiveRequest(), answer(mojoSuccess)}});
    serveFrom(server);
    outcome->uploadToMojoPackets(write(QStringLiteral("temporary/a.pcap"), "x"));
    ASSERT_TRUE(waitForAll());
    EXPECT_THAT(progress, ElementsAre(100, -1));
    ASSERT_EQ(user.notifications.size(), 1U);
    const UserNotification& told = user.notifications.front();
    EXPECT_EQ(told.title, QStringLiteral("Capture successfully uploaded to Mojo Packets"));
    EXPECT_EQ(told.subtitle, QStringLiteral("a.pcap"));
    EXPECT_EQ(told.informativeText, QStringLiteral("12 frames (2 KB)"));
    EXPECT_EQ(told.otherButtonTitle, QStringLiteral("Dismiss"));
    EXPECT_EQ(told.userInfo, (UserInfo{{QStringLiteral("uploader"), QStringLiteral("MojoPackets")},
                                       {QStringLiteral("trace_id"), QStringLiteral("77")},
                                       {QStringLiteral("ticket"), QStringLiteral("T-1")},
                                       {QStringLiteral("email"), QStringLiteral("a@b.example")},
                                       {QStringLiteral("filename"), QStringLiteral("a.pcap")}}));
    EXPECT_FALSE(QFileInfo::exists(folder.filePath(QStringLiteral("temporary/a.pcap"))));
}

TEST_F(UploadSuccess, SaysTheTotalsOfTheLastCapture) {
    UploadServer server({{receiveRequest(), answer(cloudSharkSuccess)}});
    serveFrom(server);
    const QString picked = write(QStringLiteral("picked.pcap"), "x");
    QStringList texts;
    for (const UploadOutcome::Totals& each :
         {UploadOutcome::Totals{1, 1023}, UploadOutcome::Totals{2, 1048575}, UploadOutcome::Totals{3, 1048576},
          UploadOutcome::Totals{4'000'000'000, 1073741824}, UploadOutcome::Totals{0, 5}}) {
        totals = each;
        outcome->uploadToCloudShark(picked);
        ASSERT_TRUE(waitForAll());
        texts.append(user.notifications.back().informativeText);
    }
    EXPECT_EQ(texts,
              QStringList({QStringLiteral("1 frames (1023 bytes)"), QStringLiteral("2 frames (1023 KB)"),
                           QStringLiteral("3 frames (1.00 MB)"), QStringLiteral("4000000000 frames ()"), QString()}));
}

// The answer comes from outside, and what it names is not what is removed.
TEST_F(UploadSuccess, RemovesTheUploadedFileAloneAndOnlyFromTheTemporaryFolder) {
    const QString other = write(QStringLiteral("temporary/other.pcap"), "x");
    const QString outside = write(QStringLiteral("outside.pcap"), "x");
    ASSERT_TRUE(QDir(temporaryFolder).mkdir(QStringLiteral("below")));
    const QString below = write(QStringLiteral("temporary/below/b.pcap"), "x");
    const QString aside = temporaryFolder + QStringLiteral("/../outside.pcap");
    const QString uploaded = write(QStringLiteral("temporary/mine.pcap"), "x");
    UploadServer server({{receiveRequest(), answer(R"({"id": 1, "filename": "other.pcap"})")},
                         {receiveRequest(), answer(R"({"id": 1, "filename": "../outside.pcap"})")}});
    serveFrom(server);
    for (const QString& path : {uploaded, outside, below, aside}) {
        outcome->uploadToCloudShark(path);
        ASSERT_TRUE(waitForAll());
    }
    EXPECT_FALSE(QFileInfo::exists(uploaded));
    for (const QString& kept : {other, outside, below}) {
        EXPECT_TRUE(QFileInfo::exists(kept)) << qPrintable(kept);
    }
    EXPECT_EQ(user.notifications.size(), 4U);
    EXPECT_EQ(user.notifications.front().subtitle, QStringLiteral("other.pcap"));
}

TEST_F(UploadSuccess, OfAFileThatCannotBeRemovedIsAnnouncedAndLogged) {
    if (::mount("tmpfs", qPrintable(temporaryFolder), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "mounting a file system needs CAP_SYS_ADMIN";
    }
    const QString path = write(QStringLiteral("temporary/a.pcap"), "x");
    ASSERT_EQ(::mount(nullptr, qPrintable(temporaryFolder), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    UploadServer server({{receiveRequest(), answer(cloudSharkSuccess)}});
    serveFrom(server);
    outcome->uploadToCloudShark(path);
    EXPECT_TRUE(waitForAll());
    ::umount2(qPrintable(temporaryFolder), MNT_DETACH);
    EXPECT_EQ(user.notifications.size(), 1U);
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("%1 stays where it is: Read-only file system").arg(path)));
}

TEST_F(UploadSuccess, WithoutATemporaryFolderRemovesNothing) {
    const QString path = write(QStringLiteral("temporary/a.pcap"), "x");
    temporaryFolder.clear();
    UploadServer server({{receiveRequest(), answer(cloudSharkSuccess)}});
    serveFrom(server);
    outcome->uploadToCloudShark(path);
    ASSERT_TRUE(waitForAll());
    EXPECT_TRUE(QFileInfo::exists(path));
    EXPECT_EQ(user.notifications.size(), 1U);
}

TEST_F(UploadSuccess, OfAFileThatIsGoneIsAnnouncedToo) {
    const QString path = write(QStringLiteral("temporary/a.pcap"), "x");
    UploadServer server({{receiveRequest(), pauseFor(0.2), answer(mojoSuccess)}});
    serveFrom(server);
    outcome->uploadToMojoPackets(path);
    ASSERT_TRUE(server.waitForRequests(1));
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(waitForAll());
    EXPECT_EQ(user.notifications.size(), 1U);
    EXPECT_EQ(log.warnings(), QStringList());
}

class UploadFailure : public UploadOutcomeFixture {
protected:
    const QString inTemporary = QStringLiteral("temporary/a.pcap");
};

TEST_F(UploadFailure, ToCloudSharkAsksTheUser) {
    UploadServer server({{receiveRequest(), answer(R"({"exceptions": ["Invalid token"]})")}, {receiveRequest()}});
    serveFrom(server);
    for (int time = 0; time < 2; ++time) {
        outcome->uploadToCloudShark(write(inTemporary, "x"));
        ASSERT_TRUE(waitForAll());
    }
    ASSERT_EQ(user.alerts.size(), 2U);
    EXPECT_EQ(user.alerts[0].messageText, QStringLiteral("Failed to upload capture to CloudShark."));
    EXPECT_EQ(user.alerts[0].informativeText, QStringLiteral("Invalid token."));
    EXPECT_TRUE(user.alerts[0].offersSaveAs);
    EXPECT_EQ(user.alerts[1].messageText, QStringLiteral("Failed to upload capture to CloudShark."));
    EXPECT_EQ(user.alerts[1].informativeText, QStringLiteral("The network connection was lost."));
    EXPECT_THAT(progress, ElementsAre(100, -1, 100, -1));
    EXPECT_TRUE(QFileInfo::exists(folder.filePath(inTemporary))) << "cancelling keeps it";
    EXPECT_THAT(user.notifications, IsEmpty());
    EXPECT_EQ(server.requests().size(), 2U) << "nobody asked for another attempt";
    EXPECT_THAT(user.proposedNames, IsEmpty());
}

TEST_F(UploadFailure, ToMojoPacketsAsksTheUser) {
    UploadServer server({{receiveRequest(), answer(R"({"message": "Quota."})")}, {receiveRequest(), answer("{}")}});
    serveFrom(server);
    for (int time = 0; time < 2; ++time) {
        outcome->uploadToMojoPackets(write(QStringLiteral("picked.pcap"), "x"));
        ASSERT_TRUE(waitForAll());
    }
    ASSERT_EQ(user.alerts.size(), 2U);
    EXPECT_EQ(user.alerts[0].messageText, QStringLiteral("Failed to upload capture to Mojo Packets."));
    EXPECT_EQ(user.alerts[0].informativeText, QStringLiteral("Quota."));
    EXPECT_FALSE(user.alerts[0].offersSaveAs);
    EXPECT_EQ(user.alerts[1].informativeText, QStringLiteral("(null)")) << "the service said nothing";
    EXPECT_THAT(progress, ElementsAre(-1, -1));
}

TEST_F(UploadFailure, OffersToSaveWhatLiesInTheTemporaryFolderByItsPath) {
    UploadServer server({{receiveRequest(), answer(R"({"exceptions": ["no"]})")}});
    serveFrom(server);
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("temporary2")));
    const QString beside = write(QStringLiteral("temporary2/a.pcap"), "x");
    const QString outside = write(QStringLiteral("a.pcap"), "x");
    for (const QString& path : {folder.filePath(inTemporary), beside, outside}) {
        outcome->uploadToCloudShark(path);
        ASSERT_TRUE(waitForAll());
    }
    temporaryFolder.clear();
    outcome->uploadToCloudShark(outside);
    ASSERT_TRUE(waitForAll());
    ASSERT_EQ(user.alerts.size(), 4U);
    EXPECT_TRUE(user.alerts[0].offersSaveAs);
    EXPECT_TRUE(user.alerts[1].offersSaveAs);
    EXPECT_FALSE(user.alerts[2].offersSaveAs);
    EXPECT_FALSE(user.alerts[3].offersSaveAs);
}

TEST_F(UploadFailure, RetryingToCloudSharkKeepsTagsAndComments) {
    UploadServer server({{receiveRequest(), answer(R"({"exceptions": ["no"]})")},
                         {receiveRequest()},
                         {receiveRequest(), answer(cloudSharkSuccess)}});
    serveFrom(server);
    user.answerAlert = [] { return Choice::Retry; };
    outcome->uploadToCloudShark(write(QStringLiteral("picked.pcap"), "content"), QStringLiteral("a b"),
                                QStringLiteral("c"));
    ASSERT_TRUE(waitForAll());
    ASSERT_TRUE(server.waitForRequests(3));
    for (const ReceivedRequest& request : server.requests()) {
        EXPECT_EQ(
            request.line,
            QStringLiteral("PUT /api/v1/t0ken/upload?filename=picked.pcap;additional_tags=a%20b;comments=c HTTP/1.1"));
        EXPECT_EQ(request.body, "content");
    }
    EXPECT_EQ(user.alerts.size(), 2U);
    EXPECT_EQ(user.notifications.size(), 1U);
    EXPECT_THAT(progress, ElementsAre(100, -1, 100, -1, 100, -1));
}

TEST_F(UploadFailure, RetryingToMojoPacketsUploadsThereAgain) {
    UploadServer server({{receiveRequest(), answer("{}")}, {receiveRequest(), answer(mojoSuccess)}});
    serveFrom(server);
    user.answerAlert = [] { return Choice::Retry; };
    outcome->uploadToMojoPackets(write(inTemporary, "content"));
    ASSERT_TRUE(waitForAll());
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(user.alerts.size(), 1U);
    ASSERT_EQ(user.notifications.size(), 1U);
    EXPECT_EQ(user.notifications.front().title, QStringLiteral("Capture successfully uploaded to Mojo Packets"));
    EXPECT_FALSE(QFileInfo::exists(folder.filePath(inTemporary)));
}

TEST_F(UploadFailure, SavingMovesTheFileWhenAPlaceIsChosen) {
    UploadServer server({{receiveRequest(), answer(R"({"exceptions": ["no"]})")}});
    serveFrom(server);
    user.answerAlert = [] { return Choice::SaveAs; };
    const QString path = write(inTemporary, "content");
    outcome->uploadToCloudShark(path);
    ASSERT_TRUE(waitForAll());
    EXPECT_EQ(user.proposedNames, QStringList(QStringLiteral("a.pcap")));
    EXPECT_TRUE(QFileInfo::exists(path)) << "nothing is chosen yet";

    user.savePathChosen(folder.filePath(QStringLiteral("missing/b.pcap")));
    EXPECT_TRUE(QFileInfo::exists(path));
    EXPECT_EQ(log.warnings().size(), 1) << "a failure is only logged";
    EXPECT_EQ(user.alerts.size(), 1U);

    const QString chosen = write(QStringLiteral("b.pcap"), "old");
    outcome.reset(); // the panel may outlive the uploads
    user.savePathChosen(chosen);
    EXPECT_FALSE(QFileInfo::exists(path));
    QFile moved(chosen);
    ASSERT_TRUE(moved.open(QIODevice::ReadOnly));
    EXPECT_EQ(moved.readAll(), "content");
}

// An uploader of no service that is known here.
class OtherUploader : public VantrelUploader {
public:
    explicit OtherUploader(std::function<void(OtherUploader&)> act) : _act(std::move(act)) {}
    void upload() override {
        _act(*this);
        end();
    }
    using VantrelUploader::tellDidFail;
    using VantrelUploader::tellDidUpdateProgress;
    using VantrelUploader::tellDidUploadFile;

private:
    std::function<void(OtherUploader&)> _act;
};

TEST_F(UploadFailure, OfAnotherServiceIsNotTold) {
    const QString path = write(inTemporary, "x");
    const UserInfo info{{QStringLiteral("uploader"), QStringLiteral("CloudShark")},
                        {QStringLiteral("filename"), QStringLiteral("a.pcap")},
                        {QStringLiteral("pathtofile"), path},
                        {QStringLiteral("error"), QStringLiteral("x")}};
    inTheEventLoop([&] {
        outcome->start(std::make_unique<OtherUploader>([&](OtherUploader& uploader) {
            uploader.tellDidUpdateProgress(42);
            uploader.tellDidUploadFile(info);
            uploader.tellDidFail(info);
        }));
    });
    ASSERT_TRUE(waitForAll());
    EXPECT_THAT(progress, ElementsAre(42, -1, -1));
    EXPECT_THAT(user.notifications, IsEmpty());
    EXPECT_THAT(user.alerts, IsEmpty());
    EXPECT_TRUE(QFileInfo::exists(path));
}

class UploadsAtTheSameTime : public UploadOutcomeFixture {};

TEST_F(UploadsAtTheSameTime, AnAlertDoesNotHoldTheOthersUp) {
    UploadServer server({{receiveRequest(), answer(R"({"exceptions": ["no"]})")}});
    UploadServer other({{receiveRequest(), answer(mojoSuccess)}});
    settings.setString(keys::CloudSharkApplianceURL, server.url());
    settings.setString(keys::MojoPacketsServiceURL, other.url());
    user.answerAlert = [&] {
        // Its own connection ends, and another upload runs from start to end, while the alert stands.
        outcome->uploadToMojoPackets(write(QStringLiteral("temporary/b.pcap"), "x"));
        EXPECT_TRUE(runUntil([&] { return user.notifications.size() == 1 && server.closedConnections() == 1; }));
        return Choice::Cancel;
    };
    outcome->uploadToCloudShark(write(QStringLiteral("temporary/a.pcap"), "x"));
    ASSERT_TRUE(runUntil([&] { return user.alerts.size() == 1 && user.notifications.size() == 1; }));
    ASSERT_TRUE(waitForAll());
    EXPECT_THAT(progress, ElementsAre(100, -1, 100, -1));
    EXPECT_EQ(user.alerts.size(), 1U);
}

TEST_F(UploadsAtTheSameTime, TheFirstToEndTakesTheProgressAway) {
    UploadServer hanging({{receiveRequest(), waitForClose()}});
    settings.setString(keys::CloudSharkApplianceURL, hanging.url());
    outcome->uploadToCloudShark(write(QStringLiteral("a.pcap"), "x"));
    ASSERT_TRUE(runUntil([&] { return !progress.empty() && hanging.requests().size() == 1; }));
    UploadServer failing({{receiveRequest(), answer("{}")}});
    settings.setString(keys::MojoPacketsServiceURL, failing.url());
    outcome->uploadToMojoPackets(write(QStringLiteral("b.pcap"), "x"));
    EXPECT_EQ(running(), 2);
    ASSERT_TRUE(runUntil([&] { return running() == 1; }));
    EXPECT_THAT(progress, ElementsAre(100, -1));
}

TEST_F(UploadsAtTheSameTime, DestroyingTheOwnerGivesThemUp) {
    UploadServer server({{receiveRequest(), waitForClose()}});
    serveFrom(server);
    outcome->uploadToCloudShark(write(QStringLiteral("a.pcap"), "x"));
    outcome->uploadToMojoPackets(write(QStringLiteral("b.pcap"), "x"));
    ASSERT_TRUE(server.waitForRequests(2));
    progress.clear();
    outcome.reset();
    EXPECT_TRUE(server.waitForClosedConnections(2));
    EXPECT_THAT(progress, IsEmpty());
    EXPECT_THAT(user.alerts, IsEmpty());
}

TEST_F(UploadsAtTheSameTime, AnUploadThatCannotBeginIsLetGoUnseen) {
    settings.setString(keys::CloudSharkApplianceURL, QStringLiteral("ftp://127.0.0.1"));
    inTheEventLoop([&] { outcome->uploadToCloudShark(write(QStringLiteral("a.pcap"), "x")); });
    ASSERT_TRUE(waitForAll());
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("failed.")));
    EXPECT_THAT(progress, IsEmpty());
    EXPECT_THAT(user.alerts, IsEmpty());
}

} // namespace
} // namespace vantrel
