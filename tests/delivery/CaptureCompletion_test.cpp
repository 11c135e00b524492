#include "delivery/CaptureCompletion.h"

#include "CompletionFixture.h"
#include "support/LogCapture.h"

#include <QScopeGuard>
#include <QTimer>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>

namespace vantrel::testing {
namespace {

constexpr std::uint64_t gib = 1073741824;

class CaptureCompletionTest : public CompletionFixture {
protected:
    const QString temporary = path(QStringLiteral("tmp/vantrel_x.pcap"));
    const QString saved = path(QStringLiteral("desktop/vantrel_x.pcap"));
    const QString gathered = QStringLiteral("desktop/vantrel_x/vantrel_x.%1.pcap");

    QByteArray number(const char* digits) { return content(gathered.arg(QLatin1StringView(digits))); }
    QString sizeSaid(std::uint64_t bytes) {
        CaptureToDeliver file = capture();
        file.totalBytes = bytes;
        EXPECT_TRUE(completion.finalizeCaptureFile(file));
        return recorder.notifications.back().informativeText;
    }
};

TEST_F(CaptureCompletionTest, ASingleFileGoesToItsFolderAndIsAnnounced) {
    EXPECT_TRUE(completion.finalizeCaptureFile(capture()));
    EXPECT_EQ(content(QStringLiteral("desktop/vantrel_x.pcap")), "frames");
    EXPECT_FALSE(QFile::exists(temporary));
    ASSERT_EQ(recorder.notifications.size(), 1U);
    const UserNotification& told = recorder.notifications.front();
    EXPECT_EQ(told.title.toStdString(), "Capture completed");
    EXPECT_EQ(told.subtitle.toStdString(), "vantrel_x.pcap");
    EXPECT_EQ(told.informativeText.toStdString(), "12 frames (1 KB)");
    EXPECT_EQ(told.otherButtonTitle.toStdString(), "Dismiss");
    EXPECT_EQ(told.userInfo,
              (UserInfo{{QStringLiteral("uploader"), QStringLiteral("LocalSingle")}, {QStringLiteral("path"), saved}}));
}

TEST_F(CaptureCompletionTest, SizesAreSaidInTheirUnits) {
    EXPECT_EQ(sizeSaid(1023).toStdString(), "12 frames (1023 bytes)");
    EXPECT_EQ(sizeSaid(1024).toStdString(), "12 frames (1 KB)");
    EXPECT_EQ(sizeSaid(1048575).toStdString(), "12 frames (1023 KB)");
    EXPECT_EQ(sizeSaid(1048576).toStdString(), "12 frames (1.00 MB)");
    EXPECT_EQ(sizeSaid(gib - 1).toStdString(), "12 frames (1024.00 MB)");
    EXPECT_EQ(sizeSaid(gib).toStdString(), "12 frames ()");
}

TEST_F(CaptureCompletionTest, WithoutTheSettingNothingIsAnnounced) {
    settings.setBool(keys::ShowCaptureCompleteNotification, false);
    EXPECT_TRUE(completion.finalizeCaptureFile(capture()));
    EXPECT_TRUE(recorder.notifications.empty());
    EXPECT_EQ(content(QStringLiteral("desktop/vantrel_x.pcap")), "frames");
}

TEST_F(CaptureCompletionTest, AFileOfThatNameIsReplaced) {
    QFile old(saved);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.close();
    EXPECT_TRUE(completion.finalizeCaptureFile(capture()));
    EXPECT_EQ(content(QStringLiteral("desktop/vantrel_x.pcap")), "frames");
}

TEST_F(CaptureCompletionTest, AFolderOfThatNameIsNotReplaced) {
    ASSERT_TRUE(QDir().mkpath(saved + QStringLiteral("/inside")));
    EXPECT_FALSE(completion.finalizeCaptureFile(capture()));
    settle();
    EXPECT_EQ(recorder.events.join(u'\n'),
              QStringLiteral("alert: Failed to save capture file. | %1: there is a folder of that name. The capture "
                             "file is kept as %2")
                  .arg(saved, temporary));
    EXPECT_EQ(content(QStringLiteral("tmp/vantrel_x.pcap")), "frames");
    EXPECT_TRUE(QFileInfo::exists(saved + QStringLiteral("/inside")));
}

TEST_F(CaptureCompletionTest, AVanishedFolderIsToldWithTheReasonAndTheFilesPlace) {
    ASSERT_TRUE(QDir().rmdir(path(QStringLiteral("desktop"))));
    const LogCapture log;
    EXPECT_FALSE(completion.finalizeCaptureFile(capture()));
    EXPECT_TRUE(recorder.events.isEmpty()) << "the alert must not hold up the end of the capture";
    settle();
    EXPECT_EQ(recorder.events.join(u'\n'), QStringLiteral("alert: Failed to save capture file. | %1: No such file or "
                                                          "directory. The capture file is kept as %2")
                                               .arg(saved, temporary));
    EXPECT_EQ(log.warnings().size(), 1);
    EXPECT_EQ(content(QStringLiteral("tmp/vantrel_x.pcap")), "frames");
}

TEST_F(CaptureCompletionTest, SavePanelDecides) {
    CaptureToDeliver file = capture();
    file.location = QStringLiteral("AskForEachCapture");
    recorder.chosenPath = path(QStringLiteral("desktop/mine.pcap"));
    EXPECT_TRUE(completion.finalizeCaptureFile(file));
    EXPECT_EQ(recorder.events.first().toStdString(), "save panel: vantrel_x.pcap");
    EXPECT_EQ(content(QStringLiteral("desktop/mine.pcap")), "frames");
    EXPECT_EQ(recorder.notifications.front().subtitle.toStdString(), "mine.pcap");
}

TEST_F(CaptureCompletionTest, ACancelledSavePanelLeavesTheFileAndIsNoFailure) {
    CaptureToDeliver file = capture();
    file.location = QStringLiteral("AskForEachCapture");
    EXPECT_TRUE(completion.finalizeCaptureFile(file));
    settle();
    EXPECT_EQ(recorder.events.join(u'/').toStdString(), "save panel: vantrel_x.pcap");
    EXPECT_EQ(content(QStringLiteral("tmp/vantrel_x.pcap")), "frames");
}

TEST_F(CaptureCompletionTest, UploadsStartAndLeaveTheFile) {
    CaptureToDeliver file = capture();
    file.location = QStringLiteral("CloudShark");
    EXPECT_TRUE(completion.finalizeCaptureFile(file));
    file.location = QStringLiteral("MojoPackets");
    file.reconnecting = true;
    EXPECT_TRUE(completion.finalizeCaptureFile(file));
    EXPECT_EQ(recorder.events.join(u'/').toStdString(),
              "upload to CloudShark: vantrel_x.pcap/upload to Mojo Packets: vantrel_x.pcap, reconnecting");
    EXPECT_EQ(content(QStringLiteral("tmp/vantrel_x.pcap")), "frames");
}

TEST_F(CaptureCompletionTest, SeveralFilesAreNeverUploaded) {
    CaptureToDeliver file = fileOfSeveral("frames");
    file.location = QStringLiteral("CloudShark");
    EXPECT_TRUE(completion.finalizeCaptureFile(file));
    EXPECT_TRUE(recorder.events.isEmpty());
    EXPECT_EQ(content(QStringLiteral("tmp/vantrel_x.pcap")), "frames");
}

TEST_F(CaptureCompletionTest, NumberedFilesMoveUpAndTheOldestIsReplaced) {
    for (const char* name : {"a", "b", "c"}) {
        EXPECT_TRUE(completion.finalizeCaptureFile(fileOfSeveral(name)));
    }
    EXPECT_EQ(number("001") + number("002") + number("003"), "cba");
    EXPECT_TRUE(completion.finalizeCaptureFile(fileOfSeveral("d")));
    EXPECT_EQ(number("001") + number("002") + number("003"), "dcb");
    EXPECT_EQ(QDir(path(QStringLiteral("desktop/vantrel_x"))).entryList(QDir::Files | QDir::Hidden).size(), 3);
}

TEST_F(CaptureCompletionTest, OnlyTheLastFileOfSeveralIsAnnounced) {
    EXPECT_TRUE(completion.finalizeCaptureFile(fileOfSeveral("a")));
    EXPECT_TRUE(recorder.notifications.empty());
    CaptureToDeliver last = fileOfSeveral("b");
    last.isCapturing = false;
    last.totalCaptureFiles = 2;
    EXPECT_TRUE(completion.finalizeCaptureFile(last));
    ASSERT_EQ(recorder.notifications.size(), 1U);
    const UserNotification& told = recorder.notifications.front();
    EXPECT_EQ(told.title.toStdString(), "Capture completed");
    EXPECT_EQ(told.subtitle.toStdString(), "vantrel_x");
    EXPECT_EQ(told.informativeText.toStdString(), "2 files, 12 frames (1 KB)");
    EXPECT_EQ(told.otherButtonTitle.toStdString(), "Dismiss");
    EXPECT_EQ(told.userInfo, (UserInfo{{QStringLiteral("uploader"), QStringLiteral("LocalMultiple")},
                                       {QStringLiteral("location"), path(QStringLiteral("desktop/vantrel_x"))}}));
}

TEST_F(CaptureCompletionTest, OneFileOfSeveralIsCalledAFile) {
    CaptureToDeliver last = fileOfSeveral("a");
    last.isCapturing = false;
    EXPECT_TRUE(completion.finalizeCaptureFile(last));
    EXPECT_EQ(recorder.notifications.front().informativeText.toStdString(), "1 file, 12 frames (1 KB)");
}

TEST_F(CaptureCompletionTest, AFailureAtRotationIsToldOnceAndAgainAtTheEnd) {
    QFile inTheWay(path(QStringLiteral("desktop/vantrel_x")));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    CaptureToDeliver file = fileOfSeveral("a");
    EXPECT_FALSE(completion.finalizeCaptureFile(file));
    file.isRetry = true;
    EXPECT_FALSE(completion.finalizeCaptureFile(file));
    settle();
    const QString reason = QStringLiteral("alert: Failed to save capture file. | %1: the folder cannot be made. The "
                                          "capture file is kept as %2")
                               .arg(inTheWay.fileName(), temporary);
    EXPECT_EQ(recorder.events.join(u'\n'),
              reason + QStringLiteral(". Frames are lost, and counted, until it can be saved."));
    file.isCapturing = false;
    EXPECT_FALSE(completion.finalizeCaptureFile(file));
    settle();
    EXPECT_EQ(recorder.events.last(), reason);
    EXPECT_EQ(recorder.events.size(), 2);
}

TEST_F(CaptureCompletionTest, AFileForWhichTheOthersCannotMoveUpStaysAndReplacesNone) {
    EXPECT_TRUE(completion.finalizeCaptureFile(fileOfSeveral("a")));
    ASSERT_TRUE(QDir().mkpath(path(QStringLiteral("desktop/vantrel_x/vantrel_x.002.pcap")))); // a folder in the way
    EXPECT_FALSE(completion.finalizeCaptureFile(fileOfSeveral("b")));
    settle();
    ASSERT_EQ(recorder.events.size(), 1);
    EXPECT_TRUE(recorder.events.first().contains(
        QStringLiteral("vantrel_x.002.pcap: Is a directory. The capture file is kept as %1").arg(temporary)));
    EXPECT_EQ(number("001"), "a");
    EXPECT_EQ(content(QStringLiteral("tmp/vantrel_x.pcap")), "b");
}

TEST_F(CaptureCompletionTest, OpensTheFileInTheChosenApplication) {
    settings.setBool(keys::OpenInApplication, true);
    settings.setString(keys::OpenInApplicationPath, QStringLiteral("/apps/reader.desktop"));
    EXPECT_TRUE(completion.finalizeCaptureFile(capture()));
    EXPECT_EQ(recorder.events.join(u'/'), QStringLiteral("notification/open: %1 with /apps/reader.desktop").arg(saved));
}

TEST_F(CaptureCompletionTest, WithoutAnApplicationNothingIsOpenedOrSaid) {
    settings.setBool(keys::OpenInApplication, true);
    settings.setBool(keys::RunScript, true);
    EXPECT_TRUE(completion.finalizeCaptureFile(capture()));
    EXPECT_EQ(recorder.events.join(u'/').toStdString(), "notification");
}

TEST_F(CaptureCompletionTest, OffersTheFileToAScript) {
    settings.setBool(keys::DoNothing, false);
    settings.setBool(keys::RunScript, true);
    EXPECT_TRUE(completion.finalizeCaptureFile(capture()));
    EXPECT_EQ(recorder.events.join(u'/'), QStringLiteral("notification/script panel: %1").arg(saved));
}

TEST_F(CaptureCompletionTest, SeveralFilesAreNeitherOpenedNorOffered) {
    settings.setBool(keys::OpenInApplication, true);
    settings.setString(keys::OpenInApplicationPath, QStringLiteral("/apps/reader.desktop"));
    settings.setBool(keys::RunScript, true);
    CaptureToDeliver last = fileOfSeveral("a");
    last.isCapturing = false;
    EXPECT_TRUE(completion.finalizeCaptureFile(last));
    EXPECT_EQ(recorder.events.join(u'/').toStdString(), "notification");
}

// A small file system stands where the captures go.
class FullDestination : public CaptureCompletionTest {
protected:
    void SetUp() override {
        if (::mount("tmpfs", qPrintable(desktop), "tmpfs", 0, "size=64k") != 0) {
            GTEST_SKIP() << "mounting a small file system needs CAP_SYS_ADMIN";
        }
    }
    void TearDown() override { ::umount2(qPrintable(desktop), MNT_DETACH); }

