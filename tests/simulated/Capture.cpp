#include "Capture.h"

#include "simulated/TapDevice.h"

#include <algorithm>
#include <poll.h>
#include <stdexcept>
#include <zlib.h>

namespace vantrel::testing {

namespace {

std::uint64_t little(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (std::size_t index = bytes.size(); index > 0; --index) {
        value = value << 8 | bytes[index - 1];
    }
    return value;
}

MacAddress addressAt(std::span<const std::uint8_t> frame, std::size_t offset) {
    MacAddress address{};
    if (frame.size() >= offset + address.size()) {
        std::copy_n(frame.begin() + static_cast<std::ptrdiff_t>(offset), address.size(), address.begin());
    }
    return address;
}

} // namespace

Fields::Fields(std::span<const std::uint8_t> packet) {
    const std::size_t headerSize = packet.size() >= 4 ? little(packet.subspan(2, 2)) : 0;
    if (headerSize < 25 || packet.size() < headerSize + 14) {
        throw std::runtime_error("not a frame of the simulated radio");
    }
    tsft = little(packet.subspan(8, 8));
    badFcs = (packet[16] & 0x40) != 0;
    frequency = static_cast<int>(little(packet.subspan(18, 2)));
    const auto frame = packet.subspan(headerSize, packet.size() - headerSize - 4);
    fcsRight = ::crc32(0, frame.data(), static_cast<uInt>(frame.size())) == little(packet.last(4));
    subtype = frame[0] & 0xfc;
    first = addressAt(frame, 4);
    third = addressAt(frame, 16);
}

Capture::Capture(const QString& device) {
    char reason[PCAP_ERRBUF_SIZE] = "";
    _handle.reset(::pcap_create(qUtf8Printable(device), reason));
    if (!_handle) {
        throw std::runtime_error(reason);
    }
    ::pcap_set_snaplen(_handle.get(), 4096);
    ::pcap_set_immediate_mode(_handle.get(), 1);
    ::pcap_set_buffer_size(_handle.get(), 8 * 1024 * 1024);
    if (::pcap_activate(_handle.get()) < 0 || ::pcap_setnonblock(_handle.get(), 1, reason) < 0) {
        throw std::runtime_error(::pcap_geterr(_handle.get()));
    }
    _descriptor = ::pcap_get_selectable_fd(_handle.get());
}

Capture::Capture(MonitorMode& monitor) {
    if (!monitor.deviceName().isEmpty()) {
        *this = Capture(monitor.deviceName());
        return;
    }
    std::FILE* file = ::fdopen(monitor.takeStream().release(), "r");
    if (file != nullptr) {
        // What poll() sees must not hide in a buffer. Before the first reading: what a buffer holds already would be
        // lost.
        std::setvbuf(file, nullptr, _IONBF, 0);
    }
    char reason[PCAP_ERRBUF_SIZE] = "no stream";
    _handle.reset(file == nullptr ? nullptr : ::pcap_fopen_offline(file, reason));
    if (!_handle) {
        throw std::runtime_error(reason);
    }
    _descriptor = ::fileno(file);
    _stream = true;
}

std::optional<Bytes> Capture::next(std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd poller{_descriptor, POLLIN, 0};
        // A ring may hold frames that poll() no longer announces; a stream is read only when something is there.
        if (_stream && ::poll(&poller, 1, std::max(0, static_cast<int>(left.count()))) <= 0) {
            return std::nullopt;
        }
        pcap_pkthdr* header = nullptr;
        const u_char* data = nullptr;
        const int result = ::pcap_next_ex(_handle.get(), &header, &data);
        if (result == 1) {
            _header = *header;
            return Bytes(data, data + header->caplen);
        }
        if (result < 0 || left.count() <= 0) {
            return std::nullopt;
        }
        if (!_stream) {
            ::poll(&poller, 1, static_cast<int>(left.count()));
        }
    }
}

std::vector<Bytes> Capture::during(std::chrono::milliseconds time) {
    const auto deadline = std::chrono::steady_clock::now() + time;
    std::vector<Bytes> frames;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return frames;
        }
        if (auto frame = next(left)) {
            frames.push_back(std::move(*frame));
        }
    }
}

std::string tapRefusal() {
    const auto device = TapDevice::create();
    return device ? std::string() : "no TAP device here: " + device.error().error.text().toStdString();
}

} // namespace vantrel::testing
