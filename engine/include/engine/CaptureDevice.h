// The Wi-Fi device opened with libpcap: a monitor-mode network device, or a stream of frames where there is none.
//
// Ownership: made, used and destroyed by one thread; breakLoop() alone may be called from another. Monitor mode lasts
// as long as the object: destroying it closes the handle first, then gives the adapter back.
#pragma once

#include "engine/PcapHandles.h"
#include "wifi/CWInterface.h"

#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace vantrel {

struct DataLink {
    int value = 0;       // libpcap's data-link type
    QString description; // libpcap's words for it
};

class CaptureDevice {
public:
    using FrameCallback = void (*)(unsigned char* user, const pcap_pkthdr* header, const unsigned char* data);

    enum class Delivery { Blocks, Single };

    struct Statistics {
        std::uint32_t received = 0;
        std::uint32_t dropped = 0; // by the kernel, its buffer being full
    };

    // Asks the Wi-Fi layer for monitor mode and makes the handle, neither activated nor in use. A refused monitor
    // mode is logged and the device tried as it is; nothing is answered, and the reason logged, when libpcap cannot
    // make a handle.
    [[nodiscard]] static std::unique_ptr<CaptureDevice> create(CWInterface& interface,
                                                               MonitorUse use = MonitorUse::Capture);
    ~CaptureDevice();

    // Snapshot length, promiscuous mode, the 100 ms time-out and the buffer, each only logged when libpcap refuses it;
    // then activates. libpcap's status: any that is not 0, warnings included, counts as a failure. Delivered in blocks,
    // which is cheapest, a frame comes up to that time-out late; delivered singly it comes at once, for whoever must
    // know on which channel it was heard.
    [[nodiscard]] int activate(Delivery delivery = Delivery::Blocks);
    // Has the loop call back only for frames that match the expression (pcap-filter(7)), on an activated device. False
    // when libpcap refuses it, which is logged.
    [[nodiscard]] bool setFilter(const char* expression);
    // libpcap's status, 0 for success.
    [[nodiscard]] int setDataLink(int dataLinkType);
    [[nodiscard]] std::vector<DataLink> dataLinks() const;
    // Calls back for each frame until the loop is broken (-2), fails (-1) or the stream ends (0).
    [[nodiscard]] int loop(FrameCallback callback, void* user);
    // Delivers the frames that had arrived by the time of the call and still stand in the kernel's buffer, where a
    // broken or failed loop leaves those of the last 100 ms. Waits for them a little longer than that at the most.
    void drain(FrameCallback callback, void* user);
    // Ends the loop at once, also on a silent channel; a later loop() ends too. Any thread, while the device lives.
    void breakLoop();

    // As of the last time that libpcap could tell; that it cannot is logged once.
    [[nodiscard]] Statistics statistics();
    // libpcap's text for the last failure of this handle.
    [[nodiscard]] QString errorText() const;
    // The text libpcap left when the handle was made.
    [[nodiscard]] const char* creationError() const noexcept { return _creationError.data(); }

private:
    CaptureDevice(std::unique_ptr<MonitorMode> monitorMode, QString name);
    [[nodiscard]] bool openStream(FileDescriptor stream);
    [[nodiscard]] bool openLive();
    void noteFailure(const char* call, int status) const;
    [[nodiscard]] bool takeStatistics();
    void awaitDelivery(std::uint32_t target);
    static void deliver(unsigned char* device, const pcap_pkthdr* header, const unsigned char* data);

    std::unique_ptr<MonitorMode> _monitorMode; // declared before the handle, so given back after it is closed
    QString _name;
    std::vector<char> _creationError;
    int _stream = -1; // borrowed from the handle's file; -1 for a live device
    FrameCallback _callback = nullptr;
    void* _user = nullptr;
    std::uint32_t _delivered = 0; // frames; wraps around as libpcap's own counters do
    Statistics _statistics;
    bool _statisticsFailed = false;
    bool _loopFailed = false;
    std::atomic<bool> _broken = false;
    // Held while the loop is broken and while draining begins, which replaces what libpcap wakes its reader with.
    std::mutex _breakMutex;
    bool _draining = false; // guarded by _breakMutex
    PcapHandle _handle;
};

// Lists what the adapter offers, through a handle of its own that is closed again. Nothing when the device cannot be
// opened, which is logged. Main thread or any other, outside a capture.
[[nodiscard]] std::vector<DataLink> offeredDataLinks(CWInterface& interface);

// The stored type, then radiotap (127), plain 802.11 (105), PPI (192): the first that is offered. A stored 0, or none
// of them offered: the first in the list; 0 for an empty list.
[[nodiscard]] int chooseDataLink(const std::vector<DataLink>& offered, std::int64_t stored);

} // namespace vantrel
