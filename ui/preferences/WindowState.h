// The text forms in which the preferences window keeps its place: "{x, y}" and "{{x, y}, {width, height}}".
//
// Any thread.
#pragma once

#include <QPoint>
#include <QRect>
#include <QString>
#include <optional>

namespace vantrel::preferences {

[[nodiscard]] QString textOf(const QPoint& point);
[[nodiscard]] QString textOf(const QRect& rectangle);

// What such a text says, with fractions cut off; nothing for any other text, and for numbers that no screen reaches.
[[nodiscard]] std::optional<QPoint> pointIn(const QString& text);
[[nodiscard]] std::optional<QRect> rectangleIn(const QString& text);

} // namespace vantrel::preferences
