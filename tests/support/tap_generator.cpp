// Feeds frames into a TAP device of its own, on command: the source of live captures whose every frame is known.
//
//   tap_generator [--plain] [--name PATTERN]
//
// Makes the device (link type radiotap, data-link type 127; with --plain 802.11 alone, 105), prints its name on a line,
// and obeys the lines of its standard input. Each is answered by one line, which begins with "error:" on failure.
//
//   send COUNT RATE [SIZE]  COUNT numbered frames of SIZE bytes (default 300, 47 to 4096), RATE a second, 0 meaning as
//                           fast as possible; answered by "sent COUNT in SECONDS" once all are written
//   replay FILE             every frame of a capture file, as fast as possible; answered by "replayed COUNT in SECONDS"
//   down, up                takes the link down or up; answered by "down" or "up"
//   delete                  removes the device; answered by "deleted"
//   quit, or the end of input: ends, and the device with it
//
// A numbered frame, SIZE bytes in all (with --plain the first 9 bytes are absent and it is 9 bytes shorter):
//   0   9 bytes   radiotap: 00 00 09 00 02 00 00 00 10, that is Flags alone, with 0x10 (check sequence at the end)
//   9  26 bytes   802.11 QoS data from an access point: 88 02 2c 00, receiver 02 c1 3e 00 00 01, transmitter
//                 02 5a 17 00 00 01, the same again, sequence control 00 00, QoS control 00 00
//   35  8 bytes   the number, little-endian; counts from 0 and goes on from one "send" to the next
//   43  SIZE - 47 bytes   the body: byte i (from 0) is (i * 7 + 3) mod 256
//   last 4 bytes  the check sequence: CRC-32 of the bytes from 9 to here, little-endian
#include "simulated/TapDevice.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <pcap/pcap.h>
#include <span>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#include <zlib.h>

namespace {

using vantrel::TapDevice;
using vantrel::TapLinkType;
using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t radiotapSize = 9;
constexpr std::size_t headerSize = 26;
constexpr std::size_t numberOffset = radiotapSize + headerSize;
constexpr std::size_t numberSize = 8;
constexpr std::size_t fcsSize = 4;
constexpr std::size_t smallestFrame = numberOffset + numberSize + fcsSize;
constexpr std::size_t largestFrame = 4096;

void putLittle(std::uint8_t* at, std::uint64_t value, std::size_t size) {
    for (std::size_t index = 0; index < size; ++index) {
        at[index] = static_cast<std::uint8_t>(value >> (8 * index));
    }
}

// The numbered frames of one size. CRC-32 is affine: the check sequence is that of number 0, with a fixed pattern
// exclusive-ored for each byte of the number, and all patterns are made beforehand.
class NumberedFrame {
public:
    explicit NumberedFrame(std::size_t size);
    const Bytes& withNumber(std::uint64_t number);

private:
    [[nodiscard]] std::uint32_t check() const {
        return static_cast<std::uint32_t>(
            ::crc32(0, _frame.data() + radiotapSize, static_cast<uInt>(_frame.size() - radiotapSize - fcsSize)));
    }

    Bytes _frame;
    std::uint32_t _checkOfZero = 0;
    std::array<std::array<std::uint32_t, 256>, numberSize> _patterns{};
};

NumberedFrame::NumberedFrame(std::size_t size) : _frame(size) {
    static constexpr std::array<std::uint8_t, numberOffset> start = {
        0x00, 0x00, 0x09, 0x00, 0x02, 0x00, 0x00, 0x00, 0x10,                   // radiotap
        0x88, 0x02, 0x2c, 0x00,                                                 // QoS data, from the network
        0x02, 0xc1, 0x3e, 0x00, 0x00, 0x01, 0x02, 0x5a, 0x17, 0x00, 0x00, 0x01, // receiver, transmitter
        0x02, 0x5a, 0x17, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00};            // source, sequence, QoS
    std::copy(start.begin(), start.end(), _frame.begin());
    for (std::size_t index = 0; index + smallestFrame < size; ++index) {
        _frame[numberOffset + numberSize + index] = static_cast<std::uint8_t>(index * 7 + 3);
    }
    _checkOfZero = check();
    for (std::size_t position = 0; position < numberSize; ++position) {
        std::uint8_t& byte = _frame[numberOffset + position];
        for (std::size_t value = 0; value < 256; ++value) {
            byte = static_cast<std::uint8_t>(value);
            _patterns[position][value] = check() ^ _checkOfZero;
        }
        byte = 0;
    }
}

const Bytes& NumberedFrame::withNumber(std::uint64_t number) {
    putLittle(_frame.data() + numberOffset, number, numberSize);
    std::uint32_t fcs = _checkOfZero;
    for (std::size_t position = 0; position < numberSize; ++position) {
        fcs ^= _patterns[position][(number >> (8 * position)) & 0xff];
    }
    putLittle(_frame.data() + _frame.size() - fcsSize, fcs, fcsSize);
    return _frame;
}

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

std::string timed(const char* verb, std::uint64_t count, Clock::time_point start) {
    char text[96];
    std::snprintf(text, sizeof text, "%s %llu in %.6f", verb, static_cast<unsigned long long>(count),
                  secondsSince(start));
    return text;
}

struct PcapCloser {
    void operator()(pcap_t* handle) const { ::pcap_close(handle); }
};

class Generator {
public:
    Generator(TapDevice device, bool plain) : _device(std::move(device)), _plain(plain) {}

