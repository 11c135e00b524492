// One capture after another: opens the device, hands its frames to the packet queue, writes them into limited and
// rotated files, and ends on the user's word, on a limit or on an error.
//
// Threads: the main thread starts and ends captures; a capture thread (one per capture, owned here) opens the device
// and runs libpcap's loop, which only enqueues; the packet queue's worker alone checks limits, rotates and writes.
// The time limit fires on the main thread and goes through the same queue, so the file has one writer at any moment.
#pragma once

#include "base/Coalescer.h"
#include "engine/CaptureSurroundings.h"
#include "engine/CaptureTotals.h"
#include "engine/LiveFlag.h"
#include "engine/Timers.h"
#include "engine/VantrelPacketOperation.h"

#include <mutex>
#include <thread>

namespace vantrel {

class CaptureDevice;

class CaptureSession final : private VantrelPacketOperationDelegate {
public:
    enum class State { Idle, Opening, Capturing, Draining, Ending };

    using Surroundings = CaptureSurroundings;
    using Progress = CaptureProgress;

    explicit CaptureSession(const Surroundings& surroundings);
    // Breaks a running capture and waits for its thread; its file stays where it was written. The main queue is closed
    // before: it may hold work for this session, and the thread may be waiting in it for an alert.
    ~CaptureSession() override;
    CaptureSession(const CaptureSession&) = delete;
    CaptureSession& operator=(const CaptureSession&) = delete;

    // Main thread. Fixes the destination and the files' prefix; false when the user dismissed the folder chooser, when
    // there is no place for the files, or while another capture runs.
    [[nodiscard]] bool prepareCapture();
    // Main thread. Starts the capture that was prepared on a thread of its own; false while another runs.
    bool startCapture(CaptureMode mode);

    // Any thread, any state; both return at once. Stop keeps what was captured, Cancel discards it.
    void userDidStop();
    void userDidCancel();
    // Main thread. Stops the timers, closes the progress panel and breaks the capture loop.
    void endCapture();

    [[nodiscard]] bool isCapturing() const { return _around.flags.capturing; } // any thread
    [[nodiscard]] State state() const noexcept { return _state; }              // any thread
    [[nodiscard]] Progress progress() const;                                   // any thread
    [[nodiscard]] bool isMultipleFileCapture() const;                          // any thread
    [[nodiscard]] std::uint64_t totalFrames() const { return _totals.totalFrames(_maxCaptureFiles); }
    [[nodiscard]] std::uint64_t totalBytes() const { return _totals.totalBytes(_maxCaptureFiles); }

    // The data-link type asked of the device and written to the files, 0 for unset. Any thread; for the next capture.
    [[nodiscard]] int dataLinkType() const noexcept { return _dataLinkType; }
    void setDataLinkType(int dataLinkType) noexcept { _dataLinkType = dataLinkType; }

private:
    struct Alert {
        QString messageText;
        QString informativeText;
    };

    // On the capture thread (CaptureThread.cpp).
    void runCapture();
    [[nodiscard]] bool openDevice();
    void beginFiles();
    void runLoop();
    void closeDevice();
    void frameArrived(const pcap_pkthdr& header, const unsigned char* data);
    void takeStatistics();

    // On the packet queue (CaptureFiles.cpp).
    void didProcessPacketWithPcapHeader(const pcap_pkthdr& header, const std::uint8_t* data) override;
    bool checkCapture();
    [[nodiscard]] bool isLimitReached() const;
    [[nodiscard]] bool rotate();
    [[nodiscard]] bool mayTryDelivery() const;
    [[nodiscard]] bool rotates() const;
    [[nodiscard]] std::shared_ptr<VantrelCaptureFile> createCaptureFile();
    bool finalizeCaptureFile(bool reconnecting);
    void flushCaptureFile();
    void noteWriteError();
    void recordWriteError();
    void beginCaptureFile();
    void replaceCaptureFile(std::shared_ptr<VantrelCaptureFile> file);
    [[nodiscard]] QString temporaryPath(const QString& folder, const QString& prefix) const;

    // On the main thread (CaptureSession.cpp).
    void captureDidStart();
    void captureDidEnd();
    void captureDidFail();
    void startUpdateTimer();
    void startMainTimer(std::int64_t seconds);
    void timerExpired();
    void stopTimersAndPanel();
    void discardCapture();
    // Delivers or removes what the capture left; answers what the user must be told, nothing when all is well.
    [[nodiscard]] std::optional<Alert> keepCapture(bool reconnecting);
    [[nodiscard]] bool resolveLocation();
    [[nodiscard]] QString freePrefix(const QDateTime& started) const;

    const Surroundings _around;
    CaptureTotals _totals;
    Coalescer _progressRequests;
    LiveFlag _slicing; // packet queue only

    std::atomic<State> _state = State::Idle;
    std::atomic<int> _dataLinkType = 0;
    std::thread _captureThread;

    mutable std::mutex _deviceMutex;
    std::unique_ptr<CaptureDevice> _device; // replaced under _deviceMutex; used by the capture thread
    std::atomic<bool> _endRequested = false;
    std::atomic<std::uint64_t> _framesDroppedByKernel = 0;
    std::atomic<std::uint64_t> _framesNotWritten = 0;
    std::uint64_t _framesLostHere = 0; // capture thread only: no memory for an operation
    std::int64_t _statisticsTime = 0;  // capture thread only: seconds of the frame that last asked for them

    // Fixed by prepareCapture; read by all threads while the capture runs.
    QString _captureFilePrefix;
    QString _captureFileLocation;
    QString _temporaryFolder;
    int _fileDataLinkType = 0; // of this capture's device and files
    std::atomic<std::int64_t> _maxCaptureFiles = 1;

    // The file being written. The packet queue owns it while frames flow, the capture thread before, the main thread
    // after; it is replaced under the mutex because progress() looks at it from the main thread.
    mutable std::mutex _fileMutex;
    std::shared_ptr<VantrelCaptureFile> _captureFile;
    CaptureLimits _limits; // replaced under _fileMutex, like the file
    std::atomic<std::int64_t> _totalCaptureFiles = 1;
    std::atomic<bool> _timerExpired = false;
    std::atomic<bool> _userCanceled = false;
    std::atomic<bool> _writeFailed = false;
    std::atomic<bool> _limitReached = false; // the limit that ends the capture
    std::atomic<bool> _flushQueued = false;
    bool _deliveryTried = false;                            // of the current file; the file's owner only
    std::chrono::steady_clock::time_point _nextDeliveryTry; // the file's owner only
    QString _writeErrorText; // written once by the file's owner before the capture ends, read after

    bool _preparing = false;                      // main thread: a folder is being chosen
    std::unique_ptr<Timers::Handle> _mainTimer;   // main thread
    std::unique_ptr<Timers::Handle> _updateTimer; // main thread
    std::unique_ptr<Timers::Handle> _panelTimer;  // main thread
};

} // namespace vantrel
