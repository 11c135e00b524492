// The life of a capture: opening, ending, restoring, and what the user is told.
#include "SessionLive.h"

#include <QFile>
#include <QFileInfo>
#include <pcap/pcap.h>

namespace vantrel {
namespace {

using testing::LogCapture;
using testing::pcapFaults;
using testing::runUntil;
using namespace std::chrono_literals;

class CaptureSessionTest : public testing::LiveSession {};

const QString permissionAlert = QStringLiteral(
    "alert: You don't have permission to capture on this device. | Go to System Preferences > Users & Groups and make "
    "sure you are a member of the group 'access_bpf'. You will need to log out and then log back in after making any "
    "changes.");
const QString noFramesAlert = QStringLiteral("alert: No frames were captured. | Make sure you set the correct "
                                             "Link-Layer Header type before starting a capture.");

TEST_F(CaptureSessionTest, NamesTheCaptureByItsStartOnATwelveHourClock) {
    ASSERT_TRUE(start());
    EXPECT_TRUE(temporaryFile().endsWith(QStringLiteral("/vantrel_2026-03-04_09.15.02.PM.pcap")))
        << qPrintable(temporaryFile());
    session->userDidCancel();
    ASSERT_TRUE(waitIdle());
}

TEST_F(CaptureSessionTest, ASecondCaptureInTheSameSecondWritesOverNothing) {
    recorder.keepsFiles = false;
    ASSERT_TRUE(start());
    receiveInto(1);
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    const QString first = temporaryFile();
    const auto size = QFileInfo(first).size();
    ASSERT_TRUE(start());
    EXPECT_EQ(QFileInfo(first).size(), size);
    EXPECT_TRUE(QFile::exists(QString(first).replace(QStringLiteral("15.02"), QStringLiteral("15.03"))));
}

TEST_F(CaptureSessionTest, RunsThroughItsStatesInTheGivenOrder) {
    EXPECT_EQ(session->state(), CaptureSession::State::Idle);
    ASSERT_TRUE(start());
    EXPECT_EQ(session->state(), CaptureSession::State::Capturing);
    EXPECT_TRUE(session->isCapturing());
    receiveInto(1);
    timers.advance(250ms);
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_FALSE(session->isCapturing());
    EXPECT_EQ(recorder.events, QStringList({QStringLiteral("disableCaptures"), QStringLiteral("startProgress"),
                                            QStringLiteral("stopHopping"), QStringLiteral("enableCaptures"),
                                            QStringLiteral("updateStatusItem")}));
    EXPECT_EQ(recorder.finalized(), std::vector<std::uint64_t>{1});
    EXPECT_EQ(session->totalFrames(), 1U);
    EXPECT_EQ(session->totalBytes(), 24U + 16U + 100U);
}

TEST_F(CaptureSessionTest, OnlyOneCaptureRunsAtATime) {
    ASSERT_TRUE(start());
    EXPECT_FALSE(session->prepareCapture());
    EXPECT_FALSE(session->startCapture(CaptureMode::SingleChannel));
}

TEST_F(CaptureSessionTest, StopOnASilentChannelIsQuick) {
    ASSERT_TRUE(start());
    const auto asked = std::chrono::steady_clock::now();
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_LT(std::chrono::steady_clock::now() - asked, 300ms);
}

TEST_F(CaptureSessionTest, AnEmptyCaptureIsRemovedAndSaidSo) {
    ASSERT_TRUE(start());
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(alerts(), QStringList(noFramesAlert));
    EXPECT_EQ(temporaryFile(), QString());
    EXPECT_TRUE(recorder.finalized().empty());
}

TEST_F(CaptureSessionTest, CancelLeavesNothingBehind) {
    ASSERT_TRUE(start());
    receiveInto(3);
    session->userDidCancel();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(temporaryFile(), QString());
    EXPECT_TRUE(recorder.finalized().empty());
    EXPECT_TRUE(alerts().isEmpty());
}

TEST_F(CaptureSessionTest, StopBeforeThePanelOpensEndsTheCaptureAndThePanelStillOpens) {
    ASSERT_TRUE(start());
    receiveInto(1);
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_FALSE(recorder.events.contains(QStringLiteral("startProgress")));
    timers.advance(250ms);
    EXPECT_TRUE(recorder.events.contains(QStringLiteral("startProgress")));
}

TEST_F(CaptureSessionTest, StopAndCancelWhileOpeningAreNotForgotten) {
    for (const bool cancel : {false, true}) {
        ASSERT_TRUE(session->prepareCapture());
        ASSERT_TRUE(session->startCapture(CaptureMode::SingleChannel));
        cancel ? session->userDidCancel() : session->userDidStop(); // the thread has hardly begun
        ASSERT_TRUE(waitIdle()) << cancel;
        EXPECT_EQ(temporaryFile(), QString());
    }
    EXPECT_EQ(alerts(), QStringList(noFramesAlert)) << "of the stopped one; the cancelled one is silent";
}

TEST_F(CaptureSessionTest, StopAndCancelWhileIdleDoNothing) {
    session->userDidStop();
    session->userDidCancel();
    ASSERT_TRUE(waitIdle());
    ASSERT_TRUE(start());
    receiveInto(1);
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.finalized().size(), 1U) << "an earlier Cancel discarded this capture";
}

TEST_F(CaptureSessionTest, AHandleThatCannotBeMadeIsOnlyLogged) {
    pcapFaults().create = true;
    const LogCapture log;
    EXPECT_FALSE(start());
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("pcap_create() failed: no handle today")));
    EXPECT_TRUE(recorder.events.isEmpty());
    EXPECT_EQ(temporaryFile(), QString());
}