    // The answer to one line of input.
    std::string obey(const std::string& line);

private:
    std::string send(std::istringstream& arguments);
    std::string replay(const std::string& path);
    std::string setUp(bool up);
    std::string write(std::span<const std::uint8_t> frame);

    std::optional<TapDevice> _device; // empty once deleted
    bool _plain;
    std::uint64_t _nextNumber = 0;
};

std::string Generator::obey(const std::string& line) {
    std::istringstream arguments(line);
    std::string verb;
    arguments >> verb;
    if (!_device) {
        return "error: the device was deleted";
    }
    if (verb == "send") {
        return send(arguments);
    }
    if (verb == "replay") {
        std::string path;
        std::getline(arguments >> std::ws, path);
        return replay(path);
    }
    if (verb == "down" || verb == "up") {
        return setUp(verb == "up");
    }
    if (verb == "delete") {
        _device.reset();
        return "deleted";
    }
    return "error: unknown command " + verb;
}

std::string Generator::send(std::istringstream& arguments) {
    std::uint64_t count = 0;
    double rate = 0;
    std::size_t size = 300;
    if (!(arguments >> count >> rate) || rate < 0) {
        return "error: send COUNT RATE [SIZE]";
    }
    arguments >> size;
    if (size < smallestFrame || size > largestFrame) {
        return "error: the size must be 47 to 4096";
    }
    NumberedFrame numbered(size);
    const auto start = Clock::now();
    for (std::uint64_t sent = 0; sent < count;) {
        const auto due = rate > 0 ? static_cast<std::uint64_t>(secondsSince(start) * rate) + 1 : count;
        for (; sent < std::min(due, count); ++sent) {
            const Bytes& frame = numbered.withNumber(_nextNumber++);
            if (auto trouble = write(std::span(frame).subspan(_plain ? radiotapSize : 0)); !trouble.empty()) {
                return trouble + " after " + std::to_string(sent) + " frames";
            }
        }
        if (sent < count) {
            // The next frame's time, or a millisecond at high rates: frames then go out in small batches.
            const double wait = std::max(static_cast<double>(sent) / rate - secondsSince(start), 0.001);
            std::this_thread::sleep_for(std::chrono::duration<double>(wait));
        }
    }
    return timed("sent", count, start);
}

std::string Generator::replay(const std::string& path) {
    char reason[PCAP_ERRBUF_SIZE] = "";
    const std::unique_ptr<pcap_t, PcapCloser> file(::pcap_open_offline(path.c_str(), reason));
    if (!file) {
        return std::string("error: pcap_open_offline: ") + reason;
    }
    const auto start = Clock::now();
    std::uint64_t count = 0;
    pcap_pkthdr* header = nullptr;
    const u_char* data = nullptr;
    int result = 0;
    while ((result = ::pcap_next_ex(file.get(), &header, &data)) == 1) {
        if (auto trouble = write({data, header->caplen}); !trouble.empty()) {
            return trouble + " after " + std::to_string(count) + " frames";
        }
        ++count;
    }
    if (result == PCAP_ERROR) {
        return std::string("error: pcap_next_ex: ") + ::pcap_geterr(file.get());
    }
    return timed("replayed", count, start);
}

std::string Generator::setUp(bool up) {
    const auto changed = _device->setUp(up);
    return changed ? (up ? "up" : "down") : "error: " + changed.error().text().toStdString();
}

std::string Generator::write(std::span<const std::uint8_t> frame) {
    const auto written = _device->write(frame);
    return written ? std::string() : "error: " + written.error().text().toStdString();
}

} // namespace

int main(int argc, char** argv) {
    bool plain = false;
    QString pattern = QStringLiteral("vantrel%d");
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument == "--plain") {
            plain = true;
        } else if (argument == "--name" && index + 1 < argc) {
            pattern = QString::fromLocal8Bit(argv[++index]);
        } else {
            std::cerr << "usage: tap_generator [--plain] [--name PATTERN]\n";
            return 2;
        }
    }
    auto device = TapDevice::create(plain ? TapLinkType::Plain80211 : TapLinkType::Radiotap, pattern);
    if (!device) {
        std::cerr << device.error().error.text().toStdString() << '\n';
        return 1;
    }
    std::cout << device->name().toStdString() << std::endl;
    Generator generator(std::move(*device), plain);
    for (std::string line; std::getline(std::cin, line) && line != "quit";) {
        std::cout << generator.obey(line) << std::endl;
    }
    return 0;
}
