#include "feed/Formats.h"

#include "feed/RecordReader.h"
#include "feed/SafeText.h"
#include "frames/RadioHeader.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>

namespace vantrel::feed {

namespace {

std::string numberOrNull(std::optional<int> number) { return number ? std::to_string(*number) : "null"; }

std::string hexText(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<std::uint8_t>(byte) >> 4];
        text += digits[static_cast<std::uint8_t>(byte) & 0x0F];
    }
    return text;
}

std::int64_t microsecondsSinceEpoch(WallTime time) {
    return std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
}

std::string timeText(WallTime time) {
    const std::int64_t microseconds = microsecondsSinceEpoch(time);
    const std::time_t seconds = microseconds / 1000000;
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text.data() + length, text.size() - length, ".%06dZ", static_cast<int>(microseconds % 1000000));
    return text.data();
}

template <typename... Words>
std::string packed(Words... words) {
    std::string bytes;
    const auto add = [&bytes](auto word) {
        std::array<char, sizeof word> raw{};
        std::memcpy(raw.data(), &word, sizeof word);
        bytes.append(raw.data(), raw.size());
    };
    (add(words), ...);
    return bytes;
}

} // namespace

std::string jsonLine(const Beacon& beacon, WallTime time, std::uint64_t sweep) {
    std::string line = "{\"time\":\"" + timeText(time) + "\",\"sweep\":" + std::to_string(sweep);
    const auto add = [&line](std::string_view name, const std::string& value) {
        line.append(",\"").append(name).append("\":").append(value);
    };
    add("frame", beacon.probeResponse ? "\"probe response\"" : "\"beacon\"");
    add("bssid", '"' + bssidText(beacon.bssid) + '"');
    add("ssid", jsonString(beacon.ssid));
    add("ssid_hex", '"' + hexText(beacon.ssid) + '"');
    add("channel", numberOrNull(beacon.channel));
    add("width", '"' + std::string(widthText(beacon.width)) + '"');
    add("frequency", numberOrNull(beacon.frequency));
    add("signal", numberOrNull(beacon.signal));
    add("noise", numberOrNull(beacon.noise));
    add("security", jsonString(securityText(beacon.security)));
    add("country", beacon.country.empty() ? "null" : jsonString(beacon.country));
    return line + "}\n";
}

std::string pcapHeader() {
    constexpr std::uint32_t magic = 0xA1B2C3D4;
    constexpr std::uint16_t versionMajor = 2;
    constexpr std::uint16_t versionMinor = 4;
    constexpr std::uint32_t reserved = 0;
    constexpr std::uint32_t snapshotLength = RecordReader::longestRecord;
    return packed(magic, versionMajor, versionMinor, reserved, reserved, snapshotLength,
                  static_cast<std::uint32_t>(dataLinkTypeRadiotap));
}

std::string pcapFrame(std::span<const std::uint8_t> frame, WallTime time) {
    const std::int64_t microseconds = microsecondsSinceEpoch(time);
    const auto length = static_cast<std::uint32_t>(frame.size());
    std::string bytes = packed(static_cast<std::uint32_t>(microseconds / 1000000),
                               static_cast<std::uint32_t>(microseconds % 1000000), length, length);
    for (const std::uint8_t byte : frame) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

} // namespace vantrel::feed
