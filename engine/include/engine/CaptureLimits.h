// The limit of one capture file, as the settings give it.
#pragma once

#include <cstdint>

namespace vantrel {

class SettingsStore;

// At most one is above zero; a value that is not above zero limits nothing.
struct CaptureLimits {
    std::int64_t maxFileSize = 0;   // bytes, compared with VantrelCaptureFile::size()
    std::int64_t maxFileFrames = 0; // frames
    std::int64_t seconds = 0;       // from the file's creation
};

// Reads "LimitCaptureFile", its value and its unit. Sizes and frame counts are kept in signed 32 bits, as they always
// were: 2048 megabytes or more wrap to zero or below, and so mean no limit.
[[nodiscard]] CaptureLimits captureLimits(const SettingsStore& settings);

} // namespace vantrel
