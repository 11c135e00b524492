#include "preferences/VantrelIntegerFormatter.h"

#include <gtest/gtest.h>
#include <limits>

namespace vantrel::preferences {
namespace {

QValidator::State stateOf(const QString& text) {
    QString given = text;
    int position = 0;
    const auto state = VantrelIntegerFormatter().validate(given, position);
    EXPECT_EQ(given, text) << "nothing is put right behind the user's back";
    return state;
}

TEST(VantrelIntegerFormatter, AcceptsNothingAndDecimalDigitsAlone) {
    for (const auto& text :
         {QString(), QStringLiteral("0"), QStringLiteral("007"), QStringLiteral("1234567890"), QString(10'000, u'9')}) {
        EXPECT_EQ(stateOf(text), QValidator::Acceptable) << qPrintable(text);
    }
    for (const auto& text :
         {QStringLiteral("a"), QStringLiteral("1a"), QStringLiteral("-1"), QStringLiteral("+1"), QStringLiteral("1.5"),
          QStringLiteral("1,000"), QStringLiteral(" 1"), QStringLiteral("1\n"), QStringLiteral("0x1"),
          QStringLiteral("\u0661"), QStringLiteral("\uFF11"), QStringLiteral("²"), QStringLiteral("1\"")}) {
        EXPECT_EQ(stateOf(text), QValidator::Invalid) << qPrintable(text);
    }
}

TEST(VantrelIntegerFormatter, ReadsWhatAFieldHolds) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(VantrelIntegerFormatter::numberIn({}), 0);
    EXPECT_EQ(VantrelIntegerFormatter::numberIn(QStringLiteral("00250")), 250);
    EXPECT_EQ(VantrelIntegerFormatter::numberIn(QStringLiteral("9223372036854775807")), most);
    EXPECT_EQ(VantrelIntegerFormatter::numberIn(QStringLiteral("9223372036854775808")), most);
    EXPECT_EQ(VantrelIntegerFormatter::numberIn(QString(10'000, u'9')), most);
    EXPECT_EQ(VantrelIntegerFormatter::numberIn(QStringLiteral("12x")), 12);
    EXPECT_EQ(VantrelIntegerFormatter::numberIn(QStringLiteral("x12")), 0);
}

} // namespace
} // namespace vantrel::preferences
