#include "base/MessageValues.h"

#include <QStringList>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(MessageValues, AValueOfTheKindIsTaken) {
    EXPECT_EQ(exactly<bool>(QVariant(false)), false);
    EXPECT_EQ(exactly<int>(QVariant(-1)), -1);
    EXPECT_EQ(exactly<QString>(QVariant(QString())), QString());
}

TEST(MessageValues, WhatCouldBeConvertedIsNot) {
    EXPECT_FALSE(exactly<int>(QVariant(1U)));
    EXPECT_FALSE(exactly<int>(QVariant(QStringLiteral("1"))));
    EXPECT_FALSE(exactly<bool>(QVariant(1)));
    EXPECT_FALSE(exactly<QString>(QVariant(1)));
    EXPECT_FALSE(exactly<QString>(QVariant(QStringList(QStringLiteral("a")))));
    EXPECT_FALSE(exactly<bool>(QVariant()));
}

TEST(MessageValues, AnArgumentMayBeMissing) {
    const QVariantList arguments{QStringLiteral("a"), 2};
    EXPECT_EQ(argument<QString>(arguments, 0), QStringLiteral("a"));
    EXPECT_EQ(argument<int>(arguments, 1), 2);
    EXPECT_FALSE(argument<int>(arguments, 2));
    EXPECT_FALSE(argument<int>({}, 0));
}

} // namespace
} // namespace vantrel
