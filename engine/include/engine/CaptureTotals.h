// Frame and byte counts of the finished files of one capture. Any thread.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace vantrel {

class CaptureTotals {
public:
    void clear();
    // One finished file: its frames, and its size on disk in bytes.
    void push(std::uint64_t frames, std::uint64_t bytes);

    // Sums over the newest `maxFiles` files, so that with rotation just the files still kept count. Below 2 it is the
    // last file's own count, 0 when there is none.
    [[nodiscard]] std::uint64_t totalFrames(std::int64_t maxFiles) const;
    [[nodiscard]] std::uint64_t totalBytes(std::int64_t maxFiles) const;

private:
    mutable std::mutex _mutex;
    std::vector<std::uint64_t> _frameCountStack; // guarded by _mutex
    std::vector<std::uint64_t> _byteCountStack;  // guarded by _mutex
};

} // namespace vantrel
