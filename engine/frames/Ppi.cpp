#include "frames/Ppi.h"

#include "frames/LittleEndian.h"

namespace vantrel {

namespace {

constexpr std::size_t lengthOffset = 2;
constexpr std::size_t firstFieldOffset = 8;
constexpr std::size_t fieldHeaderSize = 4;
constexpr std::uint16_t commonFieldType = 2; // 802.11-Common
constexpr std::size_t commonDataLength = 20;
constexpr std::size_t commonCapturedBytes = 24; // from the start of its data, the frame's first bytes included
constexpr std::size_t commonFlagsOffset = 8;    // in its data: behind the 64-bit TSF timer
constexpr std::uint8_t flagFcsAtEnd = 0x01;
constexpr std::uint8_t flagBadFcs = 0x02;

} // namespace

std::optional<RadioHeader> readPpiHeader(std::span<const std::uint8_t> captured) noexcept {
    if (captured.size() < lengthOffset + 2) {
        return std::nullopt;
    }
    const auto length = static_cast<std::int16_t>(readLe16(captured, lengthOffset));
    if (length < 0 || static_cast<std::size_t>(length) > captured.size()) {
        return std::nullopt;
    }
    RadioHeader header;
    header.length = static_cast<std::size_t>(length);
    // A field's header is inside the captured bytes whenever its data begins within the radio header.
    std::size_t dataStart = firstFieldOffset + fieldHeaderSize;
    while (dataStart <= header.length) {
        const std::uint16_t type = readLe16(captured, dataStart - 4);
        const std::size_t dataLength = readLe16(captured, dataStart - 2);
        if (type == commonFieldType && dataLength == commonDataLength &&
            captured.size() - dataStart >= commonCapturedBytes) {
            const std::uint8_t flags = captured[dataStart + commonFlagsOffset];
            header.fcsAtEnd = (flags & flagFcsAtEnd) != 0;
            header.badFcs = (flags & flagBadFcs) != 0;
            break;
        }
        dataStart += dataLength + fieldHeaderSize;
    }
    return header;
}

} // namespace vantrel
