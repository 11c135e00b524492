// What CloudSharkUploader makes of what it is answered.
#include "CloudSharkFixture.h"

namespace vantrel {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const QString noAnswer =
    QStringLiteral("the CloudShark appliance's answer says neither success nor failure (HTTP status %1)");

class CloudSharkReply : public CloudSharkFixture {};

TEST_F(CloudSharkReply, ASuccessNamesTheCapture) {
    uploadTo({receiveRequest(), answer(R"({"id": "9f3a", "filename": "b c.pcap", "exceptions": ["ignored"]})")});
    EXPECT_THAT(recorder.uploaded, ElementsAre(success(QStringLiteral("9f3a"), QStringLiteral("b c.pcap"))));
    EXPECT_EQ(recorder.order, QStringList({QStringLiteral("100"), QStringLiteral("uploaded")}));
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST_F(CloudSharkReply, NumbersAreTakenAsTheirText) {
    uploadToEach({{receiveRequest(), answer(R"({"id": 12, "filename": "b"})")},
                  {receiveRequest(), answer(R"({"id": 9007199254740993, "filename": 2.5})")},
                  {receiveRequest(), answer(R"({"id": "", "filename": true})")}});
    EXPECT_THAT(recorder.uploaded, ElementsAre(success(QStringLiteral("12"), QStringLiteral("b")),
                                               success(QStringLiteral("9007199254740993"), QStringLiteral("2.5")),
                                               success(QString(), QStringLiteral("true"))));
}

TEST_F(CloudSharkReply, ARefusalSaysTheFirstException) {
    UploadServer server({{receiveRequest(), answer(R"({"exceptions": ["Invalid token", "another"]})")}});
    configure(server.url());
    CloudSharkUploader uploader(settings, path, QStringLiteral("a b"), QStringLiteral("c;d"));
    run(uploader);
    EXPECT_THAT(recorder.failed, ElementsAre(UserInfo{{QStringLiteral("uploader"), QStringLiteral("CloudShark")},
                                                      {QStringLiteral("error"), QStringLiteral("Invalid token.")},
                                                      {QStringLiteral("pathtofile"), path},
                                                      {QStringLiteral("tags"), QStringLiteral("a b")},
                                                      {QStringLiteral("comments"), QStringLiteral("c;d")}}));
    EXPECT_THAT(recorder.uploaded, IsEmpty());
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST_F(CloudSharkReply, ARefusalMaySayAnything) {
    uploadToEach({{receiveRequest(), answer(R"({"exceptions": []})")},
                  {receiveRequest(), answer(R"({"exceptions": [null, "x"]})")},
                  {receiveRequest(), answer(R"({"exceptions": [5]})")},
                  {receiveRequest(), answer(R"({"exceptions": [{"a": [1]}]})")},
                  {receiveRequest(), answer(R"({"exceptions": [["a", 1]]})")},
                  {receiveRequest(), answer(R"({"exceptions": "Invalid token"})")},
                  {receiveRequest(), answer(R"({"exceptions": ["%1 100%"], "id": 1})")},
                  {receiveRequest(), answer(R"({"exceptions": ["x"], "id": null, "filename": null})")}});
    EXPECT_THAT(errors(),
                ElementsAre(QStringLiteral("(null)."), QStringLiteral("(null)."), QStringLiteral("5."),
                            QStringLiteral("{\"a\":[1]}."), QStringLiteral("[\"a\",1]."),
                            QStringLiteral("Invalid token."), QStringLiteral("%1 100%."), QStringLiteral("x.")));
    EXPECT_THAT(recorder.failed.back(), applianceFailure(QStringLiteral("x.")));
}

TEST_F(CloudSharkReply, AnythingElseIsOnlyLogged) {
    const std::vector<QByteArray> bodies = {"",
                                            "{}",
                                            "[]",
                                            "5",
                                            "<html>no</html>",
                                            "{\"id\": 5",
                                            "\0",
                                            "\xff",
                                            "null",
                                            R"({"id": 1})",
                                            R"({"filename": "b"})",
                                            R"(["id", "filename", "exceptions"])",
                                            R"({"exceptions": null})"};
    std::vector<Script> scripts;
    QStringList expected;
    for (const QByteArray& body : bodies) {
        scripts.push_back({receiveRequest(), answer(body, "404 Not Found")});
        expected.append(noAnswer.arg(404));
    }
    uploadToEach(scripts);
    EXPECT_THAT(recorder.uploaded, IsEmpty());
    EXPECT_THAT(recorder.failed, IsEmpty());
    EXPECT_EQ(log.warnings(), expected);
}

TEST_F(CloudSharkReply, TheStatusIsNotExamined) {
    std::vector<Script> scripts;
    const std::vector<QByteArray> statuses = {"200 OK",           "202 Accepted",  "300 Choices", "301 No Location",
                                              "400 Bad Request",  "401 Who",       "403 No",      "404 Not Found",
                                              "405 Not Allowed",  "409 Conflict",  "410 Gone",    "418 Teapot",
                                              "500 Server Error", "501 Not Known", "503 Busy",    "599 Else"};
    for (const QByteArray& status : statuses) {
        scripts.push_back({receiveRequest(), answer(R"({"id": 1, "filename": "b"})", status)});
        scripts.push_back({receiveRequest(), answer(R"({"exceptions": ["no"]})", status)});
    }
    const QByteArray challenge = "WWW-Authenticate: Basic realm=\"x\"\r\n";
    scripts.push_back({receiveRequest(), answer(R"({"exceptions": ["no"]})", "401 Who", challenge)});
    uploadToEach(scripts);
    EXPECT_EQ(recorder.uploaded.size(), statuses.size());
    EXPECT_EQ(recorder.failed.size(), statuses.size() + 1);
    EXPECT_THAT(errors(), ::testing::Each(QStringLiteral("no.")));
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST_F(CloudSharkReply, EveryPieceIsLookedAtByItself) {
    // Two objects, each complete by itself, make two reports.
    uploadTo({receiveRequest(), answerHead(60), sendText(R"({"exceptions": ["one"]} )"), pauseFor(0.3),
              sendText(R"({"id": 1, "filename": "b"} )"), pauseFor(0.3), sendText("         ")});
    EXPECT_THAT(errors(), ElementsAre(QStringLiteral("one.")));
    EXPECT_THAT(recorder.uploaded, ElementsAre(success(QStringLiteral("1"), QStringLiteral("b"))));
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST_F(CloudSharkReply, PiecesAreNotPutTogether) {
    const QByteArray whole = R"({"exceptions": ["Invalid token"]})";
    uploadTo({receiveRequest(), answerHead(whole.size()), sendText(whole.first(10)), pauseFor(0.3),
              sendText(whole.sliced(10))});
    EXPECT_THAT(recorder.failed, IsEmpty());
    EXPECT_EQ(log.warnings(), QStringList(noAnswer.arg(200)));
}

} // namespace
} // namespace vantrel
