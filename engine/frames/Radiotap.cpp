#include "frames/Radiotap.h"

#include "frames/LittleEndian.h"

#include <array>
#include <bit>

namespace vantrel {

namespace {

constexpr std::size_t fixedPartSize = 8; // version, pad, length (16 bits), first present word
constexpr std::size_t presentWordSize = 4;
constexpr std::size_t vendorFixedSize = 6; // OUI, sub-namespace, skip length (16 bits)
constexpr std::size_t vendorAlignment = 2;
constexpr std::uint32_t extendedBitmapMask = 1U << radiotap::extendedBitmap;
constexpr std::uint32_t fieldBitsMask = (1U << radiotap::radiotapNamespace) - 1;

struct FieldLayout {
    std::uint8_t alignment; // 0: not defined
    std::uint8_t size;
};

// The standard namespace, by bit number (radiotap.org, "defined fields"). FHSS is two single bytes, but receivers and
// the usual parsers align it like one 16-bit word. Bit 18 (XChannel) was never adopted.
constexpr std::array<FieldLayout, 23> standardFields = {{
    {8, 8},  //  0 TSFT
    {1, 1},  //  1 Flags
    {1, 1},  //  2 Rate
    {2, 4},  //  3 Channel
    {2, 2},  //  4 FHSS
    {1, 1},  //  5 Antenna signal, dBm
    {1, 1},  //  6 Antenna noise, dBm
    {2, 2},  //  7 Lock quality
    {2, 2},  //  8 TX attenuation
    {2, 2},  //  9 TX attenuation, dB
    {1, 1},  // 10 TX power, dBm
    {1, 1},  // 11 Antenna
    {1, 1},  // 12 Antenna signal, dB
    {1, 1},  // 13 Antenna noise, dB
    {2, 2},  // 14 RX flags
    {2, 2},  // 15 TX flags
    {1, 1},  // 16 RTS retries
    {1, 1},  // 17 Data retries
    {0, 0},  // 18 not defined
    {1, 3},  // 19 MCS
    {4, 8},  // 20 A-MPDU status
    {2, 12}, // 21 VHT
    {8, 12}, // 22 Timestamp
}};

// Relative to the header's start: what stands before the header has no say in it.
constexpr std::size_t aligned(std::size_t offset, std::size_t alignment) noexcept {
    return (offset + alignment - 1) & ~(alignment - 1);
}

} // namespace

int RadiotapIterator::init(std::span<const std::uint8_t> bytes) noexcept {
    *this = RadiotapIterator();
    if (bytes.size() < fixedPartSize || bytes[0] != 0) {
        return invalidArgument;
    }
    const std::size_t length = readLe16(bytes, 2);
    if (length > bytes.size()) {
        return invalidArgument;
    }
    const std::uint32_t firstWord = readLe32(bytes, 4);
    std::size_t offset = fixedPartSize;
    for (std::uint32_t word = firstWord; (word & extendedBitmapMask) != 0; offset += presentWordSize) {
        if (length < offset + presentWordSize) {
            return invalidArgument;
        }
        word = readLe32(bytes, offset);
    }
    _header = bytes.first(length);
    _offset = offset;
    _nextPresentWord = fixedPartSize;
    _namespaceEnd = length;
    _pending = firstWord;
    return 0;
}

int RadiotapIterator::next() noexcept {
    while (_pending != 0) {
        const int bit = std::countr_zero(_pending);
        switch (bit) {
        case radiotap::radiotapNamespace:
            if (_offset > _header.size()) { // a header shorter than its own fixed part
                return invalidArgument;
            }
            enterStandardNamespace();
            break;
        case radiotap::vendorNamespace:
            return enterVendorNamespace();
        case radiotap::extendedBitmap:
            enterNextPresentWord();
            break;
        default:
            if (_standardNamespace) {
                const int index = _firstIndex + bit;
                if (index >= static_cast<int>(standardFields.size())) {
                    return noMoreEntries;
                }
                if (standardFields[static_cast<std::size_t>(index)].alignment != 0) {
                    return takeField(index);
                }
            }
            skipNamespaceData();
        }
    }
    return noMoreEntries;
}

int RadiotapIterator::takeField(int index) noexcept {
    const FieldLayout layout = standardFields[static_cast<std::size_t>(index)];
    return hit(index, aligned(_offset, layout.alignment), layout.size);
}

int RadiotapIterator::enterVendorNamespace() noexcept {
    const std::size_t start = aligned(_offset, vendorAlignment);
    if (start + vendorFixedSize > _header.size()) {
        return invalidArgument;
    }
    const std::size_t skipLength = readLe16(_header, start + 4);
    const int result = hit(radiotap::vendorNamespace, start, vendorFixedSize + skipLength);
    if (result == 0) {
        _standardNamespace = false;
        _namespaceEnd = _offset;
        _restartNumbering = true;
    }
    return result;
}

void RadiotapIterator::enterStandardNamespace() noexcept {
    _pending &= _pending - 1;
    _standardNamespace = true;
    _namespaceEnd = _header.size();
    _restartNumbering = true;
}

// The fields of an unknown namespace, and those behind an undefined field, have no known size: none of this word can
// be found, and the data that is left goes as one. What follows it (a namespace that needs bytes of its own) then finds
// them behind the data, or no room for them.
void RadiotapIterator::skipNamespaceData() noexcept {
    _standardNamespace = false;
    _offset = _namespaceEnd;
    _pending &= ~fieldBitsMask;
}

void RadiotapIterator::enterNextPresentWord() noexcept {
    _pending = readLe32(_header, _nextPresentWord);
    _nextPresentWord += presentWordSize;
    _firstIndex = _restartNumbering ? 0 : _firstIndex + 32;
    _restartNumbering = false;
}

// Takes the lowest pending bit for a field at this place, unless it would run past the header's length.
int RadiotapIterator::hit(int index, std::size_t start, std::size_t size) noexcept {
    if (start + size > _header.size()) {
        return invalidArgument;
    }
    _argIndex = index;
    _arg = _header.subspan(start, size);
    _offset = start + size;
    _pending &= _pending - 1;
    return 0;
}

std::optional<RadioHeader> readRadiotapHeader(std::span<const std::uint8_t> captured) noexcept {
    if (captured.size() < 4) {
        return std::nullopt;
    }
    RadioHeader header;
    header.length = readLe16(captured, 2);
    if (header.length > captured.size()) {
        return std::nullopt;
    }
    RadiotapIterator iterator;
    int result = iterator.init(captured);
    while (result == 0) {
        result = iterator.next();
        if (result == 0 && iterator.thisArgIndex() == radiotap::flags) {
            const std::uint8_t flags = iterator.thisArg()[0];
            header.fcsAtEnd = (flags & radiotap::flagFcsAtEnd) != 0;
            header.dataPadding = (flags & radiotap::flagDataPadding) != 0;
            header.badFcs = (flags & radiotap::flagBadFcs) != 0;
        }
    }
    return header;
}

} // namespace vantrel
