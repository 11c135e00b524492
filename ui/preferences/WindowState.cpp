#include "WindowState.h"

#include <QRegularExpression>
#include <array>
#include <cmath>

namespace vantrel::preferences {

namespace {
constexpr double farthest = 100'000; // pixels
const QString pair = QStringLiteral(R"(\{\s*([-+.0-9eE]+)\s*,\s*([-+.0-9eE]+)\s*\})");

template <std::size_t count>
std::optional<std::array<int, count>> numbersIn(const QString& text, const QString& pattern) {
    const QRegularExpression whole(QRegularExpression::anchoredPattern(QStringLiteral(R"(\s*%1\s*)").arg(pattern)));
    const auto match = whole.match(text);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    std::array<int, count> numbers{};
    for (std::size_t at = 0; at < count; ++at) {
        bool isNumber = false;
        const double number = match.capturedView(static_cast<int>(at) + 1).toDouble(&isNumber);
        if (!isNumber || !(std::abs(number) <= farthest)) {
            return std::nullopt;
        }
        numbers[at] = static_cast<int>(number);
    }
    return numbers;
}
} // namespace

QString textOf(const QPoint& point) { return QStringLiteral("{%1, %2}").arg(point.x()).arg(point.y()); }

QString textOf(const QRect& rectangle) {
    return QStringLiteral("{%1, %2}")
        .arg(textOf(rectangle.topLeft()), textOf(QPoint(rectangle.width(), rectangle.height())));
}

std::optional<QPoint> pointIn(const QString& text) {
    const auto numbers = numbersIn<2>(text, pair);
    return numbers ? std::optional(QPoint((*numbers)[0], (*numbers)[1])) : std::nullopt;
}

std::optional<QRect> rectangleIn(const QString& text) {
    const auto numbers = numbersIn<4>(text, QStringLiteral(R"(\{\s*%1\s*,\s*%1\s*\})").arg(pair));
    if (!numbers) {
        return std::nullopt;
    }
    const auto& [x, y, width, height] = *numbers;
    return QRect(x, y, width, height);
}

} // namespace vantrel::preferences
