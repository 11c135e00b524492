// Reads the fields of an element one behind the other; each is there as a whole, or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vantrel::feed {

class Cursor {
public:
    explicit Cursor(std::span<const std::uint8_t> bytes) : _rest(bytes) {}

    [[nodiscard]] bool atEnd() const { return _rest.empty(); }
    [[nodiscard]] std::span<const std::uint8_t> rest() const { return _rest; }

    [[nodiscard]] std::optional<std::span<const std::uint8_t>> take(std::size_t size) {
        if (_rest.size() < size) {
            return std::nullopt;
        }
        const auto taken = _rest.first(size);
        _rest = _rest.subspan(size);
        return taken;
    }
    [[nodiscard]] std::optional<std::uint8_t> take8() {
        const auto bytes = take(1);
        return bytes ? std::optional((*bytes)[0]) : std::nullopt;
    }
    [[nodiscard]] std::optional<std::uint16_t> takeLe16() {
        const auto bytes = take(2);
        return bytes ? std::optional(static_cast<std::uint16_t>((*bytes)[0] | (*bytes)[1] << 8)) : std::nullopt;
    }
    [[nodiscard]] std::optional<std::uint32_t> takeLe24() {
        const auto bytes = take(3);
        return bytes ? std::optional(static_cast<std::uint32_t>((*bytes)[0] | (*bytes)[1] << 8 | (*bytes)[2] << 16))
                     : std::nullopt;
    }
    // An OUI, as it is written.
    [[nodiscard]] std::optional<std::uint32_t> takeBe24() {
        const auto bytes = take(3);
        return bytes ? std::optional(static_cast<std::uint32_t>((*bytes)[0] << 16 | (*bytes)[1] << 8 | (*bytes)[2]))
                     : std::nullopt;
    }

private:
    std::span<const std::uint8_t> _rest;
};

} // namespace vantrel::feed
