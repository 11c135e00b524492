// Limits, rotation, and writing that fails.
#include "SessionLive.h"
#include "SmallFileSystem.h"
#include "support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace vantrel {
namespace {

using testing::LogCapture;
using testing::pcapFaults;
using testing::runUntil;
using namespace std::chrono_literals;

class CaptureSessionFilesTest : public testing::LiveSession {
protected:
    void limit(std::int64_t value, std::int64_t units, std::int64_t maxFiles, bool rotate = true) {
        set(keys::LimitCaptureFile, 1);
        set(keys::LimitCaptureFileValue, value);
        set(keys::LimitCaptureFileUnits, units);
        set(keys::MaxCaptureFiles, maxFiles);
        settings.setBool(keys::RotateCaptureFiles, rotate);
    }

    void send(int frames, std::size_t length = 100) {
        for (int frame = 1; frame <= frames; ++frame) {
            receive(static_cast<std::uint8_t>(frame), length);
        }
    }

    bool stop() {
        session->userDidStop();
        return waitIdle();
    }

    using Counts = std::vector<std::uint64_t>;
};

TEST_F(CaptureSessionFilesTest, ByDefaultThereIsOneFileAndNoLimit) {
    ASSERT_TRUE(start());
    EXPECT_FALSE(session->isMultipleFileCapture());
    send(500);
    ASSERT_TRUE(runUntil([&] { return session->progress().frames == 500; }));
    ASSERT_TRUE(stop());
    EXPECT_EQ(recorder.finalized(), Counts{500});
}

TEST_F(CaptureSessionFilesTest, UploadsAreNeverMultipleFileCaptures) {
    limit(1, 4, 3);
    ASSERT_TRUE(session->prepareCapture());
    EXPECT_TRUE(session->isMultipleFileCapture());
    for (const auto location : {locations::CloudShark, locations::MojoPackets}) {
        settings.setString(keys::CaptureFilesLocation, location);
        EXPECT_FALSE(session->isMultipleFileCapture());
    }
    settings.setString(keys::CaptureFilesLocation, locations::AskForEachCapture);
    EXPECT_TRUE(session->isMultipleFileCapture());
    settings.setBool(keys::LimitCaptureFile, false);
    EXPECT_FALSE(session->isMultipleFileCapture());
}

TEST_F(CaptureSessionFilesTest, AFrameLimitOfOneGivesOneFramePerFile) {
    limit(1, 4, 50);
    ASSERT_TRUE(start());
    send(5);
    ASSERT_TRUE(runUntil([&] { return session->progress().totalCaptureFiles == 5; }));
    ASSERT_TRUE(stop());
    EXPECT_EQ(recorder.finalized(), (Counts{1, 1, 1, 1, 1}));
}

TEST_F(CaptureSessionFilesTest, ASingleFileCaptureEndsByItselfAtItsLimit) {
    limit(3, 4, 1);
    ASSERT_TRUE(start());
    send(10);
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.finalized(), Counts{3});
    EXPECT_EQ(session->totalFrames(), 3U);
}

TEST_F(CaptureSessionFilesTest, WithoutRotationTheCaptureEndsAtTheFrameThatWouldOpenOneFileMore) {
    limit(2, 4, 3, false);
    ASSERT_TRUE(start());
    send(20);
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.finalized(), (Counts{2, 2, 2}));
    EXPECT_EQ(session->progress().totalCaptureFiles, 3);
}

TEST_F(CaptureSessionFilesTest, WithRotationItRunsUntilStoppedAndTheCountNeverExceedsTheMaximum) {
    limit(2, 4, 3);
    ASSERT_TRUE(start());
    send(20);
    ASSERT_TRUE(runUntil([&] { return recorder.finalized().size() == 9 && session->progress().frames == 2; }));
    EXPECT_EQ(session->progress().totalCaptureFiles, 3);
    ASSERT_TRUE(stop());
    EXPECT_EQ(recorder.finalized(), Counts(10, 2));
    EXPECT_EQ(session->totalFrames(), 6U) << "only the files still kept count";
}

