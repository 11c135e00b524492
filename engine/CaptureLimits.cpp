#include "engine/CaptureLimits.h"

#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <limits>

namespace vantrel {

namespace {

// A 32-bit shift whose lost bits stay lost, widened with its sign.
std::int64_t shifted(std::int64_t value, unsigned bits) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) << bits);
}

std::int64_t secondsOf(std::int64_t value, std::int64_t unit) {
    if (value <= 0) {
        return 0;
    }
    const std::int64_t most = std::numeric_limits<std::int64_t>::max() / unit;
    return value > most ? most * unit : value * unit;
}

} // namespace

CaptureLimits captureLimits(const SettingsStore& settings) {
    CaptureLimits limits;
    if (!settings.boolForKey(keys::LimitCaptureFile)) {
        return limits;
    }
    const std::int64_t value = settings.integerForKey(keys::LimitCaptureFileValue);
    switch (settings.integerForKey(keys::LimitCaptureFileUnits)) {
    case 0:
        limits.maxFileSize = shifted(value, 10);
        break;
    case 1:
        limits.maxFileSize = shifted(value, 20);
        break;
    case 2:
        limits.seconds = secondsOf(value, 1);
        break;
    case 3:
        limits.seconds = secondsOf(value, 60);
        break;
    case 4:
        limits.maxFileFrames = static_cast<std::int32_t>(value);
        break;
    default: // a number from the user's file: units we do not know limit nothing
        break;
    }
    return limits;
}

} // namespace vantrel
