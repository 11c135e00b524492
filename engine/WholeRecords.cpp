#include "engine/WholeRecords.h"

#include <array>
#include <cstring>

namespace vantrel {

WholeRecords wholeRecords(std::uint64_t from, std::uint64_t reached, const ReadAt& readAt) {
    constexpr std::size_t capturedLengthAt = 8; // behind the time
    WholeRecords whole{.end = from};
    std::array<std::uint8_t, recordHeaderLength> record{};
    while (whole.end + recordHeaderLength <= reached && readAt(whole.end, record)) {
        std::uint32_t captured = 0;
        std::memcpy(&captured, record.data() + capturedLengthAt, sizeof captured);
        const std::uint64_t end = whole.end + recordHeaderLength + captured;
        if (end > reached) {
            break;
        }
        whole.end = end;
        whole.frames += 1;
        whole.size += captured + countedPerFrame;
    }
    return whole;
}

} // namespace vantrel
