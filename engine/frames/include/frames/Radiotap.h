// Walks the fields of a radiotap header, the radio header of data-link type 127 (format: radiotap.org).
//
// The walk never reads outside the bytes it was given nor past the length the header claims, allocates nothing, and
// touches no state but its own: any thread may use it, an iterator belonging to one thread at a time.
//
// Vendor namespaces have no table here: every one is unknown. Its description is reported once, and its fields are
// passed over as a whole by the skip length it declares.
#pragma once

#include "frames/RadioHeader.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vantrel {

// Bit numbers of the present words, which number the fields of the standard namespace as well (radiotap.org, "defined
// fields"); those named here are the ones somebody looks for.
namespace radiotap {
inline constexpr int flags = 1;
inline constexpr int antennaSignal = 5; // dBm, one signed byte
inline constexpr int antennaNoise = 6;  // dBm, one signed byte
inline constexpr int radiotapNamespace = 29;
inline constexpr int vendorNamespace = 30;
inline constexpr int extendedBitmap = 31;

// Bits of the Flags field (radiotap.org, "Flags").
inline constexpr std::uint8_t flagFcsAtEnd = 0x10;
inline constexpr std::uint8_t flagDataPadding = 0x20;
inline constexpr std::uint8_t flagBadFcs = 0x40;
} // namespace radiotap

class RadiotapIterator {
public:
    static constexpr int noMoreEntries = -2;    // the walk has come to its end
    static constexpr int invalidArgument = -22; // the header, or the field that comes next, does not fit

    // Sets the walk up at the first field; 0, or invalidArgument when the bytes hold no whole header of version 0 with
    // all of its present words. The bytes may go on behind the header. They are borrowed until the walk ends.
    [[nodiscard]] int init(std::span<const std::uint8_t> bytes) noexcept;

    // Steps to the next field: 0, noMoreEntries at the end or at a field the standard namespace does not define, or
    // invalidArgument when the field would run past the header's length. Called again after a failure it answers the
    // same. Before a successful init() there are no entries.
    [[nodiscard]] int next() noexcept;

    // The field found by the last next() that answered 0: its number in the standard namespace, or
    // radiotap::vendorNamespace, and its bytes (for a vendor namespace OUI, sub-namespace and skip length, six bytes,
    // and then the data skipped).
    [[nodiscard]] int thisArgIndex() const noexcept { return _argIndex; }
    [[nodiscard]] std::span<const std::uint8_t> thisArg() const noexcept { return _arg; }

private:
    [[nodiscard]] int takeField(int index) noexcept;
    [[nodiscard]] int enterVendorNamespace() noexcept;
    void enterStandardNamespace() noexcept;
    void skipNamespaceData() noexcept;
    void enterNextPresentWord() noexcept;
    [[nodiscard]] int hit(int index, std::size_t start, std::size_t size) noexcept;

    std::span<const std::uint8_t> _header; // exactly the length the header claims
    std::size_t _offset = 0;               // where the next field may begin
    std::size_t _nextPresentWord = 0;
    std::size_t _namespaceEnd = 0; // where the data of the current namespace ends; the header's end where unknown
    std::uint32_t _pending = 0;    // bits of the current present word not yet walked
    int _firstIndex = 0;           // field number of bit 0 of the current present word
    bool _standardNamespace = true;
    bool _restartNumbering = false; // in the next present word
    int _argIndex = 0;
    std::span<const std::uint8_t> _arg;
};

// Reads the header in front of a captured frame; empty when the captured bytes do not reach to the header's end. Of
// several Flags fields the last counts, and one that stands before a field that does not fit still does. A header that
// cannot be walked leaves every flag clear.
[[nodiscard]] std::optional<RadioHeader> readRadiotapHeader(std::span<const std::uint8_t> captured) noexcept;

} // namespace vantrel
