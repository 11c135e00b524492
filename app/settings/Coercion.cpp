#include "settings/Coercion.h"

#include <QLocale>
#include <QVariantList>
#include <cmath>
#include <limits>

namespace vantrel::coercion {

namespace {

using Limits = std::numeric_limits<std::int64_t>;

enum class Kind { Integer, Fraction, Text, List, Other };

Kind kindOf(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return Kind::Integer;
    case QMetaType::Float:
    case QMetaType::Double:
        return Kind::Fraction;
    case QMetaType::QString:
        return Kind::Text;
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return Kind::List;
    default:
        return Kind::Other;
    }
}

bool isDigit(QChar c) { return c >= u'0' && c <= u'9'; }

struct Lead {
    QStringView rest; // what follows white space and a sign
    bool negative = false;
};

Lead afterSign(QStringView text) {
    while (!text.isEmpty() && text.front().isSpace()) {
        text = text.sliced(1);
    }
    const bool negative = text.startsWith(u'-');
    if (negative || text.startsWith(u'+')) {
        text = text.sliced(1);
    }
    return {text, negative};
}

bool textToBool(QStringView text) {
    text = afterSign(text).rest;
    while (text.startsWith(u'0')) {
        text = text.sliced(1);
    }
    return !text.isEmpty() && (isDigit(text.front()) || QStringView(u"YyTt").contains(text.front()));
}

// Counts downwards, because the negative range is the larger one.
std::int64_t textToInteger(QStringView text) {
    const auto [digits, negative] = afterSign(text);
    std::int64_t result = 0;
    for (const QChar c : digits) {
        if (!isDigit(c)) {
            break;
        }
        const std::int64_t digit = c.unicode() - u'0';
        if (result < (Limits::min() + digit) / 10) {
            result = Limits::min();
            break;
        }
        result = result * 10 - digit;
    }
    if (negative) {
        return result;
    }
    return result == Limits::min() ? Limits::max() : -result;
}

std::int64_t fractionToInteger(double number) {
    constexpr double beyond = 9223372036854775808.0; // 2^63, the first value that does not fit
    if (std::isnan(number)) {
        return 0;
    }
    if (number >= beyond) {
        return Limits::max();
    }
    return number < -beyond ? Limits::min() : static_cast<std::int64_t>(number);
}

bool isScalar(const QVariant& value) {
    const auto kind = kindOf(value);
    return kind == Kind::Integer || kind == Kind::Fraction || kind == Kind::Text;
}

QVariantList scalarsOf(const QVariant& value) {
    QVariantList scalars;
    if (kindOf(value) == Kind::List) {
        for (const auto& element : value.toList()) {
            if (isScalar(element)) {
                scalars.append(element);
            }
        }
    }
    return scalars;
}

} // namespace

bool toBool(const QVariant& value) {
    switch (kindOf(value)) {
    case Kind::Integer:
        return value.toLongLong() != 0;
    case Kind::Fraction:
        return value.toDouble() != 0.0;
    case Kind::Text:
        return textToBool(value.toString());
    case Kind::List:
    case Kind::Other:
        break;
    }
    return false;
}

std::int64_t toInteger(const QVariant& value) {
    switch (kindOf(value)) {
    case Kind::Integer:
        return value.toLongLong();
    case Kind::Fraction:
        return fractionToInteger(value.toDouble());
    case Kind::Text:
        return textToInteger(value.toString());
    case Kind::List:
    case Kind::Other:
        break;
    }
    return 0;
}

QString toText(const QVariant& value) {
    switch (kindOf(value)) {
    case Kind::Integer:
        return QString::number(value.toLongLong());
    case Kind::Fraction:
        return QString::number(value.toDouble(), 'f', QLocale::FloatingPointShortest);
    case Kind::Text:
        return value.toString();
    case Kind::List:
    case Kind::Other:
        break;
    }
    return {};
}

QStringList toTextList(const QVariant& value) {
    QStringList texts;
    for (const auto& element : scalarsOf(value)) {
        texts.append(toText(element));
    }
    return texts;
}

std::vector<std::int64_t> toIntegerList(const QVariant& value) {
    std::vector<std::int64_t> integers;
    for (const auto& element : scalarsOf(value)) {
        integers.push_back(toInteger(element));
    }
    return integers;
}

} // namespace vantrel::coercion
