#include "wifi/NetworkSetupTool.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <thread>

namespace vantrel {
namespace {

class NetworkSetupToolTest : public ::testing::Test {
protected:
    // A tool that writes its arguments down, one a line, and then does this.
    void makeTool(const QByteArray& then) const {
        QFile file(toolPath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\nprintf '%s\\n' \"$@\" > \"" + QFile::encodeName(path(QStringLiteral("arguments"))) +
                   "\"\n" + then + '\n');
        file.close();
        ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }
    [[nodiscard]] QByteArray arguments() const {
        QFile file(path(QStringLiteral("arguments")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] QString toolPath() const { return path(QStringLiteral("network setup")); }
    [[nodiscard]] QString path(const QString& name) const { return QDir(_folder.path()).filePath(name); }

private:
    QTemporaryDir _folder;
};

TEST_F(NetworkSetupToolTest, SystemsToolStandsAtItsPath) {
    EXPECT_EQ(NetworkSetupTool::systemPath().toStdString(), "/usr/sbin/networksetup");
}

TEST_F(NetworkSetupToolTest, SwitchesThePowerOfTheAdapter) {
    makeTool("exit 0");
    const NetworkSetupTool tool(toolPath());
    EXPECT_TRUE(tool.powerDown(QStringLiteral("wlan0")));
    EXPECT_EQ(arguments(), "-setairportpower\nwlan0\noff\n");
    EXPECT_TRUE(tool.powerUp(QStringLiteral("wlan 1; id")));
    EXPECT_EQ(arguments(), "-setairportpower\nwlan 1; id\non\n");
}

TEST_F(NetworkSetupToolTest, OnlyStatusZeroIsASuccess) {
    const NetworkSetupTool tool(toolPath());
    for (const QByteArray& ending : {QByteArray("exit 1"), QByteArray("exit 255"), QByteArray("kill -9 $$")}) {
        makeTool(ending);
        EXPECT_FALSE(tool.powerUp(QStringLiteral("wlan0"))) << ending.constData();
        EXPECT_FALSE(tool.powerDown(QStringLiteral("wlan0"))) << ending.constData();
    }
}

TEST_F(NetworkSetupToolTest, MissingToolIsAFailure) {
    const NetworkSetupTool tool(toolPath());
    EXPECT_FALSE(tool.powerDown(QStringLiteral("wlan0")));
    EXPECT_FALSE(tool.powerUp(QStringLiteral("wlan0")));
}

TEST_F(NetworkSetupToolTest, ToolThatCannotRunIsAFailure) {
    makeTool("exit 0");
    ASSERT_TRUE(QFile::setPermissions(toolPath(), QFile::ReadOwner));
    EXPECT_FALSE(NetworkSetupTool(toolPath()).powerUp(QStringLiteral("wlan0")));
}

TEST_F(NetworkSetupToolTest, RunsOnAThreadWithoutAnEventLoopAndPrintsNothing) {
    makeTool("echo printed; echo complained >&2");
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    bool switched = false;
    std::thread([&] { switched = NetworkSetupTool(toolPath()).powerUp(QStringLiteral("wlan0")); }).join();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(switched);
}

} // namespace
} // namespace vantrel
