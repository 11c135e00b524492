// Serves one client of the loopback feed: captures beacons and probe responses while hopping over every 20 MHz channel,
// and sends after each sweep, for every network heard in it, the frame that arrived with the strongest signal.
//
// The client sends no commands; what it writes is thrown away, and its closing ends the capture. However the capture
// ends, the adapter is put back on its channel and into its network.
//
// Made, opened, closed and destroyed on the main thread. Three threads of its own work between: one reads what the
// client writes, one captures, one hops and sends; docs/threads.md tells what they share. Destroying it waits for their
// end and for the adapter's way back, which a connection that is closed finds by itself without anybody waiting.
#pragma once

#include "base/MainQueue.h"
#include "base/ThreadStarter.h"
#include "remote/Streams.h"
#include "remote/VantrelPacket.h"
#include "wifi/AdapterRestore.h"

#include <QObject>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

struct pcap_pkthdr;

namespace vantrel {

class CaptureControls;
class CaptureDevice;
class CaptureTurn;
class CWInterface;
class HopClock;
struct SweepStop;
class UnsentQueue;

class VantrelCaptureConnection final : public QObject, public StreamDelegate {
    Q_OBJECT

public:
    // Found by a text that is no std::string too, so that a frame need not make one.
    struct BssidHash : std::hash<std::string_view> {
        using is_transparent = void; // NOLINT(readability-identifier-naming): the library asks for this name
    };
    using PacketTable = std::unordered_map<std::string, VantrelPacket, BssidHash, std::equal_to<>>; // by BSSID

    // All of it is borrowed and outlives the connection.
    struct Surroundings {
        CWInterface& airport;
        CaptureControls& controls;
        CaptureTurn& turn;
        HopClock& clock;
        ThreadStarter startCaptureThread = startOrdinaryThread; // of the thread that runs libpcap
    };

    [[nodiscard]] static std::unique_ptr<VantrelCaptureConnection>
    initWithInputStream(std::unique_ptr<InputStream> inputStream, std::unique_ptr<OutputStream> outputStream,
                        Surroundings surroundings);
    ~VantrelCaptureConnection() override;

    // Once; opens the streams and starts the capture in the background. Always true.
    bool open();
    // Ends the capture, without waiting for it, and closes the streams. Nothing happens when that was done before.
    void close();
    void stream(Stream& aStream, StreamEvent handleEvent) override;

    // Whether the capture has ended and the adapter is back. A connection whose capture ends by itself, because the
    // device or the client's stream fails, stays open until the client or somebody else closes it.
    [[nodiscard]] bool isCaptureOver() const { return _captureIsOver; }

    [[nodiscard]] InputStream& inputStream() const { return *_inputStream; }
    [[nodiscard]] OutputStream& outputStream() const { return *_outputStream; }
    // Copies, for any thread: the records not sent yet, oldest first; and the strongest frames of the current sweep.
    [[nodiscard]] std::vector<VantrelPacket> packetQueue() const;
    [[nodiscard]] PacketTable packets() const;

Q_SIGNALS:
    // The object is the connection. It is not destroyed by whoever hears of it, but later.
    void VantrelCaptureConnectionDidCloseNotification(QObject* object); // NOLINT(readability-identifier-naming)
    // isCaptureOver() has become true.
    void captureDidEnd();

private:
    VantrelCaptureConnection(std::unique_ptr<InputStream> inputStream, std::unique_ptr<OutputStream> outputStream,
                             Surroundings surroundings);

    // Reader's thread.
    void keepAlive();

    // Capture thread.
    void startCapture();
    [[nodiscard]] bool openDevice();
    [[nodiscard]] static bool giveUpCapabilities();
    void runLoop();
    void closeDevice();
    static void frameArrived(unsigned char* connection, const pcap_pkthdr* header, const unsigned char* data);
    void handlePacket(VantrelPacket packet);

    // Hop thread.
    void doChannelHopping();
    void sweep(std::vector<SweepStop>& stops);
    void listen(SweepStop& stop);
    void dwell(std::chrono::milliseconds time);
    void sendSweep();
    [[nodiscard]] bool sendOrQueue(VantrelPacket packet);

    // Any thread.
    void stopCapture();

    // Main thread.
    void sendQueue();
    void endCapture();

    const Surroundings _around;
    const std::unique_ptr<InputStream> _inputStream;
    const std::unique_ptr<OutputStream> _outputStream;
    AdapterRestore _restore;
    bool _isOpen = false;        // main thread
    bool _captureIsOver = false; // main thread

    // The lock for every write; taken after _packetsMutex where both are.
    mutable std::mutex _outputMutex;
    const std::unique_ptr<UnsentQueue> _packetQueue; // guarded by _outputMutex

    mutable std::mutex _packetsMutex;
    PacketTable _packets; // guarded by _packetsMutex: of the current sweep

    std::mutex _deviceMutex;
    std::unique_ptr<CaptureDevice> _device; // replaced under _deviceMutex by the capture thread, which owns it
    std::atomic<bool> _stopRequested = false;
    bool _hasTurn = false; // capture thread, and the main thread once that has ended

    std::mutex _hopMutex; // held by the hop thread but for its dwells
    std::condition_variable _hopChanged;
    std::atomic<bool> _capturing = false;         // the loop is about to start, or runs; changed under _hopMutex
    std::atomic<std::uint32_t> _frameCounter = 0; // frames since the last tuning

    MainQueue _mainQueue; // before the threads that post to it
    std::thread _reader;
    std::thread _capture;
};

} // namespace vantrel
