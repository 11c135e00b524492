#include "engine/CaptureTotals.h"

#include <algorithm>
#include <numeric>

namespace vantrel {

namespace {

std::uint64_t sumOfNewest(const std::vector<std::uint64_t>& stack, std::int64_t maxFiles) {
    const auto kept = std::min(static_cast<std::size_t>(std::max<std::int64_t>(maxFiles, 1)), stack.size());
    return std::accumulate(stack.end() - static_cast<std::ptrdiff_t>(kept), stack.end(), std::uint64_t{0});
}

} // namespace

void CaptureTotals::clear() {
    const std::lock_guard lock(_mutex);
    _frameCountStack.clear();
    _byteCountStack.clear();
}

void CaptureTotals::push(std::uint64_t frames, std::uint64_t bytes) {
    const std::lock_guard lock(_mutex);
    _frameCountStack.push_back(frames);
    _byteCountStack.push_back(bytes);
}

std::uint64_t CaptureTotals::totalFrames(std::int64_t maxFiles) const {
    const std::lock_guard lock(_mutex);
    return sumOfNewest(_frameCountStack, maxFiles);
}

std::uint64_t CaptureTotals::totalBytes(std::int64_t maxFiles) const {
    const std::lock_guard lock(_mutex);
    return sumOfNewest(_byteCountStack, maxFiles);
}

} // namespace vantrel
