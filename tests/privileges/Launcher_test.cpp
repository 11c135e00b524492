// The launcher, given its file capability, and the program that it executes.
#include "Probing.h"

#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>
#include <optional>

namespace vantrel::testing {
namespace {

class LauncherTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const QString why = whyNoProbing(); !why.isEmpty()) {
            GTEST_SKIP() << qPrintable(why);
        }
        _folder.emplace(QStringList{QStringLiteral(LAUNCHER), QStringLiteral(PRIVILEGES_PROBE)});
    }
    void give(const QString& capability) const {
        ASSERT_EQ(QProcess::execute(QStringLiteral("setcap"),
                                    {capability, _folder->path() + QStringLiteral("/launcher_under_test")}),
                  0);
    }
    [[nodiscard]] QStringList launch(const QStringList& environment = {}, const QString& ambient = {}) const {
        return linesOf(
            *_folder,
            {QStringLiteral("./launcher_under_test"), QStringLiteral("environment"), QStringLiteral("a b"), QString()},
            ambient, environment);
    }

private:
    std::optional<PublicFolder> _folder;
};

TEST_F(LauncherTest, GivesNetRawAndNothingElse) {
    give(QStringLiteral("cap_net_raw+p"));
    EXPECT_EQ(setsOf(launch(), QStringLiteral("launched")), QStringLiteral("2000 2000 2000 2000"));
}

TEST_F(LauncherTest, WhatItWasStartedWithGoesNoFurther) {
    give(QStringLiteral("cap_net_raw+p"));
    EXPECT_EQ(setsOf(launch({}, QStringLiteral("+net_admin")), QStringLiteral("launched")),
              QStringLiteral("2000 2000 2000 2000"));
}

TEST_F(LauncherTest, AMoreGenerousFileCapabilityGoesNoFurther) {
    give(QStringLiteral("cap_net_raw,cap_net_admin,cap_sys_admin+ep"));
    EXPECT_EQ(setsOf(launch(), QStringLiteral("launched")), QStringLiteral("2000 2000 2000 2000"));
}

TEST_F(LauncherTest, WithoutItsCapabilityTheProgramRunsAllTheSame) {
    EXPECT_EQ(setsOf(launch(), QStringLiteral("launched")), QStringLiteral("0 0 0 0"));
}

TEST_F(LauncherTest, ArgumentsAndEnvironmentArePassedOnButForWhatNamesCode) {
    give(QStringLiteral("cap_net_raw+p"));
    const auto lines =
        launch({QStringLiteral("KEPT=a=b"), QStringLiteral("QT_PLUGIN_PATH=/tmp"), QStringLiteral("GTK_MODULES=x"),
                QStringLiteral("GIO_EXTRA_MODULES=/tmp"), QStringLiteral("LAST=1")});
    EXPECT_TRUE(lines.contains(QStringLiteral("argument ./privileges_probe")));
    EXPECT_TRUE(lines.contains(QStringLiteral("argument environment")));
    EXPECT_TRUE(lines.contains(QStringLiteral("argument a b")));
    EXPECT_TRUE(lines.contains(QStringLiteral("argument ")));
    EXPECT_TRUE(lines.contains(QStringLiteral("KEPT=a=b")));
    EXPECT_TRUE(lines.contains(QStringLiteral("LAST=1")));
    EXPECT_TRUE(lines.filter(QStringLiteral("PLUGIN_PATH")).isEmpty());
    EXPECT_TRUE(lines.filter(QStringLiteral("MODULES")).isEmpty());
}

// The linker honours its variables in a program without a file capability; behind the launcher there are none left.
TEST_F(LauncherTest, TheLinkersVariablesArePassedOnInNeitherCase) {
    EXPECT_TRUE(launch({QStringLiteral("LD_LIBRARY_PATH=/nonexistent")}).filter(QStringLiteral("LD_")).isEmpty());
    give(QStringLiteral("cap_net_raw+p"));
    EXPECT_TRUE(launch({QStringLiteral("LD_LIBRARY_PATH=/nonexistent")}).filter(QStringLiteral("LD_")).isEmpty());
}

} // namespace
} // namespace vantrel::testing
