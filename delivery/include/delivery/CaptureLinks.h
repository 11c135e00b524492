// The web pages that the notification of an upload leads to.
//
// Pure; any thread. What a service has said stands in them, and leads to no other host.
#pragma once

#include <QString>

namespace vantrel {

// A page of the appliance. The id is one component of its path: whatever could end that is escaped, and an id that
// would lead elsewhere leads to all captures.
[[nodiscard]] QString cloudSharkCaptureUrl(const QString& applianceUrl, const QString& id);

// The login page of the web application, its query unescaped, as that page reads it.
[[nodiscard]] QString mojoPacketsLoginUrl(const QString& email, const QString& ticket, const QString& traceId);

} // namespace vantrel
