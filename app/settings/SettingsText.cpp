#include "settings/SettingsText.h"

#include <QJsonDocument>

namespace vantrel {

namespace {
constexpr QByteArrayView byteOrderMark("\xef\xbb\xbf"); // U+FEFF; no other character contains these bytes

// Qt drops a U+FEFF that begins a text, taking it for a byte order mark, unless it is escaped. Outside of texts JSON
// has none.
QByteArray withMarksEscaped(QByteArray json) { return json.replace(byteOrderMark, "\\ufeff"); }
} // namespace

Expected<QJsonObject> parseSettingsText(const QByteArray& text) {
    if (text.size() > largestSettingsText) {
        return failure(QStringLiteral("parse"),
                       QStringLiteral("larger than %1 MiB").arg(largestSettingsText / 1024 / 1024));
    }
    if (text.isEmpty()) {
        return QJsonObject();
    }
    QJsonParseError error;
    const auto json = text.startsWith(byteOrderMark) ? text.sliced(byteOrderMark.size()) : text;
    const auto document = QJsonDocument::fromJson(withMarksEscaped(json), &error);
    if (error.error != QJsonParseError::NoError) {
        return failure(QStringLiteral("parse"),
                       QStringLiteral("%1 at byte %2").arg(error.errorString()).arg(error.offset));
    }
    if (!document.isObject()) {
        return failure(QStringLiteral("parse"), QStringLiteral("not a JSON object"));
    }
    return document.object();
}

QByteArray settingsText(const QJsonObject& settings) {
    return withMarksEscaped(QJsonDocument(settings).toJson(QJsonDocument::Indented));
}

} // namespace vantrel
