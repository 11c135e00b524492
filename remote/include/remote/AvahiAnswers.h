// What avahi-daemon's answers and signals say, by the arguments of the message (org.freedesktop.Avahi.Server and
// .EntryGroup, as in /usr/share/dbus-1/interfaces).
//
// Pure; any thread. Nothing is answered for a message of another signature than the documented one.
#pragma once

#include <QString>
#include <QVariantList>
#include <optional>

namespace vantrel {

// Of GetState, and of StateChanged of a server or an entry group.
[[nodiscard]] std::optional<int> avahiStateOf(const QVariantList& arguments);
// Of GetHostName, GetAlternativeServiceName and the bus's GetNameOwner; never empty.
[[nodiscard]] std::optional<QString> avahiNameOf(const QVariantList& arguments);

} // namespace vantrel