TEST_F(CaptureSessionTest, AFailedActivationShowsThePermissionAlert) {
    airport.device = QStringLiteral("vantrel-none");
    const LogCapture log;
    EXPECT_FALSE(start());
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.events, QStringList(permissionAlert)) << "the commands stay enabled";
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("pcap_activate() failed: ")));
}

TEST_F(CaptureSessionTest, AnActivationWarningCountsAsAFailure) {
    pcapFaults().activate = PCAP_WARNING_PROMISC_NOTSUP;
    EXPECT_FALSE(start());
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.events, QStringList(permissionAlert));
}

TEST_F(CaptureSessionTest, ARefusedDataLinkTypeIsOnlyLoggedAndTheNextCaptureRuns) {
    session->setDataLinkType(105);
    const LogCapture log;
    EXPECT_FALSE(start());
    ASSERT_TRUE(waitIdle());
    ASSERT_EQ(log.warnings().size(), 1);
    EXPECT_EQ(log.warnings().first(),
              QStringLiteral("pcap_set_datalink() failed: IEEE802_11 is not one of the DLTs supported by this device"));
    EXPECT_TRUE(recorder.events.isEmpty());
    session->setDataLinkType(127);
    EXPECT_TRUE(start());
}

TEST_F(CaptureSessionTest, ARefusedMonitorModeIsOnlyLogged) {
    airport.refusesMonitorMode = true;
    const LogCapture log;
    ASSERT_TRUE(start());
    receiveInto(1);
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.finalized(), std::vector<std::uint64_t>{1});
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("pcap_set_rfmon() failed: monitor mode: refused")));
}

TEST_F(CaptureSessionTest, ADeletedDeviceEndsTheCaptureAndKeepsItsFrames) {
    const LogCapture log;
    ASSERT_TRUE(start());
    receiveInto(2);
    tap.reset();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("pcap_loop() failed: The interface disappeared")));
    EXPECT_EQ(recorder.finalized(), std::vector<std::uint64_t>{2});
    EXPECT_EQ(timers.running(), 1U) << "only the panel's delayed opening is left";
}

TEST_F(CaptureSessionTest, AFailedOpeningGivesTheAdapterBack) {
    airport.device = QStringLiteral("vantrel-none");
    restore.setCurrentChannel(CWChannel{11, 1, 1});
    restore.setShouldReconnect(true);
    EXPECT_FALSE(start());
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.events.mid(1), QStringList({QStringLiteral("setWLANChannel 11"), QStringLiteral("power off"),
                                                   QStringLiteral("power on")}));
}

TEST_F(CaptureSessionTest, TheEndStopsTheHoppingRestoresTheChannelReconnectsAndEnablesTheCommands) {
    restore.setCurrentChannel(CWChannel{11, 1, 1});
    restore.setShouldReconnect(true);
    ASSERT_TRUE(start());
    receiveInto(1);
    recorder.whileStopping = [this] { EXPECT_FALSE(flags.capturing) << "the hop loop would go on"; };
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.events,
              QStringList({QStringLiteral("disableCaptures"), QStringLiteral("stopHopping"),
                           QStringLiteral("setWLANChannel 11"), QStringLiteral("power off"), QStringLiteral("power on"),
                           QStringLiteral("enableCaptures"), QStringLiteral("updateStatusItem")}));
    EXPECT_TRUE(recorder.lastReconnecting);
    EXPECT_FALSE(restore.currentChannel());
}

