#include "engine/CaptureDevice.h"

#include "CaptureTexts.h"

#include <QDeadlineTimer>
#include <algorithm>
#include <array>
#include <fcntl.h>
#include <limits>
#include <pcap/pcap.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace vantrel {

namespace {

constexpr int timeoutMilliseconds = 100;
// libpcap's own 2 MiB hold a few milliseconds of frames at full speed, less than a busy machine may keep the capture
// thread waiting; beyond 8 MiB only the memory grew (docs/performance.md).
constexpr int kernelBufferBytes = 8 * 1024 * 1024;
constexpr int loopBroken = PCAP_ERROR_BREAK;
constexpr timeval streamPatience{.tv_sec = 2, .tv_usec = 0};

void setReceiveTimeout(int socket, timeval timeout) {
    ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
}

} // namespace

std::unique_ptr<CaptureDevice> CaptureDevice::create(CWInterface& interface, MonitorUse use) {
    auto monitorMode = interface.beginMonitorMode(use);
    if (!monitorMode) {
        // The Wi-Fi layer switches monitor mode in libpcap's place, so a refusal is logged in its words.
        qCWarning(lcCapture, texts::pcapSetRfmonFailed, qUtf8Printable(monitorMode.error().text()));
    }
    FileDescriptor stream = monitorMode ? (*monitorMode)->takeStream() : FileDescriptor();
    const QString name = monitorMode ? (*monitorMode)->deviceName() : interface.interfaceName();
    std::unique_ptr<CaptureDevice> device(new CaptureDevice(monitorMode ? std::move(*monitorMode) : nullptr, name));
    const bool made = stream.isOpen() ? device->openStream(std::move(stream)) : device->openLive();
    return made ? std::move(device) : nullptr;
}

CaptureDevice::CaptureDevice(std::unique_ptr<MonitorMode> monitorMode, QString name)
    : _monitorMode(std::move(monitorMode)),
      _name(std::move(name)),
      _creationError(PCAP_ERRBUF_SIZE, '\0') {}

CaptureDevice::~CaptureDevice() = default;

bool CaptureDevice::openLive() {
    _handle.reset(pcap_create(qUtf8Printable(_name), _creationError.data()));
    if (!_handle) {
        qCWarning(lcCapture, texts::pcapCreateFailed, creationError());
        return false;
    }
    // Where the Wi-Fi layer has a monitor device, libpcap has nothing to switch.
    if (!_monitorMode && pcap_can_set_rfmon(_handle.get()) == 1) {
        if (const int status = pcap_set_rfmon(_handle.get(), 1); status < 0) {
            qCWarning(lcCapture, texts::pcapSetRfmonFailed, pcap_statustostr(status));
        }
    }
    return true;
}

bool CaptureDevice::openStream(FileDescriptor stream) {
    _stream = stream.get();
    std::FILE* file = ::fdopen(stream.get(), "rb");
    if (file == nullptr) {
        const Error error = Error::fromErrno(_name);
        qCWarning(lcCapture, texts::pcapCreateFailed, qUtf8Printable(error.why));
        return false;
    }
    static_cast<void>(stream.release()); // the file owns it now
    // A peer that never begins must not hold this thread, which nobody could wake yet.
    setReceiveTimeout(_stream, streamPatience);
    _handle.reset(pcap_fopen_offline(file, _creationError.data()));
    setReceiveTimeout(_stream, {});
    if (!_handle) {
        std::fclose(file);
        qCWarning(lcCapture, texts::pcapCreateFailed, creationError());
        return false;
    }
    return true;
}

int CaptureDevice::activate(Delivery delivery) {
    if (_stream >= 0) {
        return 0; // a stream is readable as it stands
    }
    noteFailure("pcap_set_snaplen", pcap_set_snaplen(_handle.get(), snapshotLength));
    noteFailure("pcap_set_promisc", pcap_set_promisc(_handle.get(), 1));
    noteFailure("pcap_set_timeout", pcap_set_timeout(_handle.get(), timeoutMilliseconds));
    noteFailure("pcap_set_buffer_size", pcap_set_buffer_size(_handle.get(), kernelBufferBytes));
    noteFailure("pcap_set_immediate_mode",
                pcap_set_immediate_mode(_handle.get(), delivery == Delivery::Single ? 1 : 0));
    const int activated = pcap_activate(_handle.get());
    // libpcap makes its socket to be inherited, and no program that is started while a capture runs may hear the air.
    if (const int descriptor = pcap_fileno(_handle.get()); descriptor >= 0) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
    return activated;
}

void CaptureDevice::noteFailure(const char* call, int status) const {
    if (status < 0) {
        qCWarning(lcCapture, texts::pcapCallFailed, call,
                  status == PCAP_ERROR ? pcap_geterr(_handle.get()) : pcap_statustostr(status));
    }
}

bool CaptureDevice::setFilter(const char* expression) {
    bpf_program program{};
    if (pcap_compile(_handle.get(), &program, expression, 0, PCAP_NETMASK_UNKNOWN) != 0) {
        qCWarning(lcCapture, texts::pcapCompileFailed, pcap_geterr(_handle.get()));
        return false;
    }
    const int status = pcap_setfilter(_handle.get(), &program);
    pcap_freecode(&program);
    if (status != 0) {
        qCWarning(lcCapture, texts::pcapSetfilterFailed, pcap_geterr(_handle.get()));
        return false;
    }
    return true;
}

