#include "feed/RecordReader.h"

namespace vantrel::feed {

namespace {

constexpr std::size_t prefixSize = 4;

std::uint32_t readBe32(std::span<const std::uint8_t> bytes) {
    std::uint32_t value = 0;
    for (const std::uint8_t byte : bytes.first(prefixSize)) {
        value = value << 8 | byte;
    }
    return value;
}

} // namespace

void RecordReader::append(std::span<const std::uint8_t> bytes) {
    if (_refused) {
        return;
    }
    _bytes.erase(_bytes.begin(), _bytes.begin() + static_cast<std::ptrdiff_t>(_start));
    _start = 0;
    _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
}

std::optional<std::span<const std::uint8_t>> RecordReader::next() {
    const auto rest = std::span<const std::uint8_t>(_bytes).subspan(_start);
    if (rest.size() < prefixSize) {
        return std::nullopt;
    }
    const std::uint32_t length = readBe32(rest);
    if (length > longestRecord) {
        _refused = length; // and stays the next one: nothing more is appended
        return std::nullopt;
    }
    if (rest.size() - prefixSize < length) {
        return std::nullopt;
    }
    _start += prefixSize + length;
    return rest.subspan(prefixSize, length);
}

} // namespace vantrel::feed
