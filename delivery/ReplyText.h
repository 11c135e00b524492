// What an upload service says in its JSON, as texts.
#pragma once

#include <QJsonObject>
#include <QLatin1StringView>
#include <QString>
#include <optional>

namespace vantrel {

// What is shown for a value that is not there.
inline constexpr QLatin1StringView absentText{"(null)"};

// A text as it stands, a number or truth value as it is written, a list or object as compact JSON. Services write null
// for what they do not have, so that counts as absent.
[[nodiscard]] std::optional<QString> replyText(const QJsonValue& value);

[[nodiscard]] inline std::optional<QString> replyText(const QJsonObject& object, QLatin1StringView key) {
    return replyText(object.value(key));
}

} // namespace vantrel
