#include "settings/Coercion.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace vantrel;

namespace {

constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
constexpr auto largest = std::numeric_limits<std::int64_t>::max();

QVariant text(const char* utf8) { return QString::fromUtf8(utf8); }

struct Row {
    const char* name;
    QVariant value;
    bool asBool;
    std::int64_t asInteger;
    const char* asText;
};

const Row rows[] = {
    {"invalid", {}, false, 0, ""},
    {"null", QVariant::fromValue(nullptr), false, 0, ""},
    {"true", true, true, 1, "1"},
    {"false", false, false, 0, "0"},
    {"int", 250, true, 250, "250"},
    {"zero", 0, false, 0, "0"},
    {"minus one", -1, true, -1, "-1"},
    {"largest", QVariant::fromValue(qint64{largest}), true, largest, "9223372036854775807"},
    {"smallest", QVariant::fromValue(qint64{smallest}), true, smallest, "-9223372036854775808"},
    {"beyond doubles", QVariant::fromValue(qint64{9007199254740993}), true, 9007199254740993, "9007199254740993"},
    {"fraction", 2.75, true, 2, "2.75"},
    {"negative fraction", -2.75, true, -2, "-2.75"},
    {"half", 0.5, true, 0, "0.5"},
    {"zero as double", 0.0, false, 0, "0"},
    {"huge", 1e25, true, largest, "10000000000000000000000000"},
    {"two to the 63rd", 9223372036854775808.0, true, largest, "9223372036854776000"},
    {"hugely negative", -1e25, true, smallest, "-10000000000000000000000000"},
    {"empty text", text(""), false, 0, ""},
    {"number as text", text("12"), true, 12, "12"},
    {"number and unit", text("12 s"), true, 12, "12 s"},
    {"white space first", text(" \t\n 12"), true, 12, " \t\n 12"},
    {"plus", text("+7"), true, 7, "+7"},
    {"minus", text("-7"), true, -7, "-7"},
    {"two signs", text("--7"), false, 0, "--7"},
    {"sign apart", text("- 7"), false, 0, "- 7"},
    {"zeros", text("000"), false, 0, "000"},
    {"zeros first", text("-0042"), true, -42, "-0042"},
    {"fraction as text", text("3.9"), true, 3, "3.9"},
    {"no exponent", text("1e3"), true, 1, "1e3"},
    {"hexadecimal", text("0x10"), false, 0, "0x10"},
    {"largest as text", text("9223372036854775807"), true, largest, "9223372036854775807"},
    {"one more", text("9223372036854775808"), true, largest, "9223372036854775808"},
    {"smallest as text", text("-9223372036854775808"), true, smallest, "-9223372036854775808"},
    {"one less", text("-9223372036854775809"), true, smallest, "-9223372036854775809"},
    {"thirty digits", text("999999999999999999999999999999"), true, largest, "999999999999999999999999999999"},
    {"YES", text("YES"), true, 0, "YES"},
    {"yes", text("yes"), true, 0, "yes"},
    {"TRUE", text("TRUE"), true, 0, "TRUE"},
    {"true as text", text("true"), true, 0, "true"},
    {"Y after zeros", text(" -00Y"), true, 0, " -00Y"},
    {"NO", text("NO"), false, 0, "NO"},
    {"false as text", text("false"), false, 0, "false"},
    {"junk", text("on"), false, 0, "on"},
    {"Arabic digits", text("\xd9\xa4\xd9\xa2"), false, 0, "\xd9\xa4\xd9\xa2"},
    {"list", QVariantList{1, 2}, false, 0, ""},
    {"map", QVariantMap{{QStringLiteral("a"), 1}}, false, 0, ""},
};

class Coercion : public ::testing::TestWithParam<Row> {};

TEST_P(Coercion, readsAsEveryType) {
    const auto& row = GetParam();
    EXPECT_EQ(coercion::toBool(row.value), row.asBool);
    EXPECT_EQ(coercion::toInteger(row.value), row.asInteger);
    EXPECT_EQ(coercion::toText(row.value).toUtf8().toStdString(), row.asText);
    if (row.value.typeId() != QMetaType::QVariantList) {
        EXPECT_TRUE(coercion::toTextList(row.value).isEmpty());
        EXPECT_TRUE(coercion::toIntegerList(row.value).empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Table, Coercion, ::testing::ValuesIn(rows), [](const auto& row) {
    std::string name = row.param.name;
    for (auto& c : name) {
        c = c == ' ' ? '_' : c;
    }
    return name;
});

TEST(CoercionOfLists, notANumberIsZero) {
    EXPECT_EQ(coercion::toInteger(std::nan("")), 0);
    EXPECT_EQ(coercion::toInteger(-std::numeric_limits<double>::infinity()), smallest);
}

TEST(CoercionOfLists, elementsAreCoercedAndContainersLeftOut) {
    const QVariantList mixed{1, text("36 MHz"), 2.5, true, QVariantList{7}, QVariantMap(), QVariant(), text("x")};
    EXPECT_EQ(coercion::toIntegerList(mixed), (std::vector<std::int64_t>{1, 36, 2, 1, 0}));
    EXPECT_EQ(coercion::toTextList(mixed).join(u'|'), QStringLiteral("1|36 MHz|2.5|1|x"));
}

TEST(CoercionOfLists, aStringListIsAList) {
    EXPECT_EQ(coercion::toIntegerList(QStringList{QStringLiteral("1"), QStringLiteral("11")}),
              (std::vector<std::int64_t>{1, 11}));
}

} // namespace