TEST_F(CaptureSessionTest, AHoppingCaptureDropsTheFramesBeforeTheFirstHop) {
    flags.hoppingStarted = false;
    ASSERT_TRUE(start(CaptureMode::AllChannels));
    EXPECT_EQ(recorder.events.first(), QStringLiteral("startHopping 3"));
    receive(1);
    ASSERT_TRUE(runUntil([&] { return batches > 0; }));
    packetQueue.waitUntilAllOperationsAreFinished();
    flags.hoppingStarted = true;
    receive(2);
    ASSERT_TRUE(runUntil([&] { return session->progress().frames > 0; }));
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    QFile file(recorder.finalizedPaths.value(0));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    EXPECT_EQ(content.at(24 + 16 + 8), 2) << "a frame from before the first hop was written";
}

TEST_F(CaptureSessionTest, FramesAskForProgressAtMostTenTimesASecond) {
    ASSERT_TRUE(start());
    for (int frame = 0; frame < 2000; ++frame) {
        receive();
    }
    ASSERT_TRUE(runUntil([&] { return session->progress().frames == 2000; }));
    ASSERT_TRUE(runUntil([&] { return recorder.progressUpdates > 0; }));
    EXPECT_LT(recorder.progressUpdates, 100);
}

TEST_F(CaptureSessionTest, TheUpdateTimerRefreshesAndFlushesEverySecond) {
    ASSERT_TRUE(start());
    ASSERT_TRUE(runUntil([&] { return timers.running() == 2; }));
    receiveInto(1);
    const QString path = temporaryFile();
    EXPECT_EQ(QFileInfo(path).size(), 24) << "the record stands in the buffer";
    const int before = recorder.progressUpdates;
    timers.advance(1000ms);
    EXPECT_GT(recorder.progressUpdates, before);
    packetQueue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(QFileInfo(path).size(), 24 + 16 + 100);
}

TEST_F(CaptureSessionTest, AMissingDestinationBecomesTheDesktop) {
    settings.setString(keys::CaptureFilesLocation, QStringLiteral("/nowhere/at/all"));
    ASSERT_TRUE(start());
    EXPECT_EQ(settings.stringForKey(keys::CaptureFilesLocation), folder.path());
    receiveInto(1);
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.lastLocation, folder.path());
}

TEST_F(CaptureSessionTest, SpecialDestinationsStayAsTheyAre) {
    for (const auto location : {locations::AskForEachCapture, locations::CloudShark, locations::MojoPackets}) {
        settings.setString(keys::CaptureFilesLocation, location);
        EXPECT_TRUE(session->prepareCapture());
        EXPECT_EQ(settings.stringForKey(keys::CaptureFilesLocation), QString(location));
    }
    EXPECT_TRUE(recorder.events.isEmpty()) << "a single file's folder is asked for when it is saved";
}

TEST_F(CaptureSessionTest, AMultipleFileCaptureAsksForItsFolderFirst) {
    settings.setString(keys::CaptureFilesLocation, locations::AskForEachCapture);
    set(keys::LimitCaptureFile, 1);
    set(keys::MaxCaptureFiles, 2);
    EXPECT_FALSE(session->prepareCapture()) << "the chooser was dismissed";
    recorder.chosenFolder = folder.filePath(QStringLiteral("chosen"));
    EXPECT_TRUE(session->prepareCapture());
    EXPECT_EQ(recorder.events, QStringList(2, QStringLiteral("chooseCaptureFolder")));
    EXPECT_EQ(settings.stringForKey(keys::CaptureFilesLocation), QString(locations::AskForEachCapture));
}

TEST_F(CaptureSessionTest, WithNoSafePlaceForTheFileTheUserIsToldAndNothingStarts) {
    const QString usual = folder.filePath(QStringLiteral("vantrel-%1").arg(::geteuid()));
    ASSERT_TRUE(QFile::link(folder.path(), usual));
    qputenv("XDG_CACHE_HOME", "/proc/nowhere");
    EXPECT_FALSE(session->prepareCapture());
    qunsetenv("XDG_CACHE_HOME");
    ASSERT_EQ(alerts().size(), 1);
    EXPECT_TRUE(
        alerts().first().startsWith(QStringLiteral("alert: There is no safe place to write the capture file. | ")));
}

