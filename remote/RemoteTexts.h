// Every text of the loopback feed that is logged or announced, each in this one place.
#pragma once

#include <QLatin1StringView>
#include <QLoggingCategory>

namespace vantrel {

Q_DECLARE_LOGGING_CATEGORY(lcRemote)

namespace texts {

inline constexpr char hopFailed[] = "setWLANChannel failed: %s";

// The only frames that the feed looks at (pcap-filter(7)).
inline constexpr char captureFilter[] = "type mgt and (subtype beacon or subtype probe-resp)";

inline constexpr QLatin1StringView serviceType{"_vantrel._tcp."};
inline constexpr QLatin1StringView serviceDomain{"local"};

} // namespace texts
} // namespace vantrel