TEST_F(CaptureSessionFilesTest, ASizeLimitEndsTheFileWithTheFrameThatReachesIt) {
    limit(1, 0, 10); // 1024 bytes: eight frames of 100 + 24 bytes are 992, the ninth reaches it
    ASSERT_TRUE(start());
    send(20);
    ASSERT_TRUE(runUntil([&] { return recorder.finalized().size() == 2 && session->progress().frames == 2; }));
    ASSERT_TRUE(stop());
    EXPECT_EQ(recorder.finalized(), (Counts{9, 9, 2}));
}

TEST_F(CaptureSessionFilesTest, AnOvershotMegabyteLimitIsNoLimit) {
    limit(2048, 1, 1);
    ASSERT_TRUE(start());
    send(50, 2000);
    ASSERT_TRUE(runUntil([&] { return session->progress().frames == 50; }));
    EXPECT_TRUE(session->isCapturing());
}

TEST_F(CaptureSessionFilesTest, ATimeLimitRotatesWithNoTraffic) {
    limit(5, 2, 3);
    ASSERT_TRUE(start());
    ASSERT_TRUE(runUntil([&] { return timers.running() == 3; })); // limit, panel, update
    receiveInto(1);
    timers.advance(5000ms);
    ASSERT_TRUE(runUntil([&] { return recorder.finalized().size() == 1; }));
    ASSERT_TRUE(runUntil([&] { return timers.running() == 2; })); // armed again, the panel is open
    EXPECT_EQ(session->progress().totalCaptureFiles, 2);
    ASSERT_TRUE(stop());
    EXPECT_EQ(recorder.finalized(), Counts{1}) << "an empty last file of several is left alone";
    EXPECT_TRUE(alerts().isEmpty());
    EXPECT_EQ(timers.running(), 0U);
}

TEST_F(CaptureSessionFilesTest, ATimeLimitEndsASingleFileCapture) {
    limit(2, 3, 1);
    ASSERT_TRUE(start());
    ASSERT_TRUE(runUntil([&] { return timers.running() == 3; }));
    receiveInto(1);
    timers.advance(119s);
    EXPECT_TRUE(session->isCapturing());
    timers.advance(1s);
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.finalized(), Counts{1});
}

TEST_F(CaptureSessionFilesTest, ATimeLimitOfZeroArmsNoTimer) {
    limit(0, 2, 1);
    ASSERT_TRUE(start());
    ASSERT_TRUE(runUntil([&] { return timers.running() == 2; })); // panel and update
    receiveInto(1);
    EXPECT_EQ(timers.running(), 2U);
}

TEST_F(CaptureSessionFilesTest, AFailedDeliveryDropsTheFrameAndTheCaptureGoesOn) {
    limit(1, 4, 5);
    recorder.finalizing = false;
    ASSERT_TRUE(start());
    send(3);
    ASSERT_TRUE(runUntil([&] { return recorder.attempts > 0; }));
    packetQueue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(session->isCapturing());
    EXPECT_EQ(session->progress().totalCaptureFiles, 1);
    EXPECT_EQ(session->progress().frames, 1U);
    EXPECT_TRUE(QFile::exists(temporaryFile()));
    EXPECT_EQ(session->totalFrames(), 1U) << "counted once, however often it is tried";
    EXPECT_EQ(session->progress().framesNotWritten, 2U);
    recorder.finalizing = true;
    // Real time: the next try comes a second after the one that failed.
    ASSERT_TRUE(runUntil([&] {
        receive();
        return session->progress().totalCaptureFiles > 1;
    }));
}

