#include "delivery/UploadCommands.h"

#include "UploadOutcomeFixture.h"

namespace vantrel {
namespace {

using namespace testing;
using ::testing::ElementsAre;

class UploadCommandsTest : public UploadOutcomeFixture {
protected:
    void SetUp() override {
        UploadOutcomeFixture::SetUp();
        commands = std::make_unique<UploadCommands>(user, *outcome);
    }
    std::unique_ptr<UploadCommands> commands;
};

TEST_F(UploadCommandsTest, ToCloudSharkAsksForAFileWithTagsAndComments) {
    UploadServer server({{receiveRequest(), answer(cloudSharkSuccess)}});
    serveFrom(server);
    commands->onUploadToCloudShark();
    EXPECT_THAT(user.askedForTags, ElementsAre(true));
    EXPECT_EQ(running(), 0) << "nothing is chosen yet";
    user.fileChosen({.path = write(QStringLiteral("a b.pcap"), "content"),
                     .tags = QStringLiteral("x y"),
                     .comments = QStringLiteral("1;2")});
    ASSERT_TRUE(waitForAll());
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_EQ(
        server.requests().front().line,
        QStringLiteral("PUT /api/v1/t0ken/upload?filename=a%20b.pcap;additional_tags=x%20y;comments=1;2 HTTP/1.1"));
    EXPECT_EQ(user.notifications.size(), 1U);
}

TEST_F(UploadCommandsTest, ToMojoPacketsAsksForAFileAlone) {
    UploadServer server({{receiveRequest(), answer(mojoSuccess)}});
    serveFrom(server);
    commands->onUploadToMojoPackets();
    EXPECT_THAT(user.askedForTags, ElementsAre(false));
    EXPECT_EQ(running(), 0);
    user.fileChosen({.path = write(QStringLiteral("a.pcap"), "content"), .tags = {}, .comments = {}});
    ASSERT_TRUE(waitForAll());
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_EQ(server.requests().front().line, QStringLiteral("POST /api/v1/traces HTTP/1.1"));
    EXPECT_EQ(user.notifications.size(), 1U);
}

TEST_F(UploadCommandsTest, AChoiceThatComesTooLateStartsNothing) {
    commands->onUploadToCloudShark();
    const auto cloudSharkChosen = user.fileChosen;
    commands->onUploadToMojoPackets();
    outcome.reset();
    cloudSharkChosen({.path = QStringLiteral("/a"), .tags = {}, .comments = {}});
    user.fileChosen({.path = QStringLiteral("/a"), .tags = {}, .comments = {}});
    EXPECT_EQ(log.warnings(), QStringList());
}

} // namespace
} // namespace vantrel
