#include "remote/Streams.h"

#include <array>

namespace vantrel {

std::int64_t writeFully(OutputStream& stream, std::span<const std::uint8_t> bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t result = stream.write(bytes.subspan(written));
        if (result < 0) {
            return result;
        }
        written += static_cast<std::size_t>(result);
    }
    return static_cast<std::int64_t>(written);
}

std::int64_t writeBlock(OutputStream& stream, std::span<const std::uint8_t> bytes) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    const std::array<std::uint8_t, 4> length = {static_cast<std::uint8_t>(size >> 24),
                                                static_cast<std::uint8_t>(size >> 16),
                                                static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)};
    constexpr auto lengthSize = static_cast<std::int64_t>(length.size());
    if (const std::int64_t result = writeFully(stream, length); result != lengthSize) {
        return result;
    }
    const std::int64_t result = writeFully(stream, bytes);
    return result == static_cast<std::int64_t>(bytes.size()) ? result + lengthSize : result;
}

} // namespace vantrel
