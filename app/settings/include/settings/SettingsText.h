// The text of the settings file: one JSON object (RFC 8259) in UTF-8, one member per key.
//
// Any thread; touches no file.
#pragma once

#include "base/Error.h"

#include <QByteArray>
#include <QJsonObject>

namespace vantrel {

// No settings file of ours comes near this size in bytes; what is larger was not written by us.
inline constexpr qsizetype largestSettingsText = qsizetype{4} * 1024 * 1024;

// The settings in a file's text. Fails, naming the reason but none of the content, on text that is too large, is not
// JSON or is no object. Empty text holds no settings: it is what a shell or an editor leaves for a moment while it
// writes a file in place, and nothing in it is worth keeping.
[[nodiscard]] Expected<QJsonObject> parseSettingsText(const QByteArray& text);

// The text to keep; parseSettingsText() reads it back as the same object.
[[nodiscard]] QByteArray settingsText(const QJsonObject& settings);

} // namespace vantrel
