#include "services/ProgramOptions.h"

#include <array>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

template <std::size_t count>
std::optional<QString> printed(const std::array<const char*, count>& words) {
    std::array<char*, count> arguments{};
    for (std::size_t at = 0; at < count; ++at) {
        arguments[at] = const_cast<char*>(words[at]);
    }
    return printedFor(arguments);
}

TEST(ProgramOptions, HelpNamesEveryOption) {
    const QString help = printed(std::array{"--help"}).value();
    EXPECT_TRUE(help.startsWith(QStringLiteral("usage: vantrel ")));
    for (const char* option : {"  --help ", "  --version "}) {
        EXPECT_TRUE(help.contains(QString::fromLatin1(option))) << option;
    }
}

TEST(ProgramOptions, VersionIsOneLine) {
    EXPECT_EQ(printed(std::array{"-style", "fusion", "--version"}),
              QStringLiteral("vantrel %1\n").arg(QStringLiteral(VANTREL_VERSION)));
}

TEST(ProgramOptions, WhatIsQtsStartsTheProgram) {
    EXPECT_EQ(printed(std::array{"-platform", "offscreen", "--helpful"}), std::nullopt);
    EXPECT_EQ(printedFor({}), std::nullopt);
}

} // namespace
} // namespace vantrel
