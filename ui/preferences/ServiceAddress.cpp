#include "ServiceAddress.h"

#include "PreferencesTexts.h"
#include "base/Translated.h"

#include <QUrl>
#include <algorithm>

namespace vantrel::preferences {

namespace {
bool hasSpace(const QString& text) {
    return std::any_of(text.cbegin(), text.cend(), [](QChar character) {
        return character.isSpace() || character.category() == QChar::Other_Control;
    });
}

// Of a server that exists for nobody (RFC 2606).
bool isReserved(const QString& host) {
    return host.endsWith(QStringLiteral(".example"), Qt::CaseInsensitive) ||
           host.compare(QStringLiteral("example"), Qt::CaseInsensitive) == 0;
}

// "server:8080" parses as the scheme "server".
bool beginsWithScheme(const QString& text) { return text.contains(QStringLiteral("://")); }
} // namespace

AddressVerdict addressVerdict(const QString& text) {
    if (text.isEmpty()) {
        return AddressVerdict::Missing;
    }
    const QUrl url(text, QUrl::StrictMode);
    if (hasSpace(text) || (beginsWithScheme(text) && !url.isValid())) {
        return AddressVerdict::NotAnAddress;
    }
    if (!beginsWithScheme(text)) {
        return AddressVerdict::NoScheme;
    }
    const QString scheme = url.scheme();
    if (scheme != QStringLiteral("https") && scheme != QStringLiteral("http")) {
        return AddressVerdict::NotWeb;
    }
    if (url.host().isEmpty()) {
        return AddressVerdict::NoHost;
    }
    if (isReserved(url.host())) {
        return AddressVerdict::ReachesNobody;
    }
    return scheme == QStringLiteral("http") ? AddressVerdict::NotEncrypted : AddressVerdict::Good;
}

bool isUsable(AddressVerdict verdict) {
    return verdict == AddressVerdict::Good || verdict == AddressVerdict::NotEncrypted ||
           verdict == AddressVerdict::ReachesNobody;
}

QString verdictText(AddressVerdict verdict) {
    switch (verdict) {
    case AddressVerdict::Good:
        return {};
    case AddressVerdict::NotEncrypted:
        return translated(texts::notEncrypted);
    case AddressVerdict::ReachesNobody:
        return translated(texts::reachesNobody);
    case AddressVerdict::Missing:
        return translated(texts::noAddress);
    case AddressVerdict::NotAnAddress:
        return translated(texts::notAnAddress);
    case AddressVerdict::NoScheme:
        return translated(texts::noScheme);
    case AddressVerdict::NotWeb:
        return translated(texts::notWeb);
    case AddressVerdict::NoHost:
        return translated(texts::noHost);
    }
    return {};
}

QString withPathComponent(const QString& address, QStringView component) {
    QString joined = address;
    while (joined.endsWith(u'/')) {
        joined.chop(1);
    }
    return joined.append(u'/').append(component);
}

} // namespace vantrel::preferences
