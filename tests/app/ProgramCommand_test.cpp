#include "services/ProgramCommand.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(ProgramCommand, TheInstalledProgramIsStartedByItsCommand) {
    EXPECT_EQ(commandOfProgram(QStringLiteral(VANTREL_INSTALLED_PROGRAM)), QStringLiteral(VANTREL_INSTALLED_COMMAND));
}

TEST(ProgramCommand, AProgramInABuildFolderIsStartedAsItIs) {
    EXPECT_EQ(commandOfProgram(QStringLiteral("/home/user/build/vantrel")), QStringLiteral("/home/user/build/vantrel"));
    EXPECT_EQ(commandOfProgram(), QCoreApplication::applicationFilePath());
}

} // namespace
} // namespace vantrel
