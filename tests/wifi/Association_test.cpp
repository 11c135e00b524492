#include "wifi/Association.h"

#include "CommandFixture.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace vantrel::testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr CWChannel home{36, bandFiveGHz, width80MHz};

using AssociationTest = CommandFixture;

TEST_F(AssociationTest, AnAdapterInNoNetworkIsFreeUnasked) {
    for (const auto mode : {CWInterfaceMode::None, CWInterfaceMode::Monitor, static_cast<CWInterfaceMode>(2)}) {
        airport.mode = mode;
        restore.setShouldReconnect(true);
        EXPECT_TRUE(association.checkIfAssociated());
        EXPECT_FALSE(restore.shouldReconnect()) << static_cast<int>(mode);
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(AssociationTest, TheQuestionHasItsTexts) {
    associate(home);
    airport.network = QStringLiteral("Caf\u00e9 & <b>%1</b>");
    EXPECT_TRUE(association.checkIfAssociated());
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_EQ(questions.front().style, WiFiDialogs::Style::Critical);
    EXPECT_EQ(questions.front().messageText.toStdString(),
              "This operation cannot be done while connected to a network.");
    EXPECT_EQ(questions.front().informativeText.toStdString(),
              "Do you want to disconnect from Caf\u00e9 & <b>%1</b>? Vantrel will attempt to reconnect after the "
              "capture is done.");
    EXPECT_EQ(questions.front().firstButton.toStdString(), "Disconnect");
    EXPECT_EQ(questions.front().secondButton.toStdString(), "No");
    EXPECT_TRUE(questions.front().hasSuppression);
}

TEST_F(AssociationTest, ConsentDisconnectsAndNotesTheReconnection) {
    associate(home);
    EXPECT_TRUE(association.checkIfAssociated());
    EXPECT_THAT(calls(), ElementsAre("ask Disconnect", "disassociate"));
    EXPECT_TRUE(restore.shouldReconnect());
    EXPECT_TRUE(settings.boolForKey(keys::ShowDisconnectAlert));
}

TEST_F(AssociationTest, RefusalChangesNothing) {
    associate(home);
    answer = {.isFirstButton = false};
    for (const bool before : {false, true}) {
        restore.setShouldReconnect(before);
        EXPECT_FALSE(association.checkIfAssociated());
        EXPECT_EQ(restore.shouldReconnect(), before);
    }
    EXPECT_THAT(calls(), Each("ask Disconnect"));
    EXPECT_TRUE(airport.isAssociated());
}

TEST_F(AssociationTest, WithTheAlertOffItDisconnectsUnasked) {
    associate(home);
    settings.setBool(keys::ShowDisconnectAlert, false);
    EXPECT_TRUE(association.checkIfAssociated());
    EXPECT_THAT(calls(), ElementsAre("disassociate"));
    EXPECT_TRUE(restore.shouldReconnect());
}

TEST_F(AssociationTest, TickedBoxWithARefusalStillTurnsTheAlertOff) {
    associate(home);
    answer = {.isFirstButton = false, .isSuppressed = true};
    EXPECT_FALSE(association.checkIfAssociated());
    EXPECT_FALSE(settings.boolForKey(keys::ShowDisconnectAlert));
    EXPECT_FALSE(restore.shouldReconnect());
    EXPECT_TRUE(association.checkIfAssociated()) << "the next one is not asked about";
    EXPECT_EQ(questions.size(), 1U);
}

TEST_F(AssociationTest, TheAnswerIsKeptInTheSettingsEitherWay) {
    settings.registerDefaults({{keys::ShowDisconnectAlert, true}});
    for (const bool suppressed : {false, true}) {
        associate(home);
        answer.isSuppressed = suppressed;
        EXPECT_TRUE(association.checkIfAssociated());
        settings.registerDefaults({{keys::ShowDisconnectAlert, suppressed}});
        EXPECT_EQ(settings.boolForKey(keys::ShowDisconnectAlert), !suppressed) << "stored, not the default";
    }
}

TEST_F(AssociationTest, FirstCaptureToTheDesktopIsToldOnce) {
    expectNotice();
    whileAsking = [this] {
        EXPECT_FALSE(settings.boolForKey(keys::FirstTimeCapture)) << "cleared before the question";
    };
    EXPECT_TRUE(association.checkFirstTimeCapture());
    EXPECT_TRUE(association.checkFirstTimeCapture());
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_EQ(questions.front().style, WiFiDialogs::Style::Informational);
    EXPECT_EQ(questions.front().messageText.toStdString(), "Capture files are automatically saved to your desktop.");
    EXPECT_EQ(questions.front().informativeText.toStdString(),
              "You can set a different default location by choosing Preferences from the app's menu.");
    EXPECT_EQ(questions.front().firstButton.toStdString(), "Start Capture");
    EXPECT_EQ(questions.front().secondButton.toStdString(), "Cancel");
    EXPECT_FALSE(questions.front().hasSuppression);
}

TEST_F(AssociationTest, CancelledNoticeIsNotShownAgain) {
    expectNotice();
    answer = {.isFirstButton = false};
    EXPECT_FALSE(association.checkFirstTimeCapture());
    EXPECT_TRUE(association.checkFirstTimeCapture());
    EXPECT_EQ(questions.size(), 1U);
}

TEST_F(AssociationTest, OnlyAFolderOfThatVeryNameIsTheDesktop) {
    const auto isTold = [this](const QString& location) {
        questions.clear();
        settings.setBool(keys::FirstTimeCapture, true);
        settings.setString(keys::CaptureFilesLocation, location);
        EXPECT_TRUE(association.checkFirstTimeCapture());
        EXPECT_FALSE(settings.boolForKey(keys::FirstTimeCapture));
        return !questions.empty();
    };
    EXPECT_TRUE(isTold(QStringLiteral("/home/u/Desktop")));
    EXPECT_TRUE(isTold(QStringLiteral("/home/u/Desktop/")));
    EXPECT_TRUE(isTold(QStringLiteral("Desktop")));
    EXPECT_FALSE(isTold(QStringLiteral("/home/u/desktop")));
    EXPECT_FALSE(isTold(QStringLiteral("/home/u/Desktop/captures")));
    EXPECT_FALSE(isTold(QStringLiteral("/home/u/My Desktop")));
    EXPECT_FALSE(isTold(QStringLiteral("AskForEachCapture")));
    EXPECT_FALSE(isTold(QString()));
}

TEST_F(AssociationTest, DisconnectCommandNotesNoReconnection) {
    associate(home);
    association.onDisassociate();
    EXPECT_THAT(calls(), ElementsAre("disassociate"));
    EXPECT_FALSE(restore.shouldReconnect());
}

TEST_F(AssociationTest, PowerCommandSwitchesToTheOther) {
    association.onTurnOnOff();
    airport.power = false;
    association.onTurnOnOff();
    EXPECT_THAT(calls(), ElementsAre("power off", "power on"));
}

TEST_F(AssociationTest, RefusedPowerIsLoggedOnly) {
    airport.refuse = true;
    const LogCapture log;
    association.onTurnOnOff();
    EXPECT_THAT(log.warnings(), ElementsAre(QStringLiteral("setPower failed: scripted: refused")));
    EXPECT_THAT(calls(), ElementsAre("power off")) << "without an alert";
}

TEST_F(AssociationTest, AnAdapterInItsNetworkOnlySettles) {
    associate(home);
    association.waitToReconnect();
    EXPECT_THAT(calls(), ElementsAre("sleep 4000"));
}

TEST_F(AssociationTest, TheWaitEndsWithTheNetworksReturn) {
    int sleeps = 0;
    whileSleeping = [&] {
        if (++sleeps == 3) {
            associate(home);
        }
    };
    association.waitToReconnect();
    EXPECT_THAT(calls(), ElementsAre("sleep 250", "sleep 250", "sleep 250", "sleep 4000"));
}

TEST_F(AssociationTest, ANetworkThatNeverReturnsIsGivenUpAfterSixSeconds) {
    association.waitToReconnect();
    std::vector<std::string> expected(24, "sleep 250");
    expected.emplace_back("sleep 4000");
    EXPECT_EQ(calls(), expected);
}

TEST_F(AssociationTest, SleepTakesItsTime) {
    const auto begun = std::chrono::steady_clock::now();
    Association::sleepOnThisThread(std::chrono::milliseconds(20));
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(20));
}

} // namespace
} // namespace vantrel::testing
