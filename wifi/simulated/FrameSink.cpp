#include "FrameSink.h"

#include "ByteWriter.h"
#include "Logging.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <sys/socket.h>

namespace vantrel {

namespace {

constexpr std::uint32_t snapshotLength = 2048;
constexpr std::uint32_t linkTypeRadiotap = 127;

// The classic capture file format (draft-ietf-opsawg-pcap): magic number, version 2.4, and the two above.
Bytes pcapFileHeader() {
    Bytes header;
    ByteWriter out(header);
    out.u32(0xa1b2c3d4U);
    out.u16(2);
    out.u16(4);
    out.u32(0);
    out.u32(0);
    out.u32(snapshotLength);
    out.u32(linkTypeRadiotap);
    return header;
}

Bytes pcapRecord(std::span<const std::uint8_t> packet) {
    using namespace std::chrono;
    const auto now = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    const auto kept = std::min<std::size_t>(packet.size(), snapshotLength);
    Bytes record;
    record.reserve(16 + kept);
    ByteWriter out(record);
    out.u32(static_cast<std::uint32_t>(now / 1000000));
    out.u32(static_cast<std::uint32_t>(now % 1000000));
    out.u32(static_cast<std::uint32_t>(kept));
    out.u32(static_cast<std::uint32_t>(packet.size()));
    out.bytes(packet.first(kept));
    return record;
}

} // namespace

void TapSink::deliver(std::span<const std::uint8_t> packet) {
    const auto written = _device.write(packet);
    if (!written && !_failing) {
        qCWarning(lcSimulated, "write failed: %s", qUtf8Printable(written.error().text()));
    }
    _failing = !written;
}

StreamSink::StreamSink(FileDescriptor socket) : _socket(std::move(socket)), _remainder(pcapFileHeader()) {
    _remainder.erase(_remainder.begin(), _remainder.begin() + static_cast<std::ptrdiff_t>(send(_remainder)));
}

StreamSink::~StreamSink() {
    if (_lost > 0) {
        qCWarning(lcSimulated, "the reader of the frame stream was too slow: %llu frames lost",
                  static_cast<unsigned long long>(_lost));
    }
}

void StreamSink::deliver(std::span<const std::uint8_t> packet) {
    // What is left of a record goes first: the stream must stay in step.
    if (!_remainder.empty()) {
        _remainder.erase(_remainder.begin(), _remainder.begin() + static_cast<std::ptrdiff_t>(send(_remainder)));
    }
    if (!_socket.isOpen()) {
        return;
    }
    if (!_remainder.empty()) {
        ++_lost;
        return;
    }
    const Bytes record = pcapRecord(packet);
    const std::size_t sent = send(record);
    if (!_socket.isOpen()) {
        return; // the reader has gone, which is no loss
    }
    if (sent == 0) {
        ++_lost;
    } else {
        _remainder.assign(record.begin() + static_cast<std::ptrdiff_t>(sent), record.end());
    }
}

// Answers how many bytes were taken; closes the socket when the reader is gone.
std::size_t StreamSink::send(std::span<const std::uint8_t> bytes) {
    ssize_t sent = 0;
    do {
        sent = ::send(_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    if (sent >= 0) {
        return static_cast<std::size_t>(sent);
    }
    if (errno != EAGAIN && errno != EWOULDBLOCK && errno != ENOBUFS) {
        if (errno != EPIPE && errno != ECONNRESET) {
            const Error error = Error::fromErrno(QStringLiteral("send"));
            qCWarning(lcSimulated, "send failed: %s", qUtf8Printable(error.why));
        }
        _socket.reset();
    }
    return 0;
}

} // namespace vantrel
