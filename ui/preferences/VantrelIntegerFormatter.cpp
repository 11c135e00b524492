#include "preferences/VantrelIntegerFormatter.h"

#include <algorithm>
#include <limits>

namespace vantrel::preferences {

namespace {
bool isDigit(QChar character) { return character >= u'0' && character <= u'9'; }
} // namespace

QValidator::State VantrelIntegerFormatter::validate(QString& text, int& /*position*/) const {
    return std::all_of(text.cbegin(), text.cend(), isDigit) ? Acceptable : Invalid;
}

std::int64_t VantrelIntegerFormatter::numberIn(const QString& text) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    std::int64_t number = 0;
    for (const QChar character : text) {
        if (!isDigit(character)) {
            break;
        }
        const std::int64_t digit = character.unicode() - u'0';
        if (number > (most - digit) / 10) {
            return most;
        }
        number = number * 10 + digit;
    }
    return number;
}

} // namespace vantrel::preferences
