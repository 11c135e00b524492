#include "services/VersionInfo.h"

#include <gtest/gtest.h>

TEST(VersionInfo, ABOfEitherCaseMarksABeta) {
    EXPECT_TRUE(vantrel::isBetaVersion(QStringLiteral("2.1b3")));
    EXPECT_TRUE(vantrel::isBetaVersion(QStringLiteral("2.1B3")));
}

TEST(VersionInfo, OtherVersionsAreNoBeta) {
    EXPECT_FALSE(vantrel::isBetaVersion(QStringLiteral("2.1")));
    EXPECT_FALSE(vantrel::isBetaVersion(QString()));
}
