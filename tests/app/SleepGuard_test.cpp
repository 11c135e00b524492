// A machine that goes to sleep while it captures.
#include "AppFixture.h"

namespace vantrel::testing {

namespace {

TEST_F(AppFixture, ARunningCaptureIsFinishedBeforeTheMachineSleeps) {
    storeSettings(R"({"FirstTimeCapture": false})");
    make();
    start();
    ASSERT_TRUE(startCapture());
    ASSERT_TRUE(waitForFrames());
    Q_EMIT app->sleepWatch().aboutToSleep();
    ASSERT_TRUE(waitIdle());
    EXPECT_FALSE(app->session().isCapturing());
    ASSERT_EQ(temporaryFiles().size(), 1);
    EXPECT_TRUE(readCapture(temporaryFiles().front()).isWhole);
    Q_EMIT app->sleepWatch().wokeUp();
    EXPECT_TRUE(startCapture()) << "awake again, the next one may begin";
}

TEST_F(AppFixture, SleepWithoutACaptureChangesNothing) {
    storeSettings(R"({"FirstTimeCapture": false})");
    make();
    start();
    Q_EMIT app->sleepWatch().aboutToSleep();
    Q_EMIT app->sleepWatch().wokeUp();
    EXPECT_TRUE(startCapture());
}

} // namespace
} // namespace vantrel::testing
