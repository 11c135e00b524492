// What the capture session asks of the rest of the application, each through an interface of its own.
#pragma once

#include "base/ThreadStarter.h"
#include "engine/CaptureLimits.h"
#include "engine/VantrelCaptureFile.h"
#include "wifi/CaptureFlags.h"

#include <QDateTime>
#include <QString>
#include <optional>

namespace vantrel {

class AdapterRestore;
class CaptureTotals;
class CWInterface;
class MainQueue;
class PacketQueue;
class SettingsStore;
class Timers;

// The user's view of a capture. Main thread.
class CaptureView {
public:
    virtual ~CaptureView() = default;
    virtual void enableCaptures() = 0;
    virtual void disableCaptures() = 0;
    virtual void updateStatusItem() = 0;
    virtual void startProgress() = 0;
    // Asked for by a timer and by frames, the latter at most ten times a second.
    virtual void updateProgress() = 0;
    virtual void closeProgress() = 0;
};

// Questions and alerts, modal to the user. Main thread.
class UserDialogs {
public:
    virtual ~UserDialogs() = default;
    virtual void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) = 0;
    // Empty when the user dismissed it.
    [[nodiscard]] virtual std::optional<QString> chooseCaptureFolder() = 0;
};

// Hops across the channels of a mode for as long as CaptureFlags::capturing is set. Main thread.
class ChannelHopper {
public:
    virtual ~ChannelHopper() = default;
    virtual void startHopping(CaptureMode mode) = 0;
    // Called as soon as the flag is cleared, also when nothing hops: ends the hopping at once instead of at the end of
    // its dwell, and returns when the adapter is back where the hopping found it.
    virtual void stopHopping() = 0;
};

// One finished file of a capture, with what its delivery needs to know. References are valid during the call.
struct FinishedCapture {
    VantrelCaptureFile& file;
    CaptureTotals& totals; // gets the file's counts
    QString location;      // folder or special value that the capture's destination was set to
    QString prefix;
    bool isMultipleFileCapture = false;
    std::int64_t maxCaptureFiles = 1;
    std::int64_t totalCaptureFiles = 1;
    bool isCapturing = false;  // false for the last file of a capture
    bool isRetry = false;      // tried before without success: its counts are in the totals
    bool reconnecting = false; // the adapter was just power-cycled, the network is not back yet
};

// Closes and delivers a file. Called on the packet queue at rotation and on the main thread at the end of a capture,
// never both at once.
class CaptureFinalizer {
public:
    virtual ~CaptureFinalizer() = default;
    // False when the file could not be delivered; it is then still where it was.
    [[nodiscard]] virtual bool finalizeCaptureFile(const FinishedCapture& finished) = 0;
};

// Everything that a capture session works with. All of it is borrowed and must outlive the session.
struct CaptureSurroundings {
    SettingsStore& settings;
    CWInterface& airport;
    CaptureFlags& flags;
    AdapterRestore& restore;
    MainQueue& mainQueue;
    Timers& timers;
    PacketQueue& packetQueue;
    CaptureView& view;
    UserDialogs& dialogs;
    ChannelHopper& hopper;
    CaptureFinalizer& finalizer;
    QString desktopFolder;                                  // stands in for a destination that no longer exists
    ThreadStarter startCaptureThread = startOrdinaryThread; // of the thread that runs libpcap
};

// The current file and its limits, for the progress display.
struct CaptureProgress {
    std::uint64_t frames = 0;
    std::uint64_t size = 0; // bytes, as VantrelCaptureFile::size() counts them
    QDateTime creationTime; // invalid when there is no file
    std::int64_t totalCaptureFiles = 0;
    std::int64_t maxCaptureFiles = 0;
    CaptureLimits limits;
    std::uint64_t framesDroppedByKernel = 0;
    std::uint64_t framesNotWritten = 0; // while there was no file, or a full one could not be delivered
};

} // namespace vantrel