int CaptureDevice::setDataLink(int dataLinkType) { return pcap_set_datalink(_handle.get(), dataLinkType); }

std::vector<DataLink> CaptureDevice::dataLinks() const {
    int* values = nullptr;
    const int count = pcap_list_datalinks(_handle.get(), &values);
    noteFailure("pcap_list_datalinks", count);
    std::vector<DataLink> offered;
    for (int index = 0; index < count; ++index) {
        const char* description = pcap_datalink_val_to_description(values[index]);
        offered.push_back({values[index], description != nullptr ? QString::fromUtf8(description)
                                                                 : QStringLiteral("DLT %1").arg(values[index])});
    }
    if (count >= 0) {
        pcap_free_datalinks(values);
    }
    return offered;
}

void CaptureDevice::deliver(unsigned char* device, const pcap_pkthdr* header, const unsigned char* data) {
    auto* self = reinterpret_cast<CaptureDevice*>(device);
    ++self->_delivered;
    self->_callback(static_cast<unsigned char*>(self->_user), header, data);
}

int CaptureDevice::loop(FrameCallback callback, void* user) {
    _callback = callback;
    _user = user;
    const int result = _broken ? loopBroken : pcap_loop(_handle.get(), 0, deliver, reinterpret_cast<u_char*>(this));
    // A stream that was shut down to wake its reader ends wherever it stood.
    if (_broken && _stream >= 0) {
        return loopBroken;
    }
    _loopFailed = result == PCAP_ERROR;
    return result;
}

void CaptureDevice::drain(FrameCallback callback, void* user) {
    _callback = callback;
    _user = user;
    {
        const std::lock_guard lock(_breakMutex);
        _draining = true; // from here on a second Stop must not cut the draining short
    }
    if (_stream >= 0) {
        while (pcap_dispatch(_handle.get(), -1, deliver, reinterpret_cast<u_char*>(this)) > 0) {
        }
        return;
    }
    // Nobody knows how many stand there when libpcap cannot count them: then all that come within the time.
    const bool isCounted = takeStatistics();
    std::array<char, PCAP_ERRBUF_SIZE> error{};
    if (pcap_setnonblock(_handle.get(), 1, error.data()) != 0) {
        qCWarning(lcCapture, "pcap_setnonblock() failed: %s", error.data());
        return;
    }
    constexpr std::uint32_t uncounted = std::numeric_limits<std::int32_t>::max();
    // libpcap counts the dropped ones among the received.
    awaitDelivery(isCounted ? _statistics.received - _statistics.dropped : _delivered + uncounted);
}

void CaptureDevice::awaitDelivery(std::uint32_t target) {
    const QDeadlineTimer deadline(timeoutMilliseconds + timeoutMilliseconds / 2);
    while (!deadline.hasExpired()) {
        const auto missing = static_cast<std::int32_t>(target - _delivered);
        if (missing <= 0) {
            return;
        }
        pollfd readable{.fd = pcap_get_selectable_fd(_handle.get()), .events = POLLIN, .revents = 0};
        ::poll(&readable, 1, static_cast<int>(deadline.remainingTime()));
        if (const int status = pcap_dispatch(_handle.get(), missing, deliver, reinterpret_cast<u_char*>(this));
            status < 0) {
            // A device that is gone fails each call until its last buffer is handed over.
            if (!std::exchange(_loopFailed, true)) {
                noteFailure("pcap_dispatch", status);
            }
            ::poll(nullptr, 0, 5);
        }
    }
}

void CaptureDevice::breakLoop() {
    const std::lock_guard lock(_breakMutex);
    _broken = true;
    if (_draining) {
        return;
    }
    pcap_breakloop(_handle.get());
    if (_stream >= 0) {
        ::shutdown(_stream, SHUT_RDWR);
    }
}

CaptureDevice::Statistics CaptureDevice::statistics() {
    static_cast<void>(takeStatistics());
    return _statistics;
}

bool CaptureDevice::takeStatistics() {
    if (_stream >= 0) {
        return false; // no kernel counts the frames of a stream
    }
    pcap_stat statistics{};
    if (const int status = pcap_stats(_handle.get(), &statistics); status != 0) {
        if (!std::exchange(_statisticsFailed, true)) {
            noteFailure("pcap_stats", status);
        }
        return false;
    }
    _statistics = {statistics.ps_recv, statistics.ps_drop};
    return true;
}

QString CaptureDevice::errorText() const { return QString::fromLocal8Bit(pcap_geterr(_handle.get())); }

std::vector<DataLink> offeredDataLinks(CWInterface& interface) {
    const auto device = CaptureDevice::create(interface, MonitorUse::Probe);
    if (!device) {
        return {};
    }
    if (const int status = device->activate(); status < 0) {
        qCWarning(lcCapture, texts::pcapOpenActivateFailed, qUtf8Printable(interface.interfaceName()),
                  device->creationError());
        return {};
    }
    return device->dataLinks();
}

int chooseDataLink(const std::vector<DataLink>& offered, std::int64_t stored) {
    if (offered.empty()) {
        return 0;
    }
    if (stored != 0) {
        for (const std::int64_t wanted :
             {stored, std::int64_t{DLT_IEEE802_11_RADIO}, std::int64_t{DLT_IEEE802_11}, std::int64_t{DLT_PPI}}) {
            if (std::ranges::any_of(offered, [wanted](const DataLink& link) { return link.value == wanted; })) {
                return static_cast<int>(wanted);
            }
        }
    }
    return offered.front().value;
}

} // namespace vantrel
