#include "app/SessionAdapters.h"

#include "AppFixture.h"
#include "engine/CaptureTotals.h"
#include "support/LogCapture.h"
#include "support/QuietDelivery.h"

#include <QFile>
#include <QFileInfo>
#include <pcap/pcap.h>

namespace vantrel::testing {
namespace {

class DeliveringFinalizerTest : public ::testing::Test {
protected:
    // A file of the capture "vantrel_x" with this many frames of 4 bytes.
    std::unique_ptr<VantrelCaptureFile> fileWith(int frames) {
        auto file = VantrelCaptureFile::initWithPath(path(QStringLiteral("vantrel_x.pcap")), 127);
        const std::array<std::uint8_t, 4> frame{1, 2, 3, 4};
        pcap_pkthdr header{};
        header.caplen = header.len = static_cast<bpf_u_int32>(frame.size());
        for (int number = 0; file && number < frames; ++number) {
            file->dumpWithHeader(header, frame.data());
        }
        return file;
    }
    FinishedCapture finished(VantrelCaptureFile& file, std::int64_t maxFiles) {
        return {.file = file,
                .totals = totals,
                .location = path(QStringLiteral("captures")),
                .prefix = QStringLiteral("vantrel_x"),
                .isMultipleFileCapture = maxFiles > 1,
                .maxCaptureFiles = maxFiles};
    }
    [[nodiscard]] QString path(const QString& name) const { return QDir(folder.path()).filePath(name); }
    [[nodiscard]] std::size_t framesIn(const QString& name) const {
        const ReadCapture read = readCapture(path(name));
        EXPECT_TRUE(read.isWhole) << qPrintable(name);
        return read.packets.size();
    }

    QTemporaryDir folder;
    CaptureTotals totals;
    SettingsStore settings{path(QStringLiteral("settings.json"))};
    MainQueue mainQueue;
    QuietDelivery delivery{settings, mainQueue, [](const QString&, const QString&) {}};
    CaptureFinalizer& finalizer = delivery.finalizer();
};

constexpr std::uint64_t sizeOf(std::uint64_t frames) { return 24 + frames * (16 + 4); }

TEST_F(DeliveringFinalizerTest, SingleFileIsClosedCountedAndDelivered) {
    const auto file = fileWith(3);
    ASSERT_TRUE(file);
    ASSERT_TRUE(QDir().mkdir(path(QStringLiteral("captures"))));
    EXPECT_TRUE(finalizer.finalizeCaptureFile(finished(*file, 1)));
    EXPECT_EQ(framesIn(QStringLiteral("captures/vantrel_x.pcap")), 3U);
    EXPECT_EQ(totals.totalFrames(1), 3U);
    EXPECT_EQ(totals.totalBytes(1), sizeOf(3));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("vantrel_x.pcap"))));
}

TEST_F(DeliveringFinalizerTest, AFileWhoseSavePanelIsCancelledIsCountedAndStays) {
    const auto file = fileWith(3);
    ASSERT_TRUE(file);
    FinishedCapture asked = finished(*file, 1);
    asked.location = QStringLiteral("AskForEachCapture");
    EXPECT_TRUE(finalizer.finalizeCaptureFile(asked));
    EXPECT_EQ(framesIn(QStringLiteral("vantrel_x.pcap")), 3U);
    EXPECT_EQ(totals.totalFrames(1), 3U);
    EXPECT_EQ(totals.totalBytes(1), sizeOf(3));
}

TEST_F(DeliveringFinalizerTest, MultipleFilesAreGatheredNewestFirstAndCountedWhileKept) {
    for (int frames = 1; frames <= 3; ++frames) {
        const auto file = fileWith(frames);
        ASSERT_TRUE(file);
        EXPECT_TRUE(finalizer.finalizeCaptureFile(finished(*file, 2)));
    }
    const QString gathered = QStringLiteral("captures/vantrel_x/vantrel_x.%1.pcap");
    EXPECT_EQ(framesIn(gathered.arg(QStringLiteral("001"))), 3U);
    EXPECT_EQ(framesIn(gathered.arg(QStringLiteral("002"))), 2U);
    EXPECT_EQ(QDir(path(QStringLiteral("captures/vantrel_x"))).entryList(QDir::Files).size(), 2);
    EXPECT_EQ(totals.totalFrames(2), 5U);
    EXPECT_EQ(totals.totalBytes(2), sizeOf(2) + sizeOf(3));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("vantrel_x.pcap"))));
}

TEST_F(DeliveringFinalizerTest, DestinationThatFailsIsLoggedAndTheFileStays) {
    ASSERT_TRUE(QFile(path(QStringLiteral("captures"))).open(QIODevice::WriteOnly)); // no folder can stand there
    const auto file = fileWith(3);
    ASSERT_TRUE(file);
    const LogCapture log;
    EXPECT_FALSE(finalizer.finalizeCaptureFile(finished(*file, 2)));
    ASSERT_EQ(log.warnings().size(), 1);
    EXPECT_TRUE(log.warnings().first().startsWith(
        QStringLiteral("%1 stays where it is: ").arg(path(QStringLiteral("vantrel_x.pcap")))))
        << qPrintable(log.warnings().first());
    EXPECT_EQ(framesIn(QStringLiteral("vantrel_x.pcap")), 3U);
    EXPECT_EQ(totals.totalFrames(2), 3U);
}

using AlertDialogsTest = AppFixture;

TEST_F(AlertDialogsTest, AsksTheUser) {
    make(); // whoever answers lives as long as it
    AlertDialogs dialogs;
    answerAlert(QStringLiteral("OK"));
    dialogs.showCriticalAlertWithInfo(QStringLiteral("What."), QStringLiteral("Why."));
    EXPECT_EQ(alerts.join(u'/'), QStringLiteral("What. | Why."));
}

TEST_F(AlertDialogsTest, OnlyLogsOnceNobodyIsThere) {
    AlertDialogs dialogs;
    dialogs.stopAsking();
    const LogCapture log;
    dialogs.showCriticalAlertWithInfo(QStringLiteral("What."), QStringLiteral("Why."));
    EXPECT_EQ(log.warnings().join(u'/'), QStringLiteral("What. Why."));
    EXPECT_FALSE(dialogs.chooseCaptureFolder());
}

TEST_F(AlertDialogsTest, QuestionsAreDeclinedOnceNobodyIsThere) {
    AlertDialogs dialogs;
    dialogs.stopAsking();
    const LogCapture log;
    const auto answer = dialogs.ask({.messageText = QStringLiteral("What."),
                                     .informativeText = QStringLiteral("Why."),
                                     .firstButton = QStringLiteral("Yes"),
                                     .secondButton = QStringLiteral("No")});
    EXPECT_FALSE(answer.isFirstButton);
    EXPECT_FALSE(answer.isSuppressed);
    EXPECT_EQ(log.warnings().join(u'/'), QStringLiteral("What. Why."));
}

} // namespace
} // namespace vantrel::testing