TEST_F(CaptureSessionFilesTest, AFailingDeliveryIsNotTriedAgainForEveryFrameAndNotWhenTheCaptureEnds) {
    limit(1, 4, 5);
    recorder.finalizing = false;
    ASSERT_TRUE(start());
    send(200);
    ASSERT_TRUE(runUntil([&] { return recorder.attempts > 0; }));
    const testing::LogCapture log;
    ASSERT_TRUE(stop());
    EXPECT_EQ(session->progress().framesNotWritten, 199U);
    EXPECT_EQ(log.warnings().filter(QStringLiteral("199 frames were lost while there was no file")).size(), 1);
    EXPECT_LE(recorder.attempts, 3) << "one at the limit, perhaps one a second later, one at the end";
    EXPECT_TRUE(QFile::exists(temporaryFile())) << "what could not be delivered stays";
}

TEST_F(CaptureSessionFilesTest, WhatIsPreparedForAnUploadStaysOneFileWhateverTheSettingsBecome) {
    limit(2, 4, 5);
    settings.setString(keys::CaptureFilesLocation, locations::CloudShark);
    ASSERT_TRUE(start());
    settings.setString(keys::CaptureFilesLocation, folder.path());
    ASSERT_TRUE(session->isMultipleFileCapture());
    send(5);
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.finalized(), Counts{2});
}

TEST_F(CaptureSessionFilesTest, AWriteErrorAtARotationDeliversTheFileOnce) {
    const testing::SmallFileSystem small(folder.filePath(QStringLiteral("small")), "size=60k");
    if (!small.isMounted()) {
        GTEST_SKIP() << "mounting a small file system needs CAP_SYS_ADMIN";
    }
    qputenv("TMPDIR", small.path().toLocal8Bit());
    recorder.keepsFiles = false;
    limit(100, 0, 5);
    ASSERT_TRUE(start());
    send(60, 2000);
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.attempts, 1);
    ASSERT_EQ(recorder.finalized().size(), 1U);
    EXPECT_EQ(session->totalFrames(), recorder.finalized().front());
    EXPECT_EQ(alerts().size(), 1);
}

TEST_F(CaptureSessionFilesTest, ADiskThatIsFullFromTheStartIsSaidAlsoWithSeveralFiles) {
    const testing::SmallFileSystem small(folder.filePath(QStringLiteral("small")), "size=4k");
    if (!small.isMounted()) {
        GTEST_SKIP() << "mounting a small file system needs CAP_SYS_ADMIN";
    }
    qputenv("TMPDIR", small.path().toLocal8Bit());
    limit(100, 0, 5);
    QFile filler(small.path() + QStringLiteral("/filler"));
    ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    while (filler.write("x", 1) == 1) {
    }
    ASSERT_TRUE(start());
    send(60, 2000);
    ASSERT_TRUE(waitIdle());
    EXPECT_TRUE(recorder.finalized().empty());
    ASSERT_EQ(alerts().size(), 1);
    EXPECT_TRUE(alerts().first().contains(QStringLiteral("No space left on device. The 0 frames written before")));
}

TEST_F(CaptureSessionFilesTest, ACaptureInTheSecondOfADeliveredOneGetsAFolderOfItsOwn) {
    limit(1, 4, 5);
    ASSERT_TRUE(start());
    receiveInto(1);
    ASSERT_TRUE(stop());
    const QString first = recorder.lastPrefix;
    ASSERT_TRUE(QDir(folder.path()).mkdir(first)); // where the delivery gathers the files
    ASSERT_TRUE(start());
    receiveInto(1);
    session->userDidCancel();
    ASSERT_TRUE(waitIdle());
    EXPECT_TRUE(QDir(folder.path()).exists(first)) << "the second capture's Cancel took the first one's files";
}

TEST_F(CaptureSessionFilesTest, ALostDeviceEndsTheTimeLimitToo) {
    limit(5, 2, 3);
    ASSERT_TRUE(start());
    ASSERT_TRUE(runUntil([&] { return timers.running() == 3; }));
    receiveInto(1);
    tap.reset();
    timers.advance(5000ms); // falls into the end of the capture
    ASSERT_TRUE(waitIdle());
    const auto files = recorder.finalized().size();
    timers.advance(20s);
    ASSERT_TRUE(waitIdle());
    packetQueue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(timers.running(), 0U);
    EXPECT_EQ(recorder.finalized().size(), files) << "an idle session rotates";
    EXPECT_EQ(session->progress().creationTime, QDateTime());
}

