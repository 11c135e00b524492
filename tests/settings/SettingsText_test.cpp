#include "settings/SettingsText.h"

#include <QJsonArray>
#include <gtest/gtest.h>

using namespace vantrel;

namespace {

TEST(SettingsText, anObjectIsRead) {
    const auto settings = parseSettingsText("{\"DwellTime\": 9007199254740993, \"x\": [\"a\", true, null]}");
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->value(QLatin1StringView("DwellTime")).toInteger(), 9007199254740993);
    EXPECT_EQ(settings->value(QLatin1StringView("x")).toArray().size(), 3);
}

TEST(SettingsText, emptyTextIsNoSettings) {
    const auto settings = parseSettingsText({});
    ASSERT_TRUE(settings);
    EXPECT_TRUE(settings->isEmpty());
}

TEST(SettingsText, whatIsNoObjectFailsWithoutShowingContent) {
    for (const auto& text : {QByteArray("secret"), QByteArray("[\"secret\"]"), QByteArray("\"secret\""),
                             QByteArray("{\"a\":\"secret\""), QByteArray("{\"a\":1}secret"), QByteArray(" "),
                             QByteArray(4096, '\0'), QByteArray(100'000, '['), QByteArray("{\"a\":\"\xff\"}secret")}) {
        const auto settings = parseSettingsText(text);
        ASSERT_FALSE(settings) << text.left(40).constData();
        EXPECT_FALSE(settings.error().text().contains(QStringLiteral("secret")));
    }
}

TEST(SettingsText, aByteOrderMarkOfTheFileIsSkippedAndOneInATextKept) {
    const auto settings = parseSettingsText("\xef\xbb\xbf{\"a\": \"\xef\xbb\xbf\"}");
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->value(QLatin1StringView("a")).toString(), QStringLiteral("\ufeff"));
}

TEST(SettingsText, theLimitIsExact) {
    const QByteArray frame("{\"a\":\"\"}");
    const auto filled = [&frame](qsizetype size) {
        return QByteArray("{\"a\":\"") + QByteArray(size - frame.size(), 'x') + "\"}";
    };
    EXPECT_TRUE(parseSettingsText(filled(largestSettingsText)));
    const auto larger = parseSettingsText(filled(largestSettingsText + 1));
    ASSERT_FALSE(larger);
    EXPECT_EQ(larger.error().text(), QStringLiteral("parse: larger than 4 MiB"));
}

TEST(SettingsText, writtenTextReadsBackTheSame) {
    const QJsonObject settings{{QStringLiteral("a"), 1},
                               {QStringLiteral("b"), qint64{9007199254740993}},
                               {QStringLiteral("c"), QStringLiteral("\u202e\"\\\n") + QChar(u'\0')},
                               {QStringLiteral("d"), QJsonArray{1, QStringLiteral("2")}},
                               {QStringLiteral("\ufeffe"), QStringLiteral("\ufeff\ufeffmark \ufeff")}};
    const auto again = parseSettingsText(settingsText(settings));
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, settings);
}

} // namespace
