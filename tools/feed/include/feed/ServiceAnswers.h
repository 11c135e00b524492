// What avahi-daemon tells of a service that it has found, by the arguments of the message
// (org.freedesktop.Avahi.ServiceBrowser and .Server, as in /usr/share/dbus-1/interfaces).
//
// Pure; any thread. Nothing is answered for a message of another signature than the documented one.
#pragma once

#include <QString>
#include <QVariantList>
#include <cstdint>
#include <optional>

namespace vantrel::feed {

struct ServiceItem {
    int interface = 0; // its index
    int protocol = 0;  // as avahi-common/address.h numbers them
    QString name;
    QString type;
    QString domain;
};

// Of the signal ItemNew.
[[nodiscard]] std::optional<ServiceItem> serviceItemOf(const QVariantList& arguments);
// Of the answer to ResolveService; never 0.
[[nodiscard]] std::optional<std::uint16_t> servicePortOf(const QVariantList& arguments);

} // namespace vantrel::feed