TEST_F(CaptureSessionFilesTest, CancelRemovesTheGatheredFolderAndTheCurrentFile) {
    limit(1, 4, 5);
    const QDir destination(folder.path());
    ASSERT_TRUE(start());
    const QString gathered = destination.filePath(QStringLiteral("vantrel_2026-03-04_09.15.02.PM"));
    ASSERT_TRUE(QDir().mkdir(gathered));
    QFile inside(gathered + QStringLiteral("/vantrel_2026-03-04_09.15.02.PM.001.pcap"));
    ASSERT_TRUE(inside.open(QIODevice::WriteOnly));
    receiveInto(1);
    session->userDidCancel();
    ASSERT_TRUE(waitIdle());
    EXPECT_FALSE(QFile::exists(gathered));
    EXPECT_EQ(temporaryFile(), QString());
    EXPECT_TRUE(recorder.finalized().empty());
}

TEST_F(CaptureSessionFilesTest, AFileInTheWayIsLoggedAndLeftAlone) {
    ASSERT_TRUE(session->prepareCapture());
    const QDir temporary(folder.filePath(QStringLiteral("vantrel-%1").arg(::geteuid())));
    QFile inTheWay(temporary.filePath(QStringLiteral("vantrel_2026-03-04_09.15.02.PM.pcap")));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    const LogCapture log;
    ASSERT_TRUE(session->startCapture(CaptureMode::SingleChannel));
    ASSERT_TRUE(runUntil([&] { return alerts().size() == 1; }));
    ASSERT_TRUE(stop());
    EXPECT_EQ(log.warnings(),
              QStringList(QStringLiteral("pcap_dump_open() failed for file %1: File exists").arg(inTheWay.fileName())));
    EXPECT_EQ(inTheWay.size(), 0);
    EXPECT_TRUE(inTheWay.exists());
    EXPECT_EQ(
        alerts().first(),
        QStringLiteral("alert: The capture has no file. | The file %1 cannot be made. Frames are lost, and counted, "
                       "without it.")
            .arg(inTheWay.fileName()));
}

TEST_F(CaptureSessionFilesTest, AFullDiskEndsTheCaptureKeepsItsRecordsAndTellsTheUser) {
    const testing::SmallFileSystem small(folder.filePath(QStringLiteral("small")), "size=200k");
    if (!small.isMounted()) {
        GTEST_SKIP() << "mounting a small file system needs CAP_SYS_ADMIN";
    }
    qputenv("TMPDIR", small.path().toLocal8Bit());
    recorder.keepsFiles = false;
    ASSERT_TRUE(start());
    ASSERT_TRUE(runUntil([&] { return timers.running() == 2; }));
    send(90, 2000); // less than the stream's buffer, more than the 180 KiB of the disk behind it
    send(60, 2000);
    ASSERT_TRUE(runUntil([&] {
        timers.advance(1000ms); // the flush that happens every second notices
        return session->state() == CaptureSession::State::Idle;
    }));
    ASSERT_TRUE(waitIdle());
    ASSERT_EQ(recorder.finalized().size(), 1U);
    const std::uint64_t frames = recorder.finalized().front();
    EXPECT_GT(frames, 50U);
    const QString file =
        small.path() + QStringLiteral("/vantrel-%1/vantrel_2026-03-04_09.15.02.PM.pcap").arg(::geteuid());
    EXPECT_EQ(QFileInfo(file).size(), static_cast<qint64>(24 + frames * 2016)) << "whole records, nothing torn";
    EXPECT_EQ(alerts(),
              QStringList(QStringLiteral("alert: The capture was stopped because its file cannot be written. | %1: No "
                                         "space left on device. The %2 frames written before that are kept.")
                              .arg(file)
                              .arg(frames)));
}

