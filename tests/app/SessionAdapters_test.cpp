#include "app/SessionAdapters.h"

#include "AppFixture.h"
#include "engine/CaptureTotals.h"
#include "support/LogCapture.h"
#include "wifi/AbsentAdapter.h"

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
    DeliveringFinalizer finalizer;
};

constexpr std::uint64_t sizeOf(std::uint64_t frames) { return 24 + frames * (16 + 4); }

TEST_F(DeliveringFinalizerTest, SingleFileIsClosedCountedAndStays) {
    const auto file = fileWith(3);
    ASSERT_TRUE(file);
    EXPECT_TRUE(finalizer.finalizeCaptureFile(finished(*file, 1)));
    EXPECT_EQ(framesIn(QStringLiteral("vantrel_x.pcap")), 3U);
    EXPECT_EQ(totals.totalFrames(1), 3U);
    EXPECT_EQ(totals.totalBytes(1), sizeOf(3));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("captures"))));
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

class TrayCaptureViewTest : public ::testing::Test {
protected:
    TrayCaptureViewTest() {
        view.updateStatusItem();
        view.setProgressText([this] { return progress; });
    }

    QString progress = QStringLiteral("Capturing, frames: 1");
    std::unique_ptr<CWWiFiClient> wifi = makeAbsentAdapterClient();
    ui::StatusItem item;
    TrayCaptureView view{item, *wifi};
    const QString idle = QStringLiteral("Vantrel: Off (no Wi-Fi adapter)");
};

TEST_F(TrayCaptureViewTest, ToolTipFollowsTheProgressWhileItIsShown) {
    EXPECT_EQ(item.toolTip(), idle);
    view.disableCaptures();
    view.updateProgress();
    EXPECT_EQ(item.toolTip(), idle) << "it is not shown yet";
    view.startProgress();
    EXPECT_EQ(item.toolTip(), QStringLiteral("Capturing, frames: 1 (no Wi-Fi adapter)"));
    progress = QStringLiteral("Capturing, frames: 2");
    view.updateStatusItem();
    EXPECT_EQ(item.toolTip(), QStringLiteral("Capturing, frames: 1 (no Wi-Fi adapter)"));
    view.updateProgress();
    EXPECT_EQ(item.toolTip(), QStringLiteral("Capturing, frames: 2 (no Wi-Fi adapter)"));
    view.closeProgress();
    EXPECT_EQ(item.toolTip(), idle);
}

TEST_F(TrayCaptureViewTest, ProgressThatComesAfterTheEndIsNotShown) {
    view.disableCaptures();
    view.enableCaptures();
    view.startProgress();
    view.updateProgress();
    EXPECT_EQ(item.toolTip(), idle);
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

class TrayWithAdapter : public ::testing::Test {
protected:
    // With the adapter off the air or in its network, on no other channels than these.
    void make(bool associated, std::optional<std::vector<CWChannel>> supported = {}) {
        SimulatedOptions options;
        options.transport = SimulatedTransport::Stream;
        options.startAssociated = associated;
        options.supportedChannels = std::move(supported);
        wifi = makeSimulatedClient(options);
        view = std::make_unique<TrayCaptureView>(item, *wifi);
    }
    QString toolTip() {
        view->updateStatusItem();
        return item.toolTip();
    }
    // The power and network commands that the menu offers.
    QString offers() {
        view->updateStatusMenu();
        QStringList titles;
        for (const QAction* action : item.menu()->actions()) {
            if (action->isVisible() && (action->text().startsWith(QStringLiteral("Turn")) ||
                                        action->text().startsWith(QStringLiteral("Dis")))) {
                titles << action->text();
            }
        }
        return titles.join(u'|');
    }

    std::unique_ptr<CWWiFiClient> wifi;
    ui::StatusItem item;
    std::unique_ptr<TrayCaptureView> view;
};

TEST_F(TrayWithAdapter, ToolTipShowsChannelAndWidth) {
    make(false);
    ASSERT_TRUE(wifi->interface().setWLANChannel({6, bandTwoDotFourGHz, width20MHz}));
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel: 6 (20 MHz) (simulated)"));
    ASSERT_TRUE(wifi->interface().setWLANChannel({100, bandFiveGHz, width160MHz}));
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel: 100 (160 MHz) (simulated)"));
    ASSERT_TRUE(wifi->interface().setPower(false));
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel: Off (simulated)"));
}

TEST_F(TrayWithAdapter, ToolTipWithoutAChannelShowsNone) {
    make(false, std::vector<CWChannel>{});
    EXPECT_EQ(toolTip(), QStringLiteral("Vantrel (simulated)"));
}

TEST_F(TrayWithAdapter, MenuOffersWhatTheAdapterCanDo) {
    make(true);
    EXPECT_EQ(offers(), QStringLiteral("Disconnect from Vantrel Lab|Turn Wi-Fi Off"));
    wifi->interface().disassociate();
    EXPECT_EQ(offers(), QStringLiteral("Turn Wi-Fi Off"));
    ASSERT_TRUE(wifi->interface().setPower(false));
    EXPECT_EQ(offers(), QStringLiteral("Turn Wi-Fi On"));
}

} // namespace
} // namespace vantrel::testing