TEST_F(CaptureSessionTest, DestroyingARunningSessionKeepsItsFile) {
    ASSERT_TRUE(start());
    receiveInto(1);
    mainQueue.close();
    session.reset();
    EXPECT_EQ(QFileInfo(temporaryFile()).size(), 24 + 16 + 100);
}

TEST_F(CaptureSessionTest, ALaterHoppingCaptureDropsItsEarlyFramesToo) {
    flags.hoppingStarted = true; // as an earlier one left it
    ASSERT_TRUE(session->prepareCapture());
    ASSERT_TRUE(session->startCapture(CaptureMode::AllChannels));
    EXPECT_FALSE(flags.hoppingStarted);
}

TEST_F(CaptureSessionTest, StopAndCancelWhileThePermissionAlertIsOpenChangeNothing) {
    airport.device = QStringLiteral("vantrel-none");
    recorder.whileAlerting = [this] {
        session->userDidStop();
        session->userDidCancel();
        bool handled = false;
        mainQueue.post([&] { handled = true; });
        EXPECT_TRUE(runUntil([&] { return handled; }));
        EXPECT_EQ(session->state(), CaptureSession::State::Opening);
    };
    EXPECT_FALSE(start());
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.events, QStringList(permissionAlert));
}

TEST_F(CaptureSessionTest, ASessionDestroyedBehindThePermissionAlertDoesNotHang) {
    airport.device = QStringLiteral("vantrel-none");
    ASSERT_TRUE(session->prepareCapture());
    ASSERT_TRUE(session->startCapture(CaptureMode::SingleChannel));
    // The thread waits for an alert that nobody shows.
    mainQueue.close();
    session.reset();
    EXPECT_TRUE(alerts().isEmpty());
}

TEST_F(CaptureSessionTest, ASecondStopDoesNotCutTheLastFramesOff) {
    ASSERT_TRUE(start());
    for (int frame = 0; frame < 50; ++frame) {
        receive();
    }
    session->userDidStop();
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(recorder.finalized(), std::vector<std::uint64_t>{50});
}

TEST_F(CaptureSessionTest, WhileOneFolderIsChosenNoOtherCaptureCanBePrepared) {
    settings.setString(keys::CaptureFilesLocation, locations::AskForEachCapture);
    set(keys::LimitCaptureFile, 1);
    set(keys::MaxCaptureFiles, 2);
    recorder.chosenFolder = folder.path();
    bool second = true;
    recorder.whileChoosing = [&] { second = session->prepareCapture(); };
    EXPECT_TRUE(session->prepareCapture());
    EXPECT_FALSE(second);
}

TEST_F(CaptureSessionTest, NoCaptureStartsBeforeTheLastOnesFileIsDelivered) {
    ASSERT_TRUE(start());
    receiveInto(1);
    bool second = true;
    recorder.whileFinalizing = [&] { second = session->prepareCapture(); };
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_FALSE(second) << "a save panel was open, and the file it saves would be lost";
    EXPECT_EQ(alerts().join(u'/').toStdString(),
              "alert: The last capture is still being saved. | Start the next one when it is saved.");
    EXPECT_TRUE(start());
}

TEST_F(CaptureSessionTest, ABrokenLoopIsLogged) {
    pcapFaults().loop = true;
    const LogCapture log;
    start();
    ASSERT_TRUE(waitIdle());
    ASSERT_EQ(log.warnings().size(), 1);
    EXPECT_TRUE(log.warnings().first().startsWith(QStringLiteral("pcap_loop() failed: ")));
    EXPECT_EQ(alerts(), QStringList(noFramesAlert));
}

TEST_F(CaptureSessionTest, WhatTheKernelDroppedIsTold) {
    pcapFaults().dropped = 7;
    const LogCapture log;
    ASSERT_TRUE(start());
    receive();
    ASSERT_TRUE(runUntil([&] { return session->progress().framesDroppedByKernel == 7; }));
    session->userDidStop();
    ASSERT_TRUE(waitIdle());
    EXPECT_EQ(log.warnings(), QStringList(QStringLiteral("7 of 8 frames were dropped before they could be captured")));
}

} // namespace
} // namespace vantrel
