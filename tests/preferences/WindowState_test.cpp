#include "WindowState.h"

#include <gtest/gtest.h>

namespace vantrel::preferences {
namespace {

TEST(WindowState, TextForms) {
    EXPECT_EQ(textOf(QPoint(10, -20)), QStringLiteral("{10, -20}"));
    EXPECT_EQ(textOf(QRect(0, 0, 480, 320)), QStringLiteral("{{0, 0}, {480, 320}}"));
}

TEST(WindowState, ReadsBackWhatItWrote) {
    for (const QPoint point : {QPoint(0, 0), QPoint(-1920, 40), QPoint(99'999, -99'999)}) {
        EXPECT_EQ(pointIn(textOf(point)), point);
    }
    EXPECT_EQ(rectangleIn(textOf(QRect(3, 4, 480, 320))), QRect(3, 4, 480, 320));
}

TEST(WindowState, ReadsOtherWritersOfTheForm) {
    EXPECT_EQ(pointIn(QStringLiteral(" { 10.75 ,2e2 } ")), QPoint(10, 200));
    EXPECT_EQ(rectangleIn(QStringLiteral("{{0,0},{480.5,320}}")), QRect(0, 0, 480, 320));
}

TEST(WindowState, AnythingElseIsNothing) {
    for (const auto& text : {QString(), QStringLiteral("10, 20"), QStringLiteral("{10}"),
                             QStringLiteral("{10, 20, 30}"), QStringLiteral("{ten, 20}"), QStringLiteral("{1e300, 0}"),
                             QStringLiteral("{100001, 0}"), QStringLiteral("{nan, 0}"), QStringLiteral("{inf, 0}"),
                             QStringLiteral("{10, 20}x"), QStringLiteral("{--1, 2}"), QString(10'000, u'{')}) {
        EXPECT_FALSE(pointIn(text).has_value()) << qPrintable(text.left(20));
        EXPECT_FALSE(rectangleIn(text).has_value()) << qPrintable(text.left(20));
    }
    EXPECT_FALSE(rectangleIn(QStringLiteral("{10, 20}")).has_value());
    EXPECT_FALSE(pointIn(QStringLiteral("{{0, 0}, {1, 1}}")).has_value());
}

} // namespace
} // namespace vantrel::preferences
