// A fixture whose test runs in a network namespace of its own: its links are nobody else's. Skips without the right.
#pragma once

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <sched.h>

namespace vantrel::testing {

class OwnNamespace : public ::testing::Test {
protected:
    void SetUp() override {
        if (::unshare(CLONE_NEWNET) != 0) {
            GTEST_SKIP() << "making a network namespace: " << std::strerror(errno);
        }
    }
};

} // namespace vantrel::testing
