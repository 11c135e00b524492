// The feed's client over any bytes. The first byte tells what the others are: the stream as it comes, cut in pieces, or
// one record, which gets the right check sequence so that its elements are reached. Whatever is shown of it drives no
// terminal.
#include "FuzzInput.h"
#include "feed/Beacon.h"
#include "feed/Formats.h"
#include "feed/RecordReader.h"
#include "feed/TableLayout.h"

#include <algorithm>
#include <array>
#include <vector>
#include <zlib.h>

namespace {

using namespace vantrel;
using namespace vantrel::feed;

bool isPrintable(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) {
        const auto value = static_cast<std::uint8_t>(byte);
        return value >= 0x20 && value != 0x7F;
    });
}

void show(const Beacon& beacon) {
    require(beacon.ssid.size() <= 32 && (beacon.country.empty() || beacon.country.size() == 2));
    const std::string line = jsonLine(beacon, {}, 1);
    require(line.ends_with("}\n") && isPrintable(std::string_view(line).substr(0, line.size() - 1)));
    const Network network{beacon, {}};
    const std::array networks = {&network};
    for (const Charset charset : {Charset::Ascii, Charset::Utf8}) {
        for (const int columns : {7, 40, 80, 200}) {
            for (const std::string& row : tableLines(networks, {columns, 0, false, charset}, {})) {
                require(isPrintable(row) && displayWidth(row) <= columns);
            }
        }
    }
}

void readStream(std::span<const std::uint8_t> bytes) {
    RecordReader reader;
    std::size_t total = 0;
    for (std::size_t size = 1; !bytes.empty(); size = size % 61 + 7) {
        const auto piece = bytes.first(std::min(size, bytes.size()));
        bytes = bytes.subspan(piece.size());
        reader.append(piece);
        while (const auto record = reader.next()) {
            total += record->size() + 4;
            if (const auto beacon = readBeacon(*record)) {
                show(*beacon);
            }
        }
    }
    require(total <= (1U << 24));
}

void readRecord(std::span<const std::uint8_t> bytes) {
    std::vector<std::uint8_t> record(bytes.begin(), bytes.end());
    const std::size_t length = bytes.size() < 4 ? 0 : bytes[2] + 256U * bytes[3];
    if (length <= bytes.size()) {
        const auto frame = bytes.subspan(length);
        const auto sum = crc32(0, frame.data(), static_cast<uInt>(frame.size()));
        for (int shift = 0; shift < 32; shift += 8) {
            record.push_back(static_cast<std::uint8_t>(sum >> shift));
        }
    }
    const FuzzInput exact(record.data(), record.size());
    if (const auto beacon = readBeacon(exact.bytes())) {
        show(*beacon);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return -1;
    }
    const FuzzInput input(data + 1, size - 1);
    if (data[0] % 2 == 0) {
        readStream(input.bytes());
    } else {
        readRecord(input.bytes());
    }
    return 0;
}
