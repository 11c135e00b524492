// Whether the address of an upload service can be used, and what the user should know of it.
//
// Any thread.
#pragma once

#include <QString>

namespace vantrel::preferences {

enum class AddressVerdict {
    Good,
    NotEncrypted,  // usable, but http
    ReachesNobody, // usable, but a name under .example, as the registered defaults are
    Missing,
    NotAnAddress, // does not parse, or holds white space
    NoScheme,
    NotWeb, // neither http nor https
    NoHost,
};

[[nodiscard]] AddressVerdict addressVerdict(const QString& text);

// Whether a browser and the uploaders can do something with it.
[[nodiscard]] bool isUsable(AddressVerdict verdict);

// What to tell the user, translated; empty for a good one.
[[nodiscard]] QString verdictText(AddressVerdict verdict);

// The address of a page of the service: the component is joined to the path with one slash.
[[nodiscard]] QString withPathComponent(const QString& address, QStringView component);

} // namespace vantrel::preferences
