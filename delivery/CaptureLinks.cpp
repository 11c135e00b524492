#include "delivery/CaptureLinks.h"

#include <QLatin1StringView>
#include <QUrl>

namespace vantrel {

namespace {

// The page is given the user's address and a ticket, which must never reach a stranger. Names under .example belong to
// nobody and never will (RFC 2606).
constexpr QLatin1StringView mojoPacketsHost{"https://mojopackets.example"};

} // namespace

// A component that would lead back up has no escaped form, for browsers read %2e as a dot.
QString cloudSharkCaptureUrl(const QString& applianceUrl, const QString& id) {
    QString url = applianceUrl;
    while (url.endsWith(QLatin1Char('/'))) {
        url.chop(1);
    }
    url += QStringLiteral("/captures");
    if (id.isEmpty() || id == QLatin1StringView(".") || id == QLatin1StringView("..")) {
        return url;
    }
    return url + QLatin1Char('/') + QString::fromLatin1(QUrl::toPercentEncoding(id));
}

QString mojoPacketsLoginUrl(const QString& email, const QString& ticket, const QString& traceId) {
    return mojoPacketsHost + QStringLiteral("/site/login?email=%1&ticket=%2&trace_id=%3").arg(email, ticket, traceId);
}

} // namespace vantrel