TEST_F(CaptureSessionFilesTest, ADiskThatIsFullAtTheLastRecordsIsSaidToo) {
    const testing::SmallFileSystem small(folder.filePath(QStringLiteral("small")), "size=24k");
    if (!small.isMounted()) {
        GTEST_SKIP() << "mounting a small file system needs CAP_SYS_ADMIN";
    }
    qputenv("TMPDIR", small.path().toLocal8Bit());
    ASSERT_TRUE(start());
    send(30, 2000); // all of them in the buffer when Stop comes
    ASSERT_TRUE(runUntil([&] { return session->progress().frames == 30; }));
    ASSERT_TRUE(stop());
    ASSERT_EQ(recorder.finalized().size(), 1U);
    EXPECT_GT(recorder.finalized().front(), 5U);
    EXPECT_LT(recorder.finalized().front(), 30U);
    ASSERT_EQ(alerts().size(), 1);
    EXPECT_TRUE(alerts().first().startsWith(
        QStringLiteral("alert: The capture was stopped because its file cannot be written. | ")));
}

TEST_F(CaptureSessionFilesTest, SlicedFramesAreWrittenShort) {
    settings.setBool(keys::EnableAdaptivePacketSlicing, true);
    ASSERT_TRUE(start());
    std::vector<std::uint8_t> frame(8 + 24 + 100, 0);
    frame[2] = 8;
    frame[8] = 0x08; // data, no FCS
    ASSERT_TRUE(tap->write(frame));
    ASSERT_TRUE(runUntil([&] { return session->progress().frames == 1; }));
    EXPECT_EQ(session->progress().size, 8U + 24U + 24U);
}

TEST_F(CaptureSessionFilesTest, WithoutItsFileACaptureSaysSoAtOnceAndCountsWhatItLoses) {
    pcapFaults().openDead = true;
    ASSERT_TRUE(session->prepareCapture());
    ASSERT_TRUE(session->startCapture(CaptureMode::SingleChannel));
    ASSERT_TRUE(runUntil([&] { return alerts().size() == 1; }));
    pcapFaults().clear();
    EXPECT_TRUE(alerts().first().startsWith(QStringLiteral("alert: The capture has no file. | The file ")));
    ASSERT_TRUE(runUntil([&] { return session->isCapturing(); }));
    send(3);
    ASSERT_TRUE(runUntil([&] { return session->progress().framesNotWritten == 3; }));
    const LogCapture log;
    ASSERT_TRUE(stop());
    ASSERT_EQ(alerts().size(), 2);
    EXPECT_TRUE(alerts().last().startsWith(QStringLiteral("alert: No frames were captured. | The file ")))
        << "the link-layer header is not to blame";
    EXPECT_EQ(log.warnings(),
              QStringList(QStringLiteral("3 frames were lost while there was no file to write them to")));
    ASSERT_TRUE(start()) << "the next capture has a file";
    ASSERT_TRUE(stop());
}

TEST_F(CaptureSessionFilesTest, WithoutItsNextFileACaptureRunsOnAndTheFullOnesAreKept) {
    limit(10, 4, 5);
    ASSERT_TRUE(start());
    send(5);
    ASSERT_TRUE(runUntil([&] { return session->progress().frames == 5; }));
    pcapFaults().openDead = true;
    send(20);
    ASSERT_TRUE(runUntil([&] { return session->progress().framesNotWritten == 15; }));
    pcapFaults().clear();
    ASSERT_TRUE(stop());
    EXPECT_EQ(recorder.finalized(), Counts{10});
    ASSERT_EQ(alerts().size(), 1);
    EXPECT_TRUE(alerts().first().startsWith(QStringLiteral("alert: The capture has no file. | The file ")));
}

} // namespace
} // namespace vantrel
