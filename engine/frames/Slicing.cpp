#include "frames/Slicing.h"

#include "frames/LittleEndian.h"
#include "frames/Ppi.h"
#include "frames/RadioHeader.h"
#include "frames/Radiotap.h"

#include <optional>
#include <zlib.h>

namespace vantrel {

namespace {

// The frame control field, as its two bytes (IEEE 802.11 clause 9.2.4.1).
constexpr unsigned typeMask = 0x0C;
constexpr unsigned typeData = 0x08;
constexpr unsigned subtypeNoPayload = 0x40;
constexpr unsigned subtypeQos = 0x80;
constexpr unsigned toAndFromDs = 0x03; // of the second byte

constexpr std::size_t threeAddressLength = 24;
constexpr std::size_t fourthAddressLength = 6;
constexpr std::size_t qosControlLength = 2;
constexpr std::size_t fcsLength = 4;
constexpr std::size_t paddingMultiple = 4;

std::optional<RadioHeader> readRadioHeader(std::span<const std::uint8_t> captured, int dataLinkType) noexcept {
    switch (dataLinkType) {
    case dataLinkTypeRadiotap:
        return readRadiotapHeader(captured);
    case dataLinkTypePpi:
        return readPpiHeader(captured);
    default:
        return std::nullopt;
    }
}

// The length of the 802.11 header of a data frame that carries a payload; 0 for every other frame.
std::size_t dataHeaderLength(std::span<const std::uint8_t> frame) noexcept {
    if (frame.size() < 2 || (frame[0] & typeMask) != typeData || (frame[0] & subtypeNoPayload) != 0) {
        return 0;
    }
    std::size_t length = threeAddressLength;
    if ((frame[1] & toAndFromDs) == toAndFromDs) {
        length += fourthAddressLength;
    }
    if ((frame[0] & subtypeQos) != 0) {
        length += qosControlLength;
    }
    return length;
}

// Whether the frame check sequence at the frame's end is that of its header and payload. A frame without a byte of
// payload in front of the sequence proves nothing.
bool fcsIsRight(std::span<const std::uint8_t> frame, std::size_t headerLength, bool dataPadding) noexcept {
    if (frame.size() < headerLength + 1 + fcsLength) {
        return false;
    }
    const std::size_t bodyEnd = frame.size() - fcsLength;
    std::size_t bodyStart = headerLength;
    if (dataPadding) {
        bodyStart = (headerLength + paddingMultiple - 1) / paddingMultiple * paddingMultiple;
    }
    if (bodyStart > bodyEnd) { // the one byte is not even the whole padding
        return false;
    }
    // One pass where nothing stands in between: zlib is at its slowest on a few bytes.
    const std::size_t firstPart = bodyStart == headerLength ? bodyEnd : headerLength;
    uLong crc = crc32(0, frame.data(), static_cast<uInt>(firstPart));
    if (firstPart < bodyEnd) {
        crc = crc32(crc, frame.data() + bodyStart, static_cast<uInt>(bodyEnd - bodyStart));
    }
    return crc == readLe32(frame, bodyEnd);
}

} // namespace

std::uint32_t slicedLength(std::span<const std::uint8_t> captured, int dataLinkType) noexcept {
    const auto capturedLength = static_cast<std::uint32_t>(captured.size());
    const std::optional<RadioHeader> header = readRadioHeader(captured, dataLinkType);
    if (!header || header->badFcs) {
        return capturedLength;
    }
    const std::span<const std::uint8_t> frame = captured.subspan(header->length);
    const std::size_t headerLength = dataHeaderLength(frame);
    if (headerLength == 0) {
        return capturedLength;
    }
    const bool payloadMayGo =
        header->fcsAtEnd ? fcsIsRight(frame, headerLength, header->dataPadding) : frame.size() >= headerLength + 1;
    return payloadMayGo ? static_cast<std::uint32_t>(header->length + headerLength) : capturedLength;
}

} // namespace vantrel