    const QString desktop = path(QStringLiteral("desktop"));
};

TEST_F(FullDestination, MovesNothing) {
    ASSERT_TRUE(completion.finalizeCaptureFile(fileOfSeveral("first", 2)));
    ASSERT_TRUE(completion.finalizeCaptureFile(fileOfSeveral("second", 2)));
    const QByteArray large(200'000, 'x');
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_FALSE(completion.finalizeCaptureFile(fileOfSeveral(large, 2)));
    }
    settle();
    EXPECT_TRUE(recorder.events.first().contains(QStringLiteral("No space left on device. The capture file is kept")));
    EXPECT_EQ(number("001") + number("002"), "secondfirst");
    EXPECT_EQ(QDir(path(QStringLiteral("desktop/vantrel_x"))).entryList(QDir::Files | QDir::Hidden).size(), 2)
        << "a passing copy was left behind";
    EXPECT_EQ(content(QStringLiteral("tmp/vantrel_x.pcap")), large);
}

TEST_F(FullDestination, TheMainThreadGoesOnWhileAFileIsCopied) {
    bool wentOn = false;
    QTimer::singleShot(0, &mainQueue, [&wentOn] { wentOn = true; });
    EXPECT_TRUE(completion.finalizeCaptureFile(capture(QByteArray(40'000, 'x'))));
    EXPECT_TRUE(wentOn);
    EXPECT_EQ(content(QStringLiteral("desktop/vantrel_x.pcap")).size(), 40'000);
}

TEST_F(FullDestination, TheQueuesThreadCopiesByItself) {
    bool done = false;
    std::thread queue([&] { done = completion.finalizeCaptureFile(fileOfSeveral("a")); });
    queue.join(); // without the main thread's help
    EXPECT_TRUE(done);
    EXPECT_EQ(number("001"), "a");
}

} // namespace
} // namespace vantrel::testing
