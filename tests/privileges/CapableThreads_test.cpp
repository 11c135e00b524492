#include "privileges/CapableThreads.h"

#include "Probing.h"
#include "base/Capabilities.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <unistd.h>

namespace vantrel {
namespace {

using testing::linesOf;
using testing::setsOf;

// CAP_NET_RAW is number 13, CAP_NET_ADMIN number 12.
const QString none = QStringLiteral("0 0 0 0");
const QString inForce = QStringLiteral("0 2000 2000 0");

class CapableThreadsTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const QString why = testing::whyNoProbing(); !why.isEmpty()) {
            GTEST_SKIP() << qPrintable(why);
        }
    }
    static QStringList probe(const QString& ambient) {
        return linesOf(testing::PublicFolder({QStringLiteral(PRIVILEGES_PROBE)}),
                       {QStringLiteral("./privileges_probe")}, ambient);
    }
};

TEST_F(CapableThreadsTest, OnlyTheThreadsThatItStartsHoldTheCapability) {
    const auto lines = probe(QStringLiteral("+net_raw"));
    EXPECT_EQ(setsOf(lines, QStringLiteral("start")), QStringLiteral("2000 2000 2000 2000"));
    EXPECT_EQ(setsOf(lines, QStringLiteral("cleared")), inForce);
    EXPECT_EQ(setsOf(lines, QStringLiteral("main")), none);
    EXPECT_EQ(setsOf(lines, QStringLiteral("ordinary")), none);
    EXPECT_EQ(setsOf(lines, QStringLiteral("capable")), inForce);
    EXPECT_EQ(setsOf(lines, QStringLiteral("another-capable")), inForce);
    EXPECT_EQ(setsOf(lines, QStringLiteral("dropped")), none);
}

TEST_F(CapableThreadsTest, ChildrenHoldNothingWhicheverThreadStartsThem) {
    const auto lines = probe(QStringLiteral("+net_raw"));
    EXPECT_EQ(setsOf(lines, QStringLiteral("main-child")), none);
    EXPECT_EQ(setsOf(lines, QStringLiteral("capable-child")), none);
}

TEST_F(CapableThreadsTest, WhatIsNotAskedForIsKeptNowhere) {
    const auto lines = probe(QStringLiteral("+net_raw,+net_admin,+sys_admin"));
    EXPECT_EQ(setsOf(lines, QStringLiteral("main")), none);
    EXPECT_EQ(setsOf(lines, QStringLiteral("capable")), inForce);
    EXPECT_EQ(setsOf(lines, QStringLiteral("capable-child")), none);
}

TEST_F(CapableThreadsTest, WithoutACapabilityTheThreadsAreOrdinaryOnes) {
    const auto lines = probe({});
    EXPECT_EQ(setsOf(lines, QStringLiteral("main")), none);
    EXPECT_EQ(setsOf(lines, QStringLiteral("capable")), none);
}

TEST_F(CapableThreadsTest, RootKeepsWhatItHas) {
    const auto before = capabilities();
    ASSERT_TRUE(before);
    const auto threads = CapableThreads::keep(capabilityMask(CAP_NET_RAW));
    ASSERT_TRUE(threads);
    std::optional<Capabilities> inThread;
    (*threads)->start([&inThread] { inThread = capabilities().value(); }).join();
    EXPECT_EQ(capabilities().value(), *before);
    EXPECT_EQ(inThread, *before);
}

// In a thread of its own, the rest of the test keeps what it has.
TEST(Capabilities, WhatWasGivenUpIsRefusedInWords) {
    QString refusal;
    std::thread([&refusal] {
        ASSERT_TRUE(setCapabilities({}));
        const auto set = setCapabilities({.effective = 0, .permitted = capabilityMask(CAP_NET_RAW)});
        ASSERT_FALSE(set);
        refusal = set.error().text();
        EXPECT_EQ(capabilities().value(), Capabilities());
    }).join();
    EXPECT_EQ(refusal, QStringLiteral("capset: Operation not permitted"));
}

} // namespace
} // namespace vantrel
