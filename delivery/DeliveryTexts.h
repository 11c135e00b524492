// Every text of the delivery of capture files that is shown, each in this one place.
#pragma once

#include <QLatin1StringView>
#include <QLoggingCategory>

namespace vantrel {

Q_DECLARE_LOGGING_CATEGORY(lcDelivery)

namespace texts {

inline constexpr QLatin1StringView saveFailed{"Failed to save capture file."};
inline constexpr QLatin1StringView saveFailedInfo{"%1. The capture file is kept as %2"};
inline constexpr QLatin1StringView saveFailedWhileCapturing{
    "%1. The capture file is kept as %2. Frames are lost, and counted, until it can be saved."};
inline constexpr QLatin1StringView isFolder{"there is a folder of that name"};

inline constexpr QLatin1StringView completed{"Capture completed"};
inline constexpr QLatin1StringView dismiss{"Dismiss"};
inline constexpr char framesAndSize[] = "%lu frames (%s)";
inline constexpr char filesFramesAndSize[] = "%lu %s, %lu frames (%s)";
inline constexpr char file[] = "file";
inline constexpr char files[] = "files";

inline constexpr QLatin1StringView leftOver{"A capture was not saved"};
inline constexpr QLatin1StringView leftOverSeveral{"Captures were not saved"};
inline constexpr QLatin1StringView leftOverInfo{"Left over from an earlier run (%1)"};
inline constexpr QLatin1StringView leftOverSeveralInfo{"%1 files left over from an earlier run (%2)"};

} // namespace texts
} // namespace vantrel
