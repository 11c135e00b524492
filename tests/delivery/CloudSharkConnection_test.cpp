// What becomes of CloudSharkUploader's connections, and of the uploader itself.
#include "CloudSharkFixture.h"
#include "FileFaults.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSslConfiguration>

namespace vantrel {
namespace {

using namespace testing;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

QString logged(const QString& reason) { return QStringLiteral("Failed to upload capture data: ") + reason; }

class CloudSharkConnection : public CloudSharkFixture {};

TEST_F(CloudSharkConnection, ARefusedOneIsAFailure) {
    int port = 0;
    {
        const UploadServer gone(std::vector<Script>{Script()});
        port = gone.port();
    }
    configure(QStringLiteral("http://127.0.0.1:%1").arg(port));
    CloudSharkUploader uploader(settings, path, QStringLiteral("a b"), QStringLiteral("c;d"));
    run(uploader);
    EXPECT_THAT(recorder.failed, ElementsAre(UserInfo{{QStringLiteral("error"), QStringLiteral("Connection refused")},
                                                      {QStringLiteral("pathtofile"), path},
                                                      {QStringLiteral("tags"), QStringLiteral("a b")},
                                                      {QStringLiteral("comments"), QStringLiteral("c;d")}}));
    EXPECT_EQ(recorder.order, QStringList(QStringLiteral("failed"))) << "there was no progress";
    EXPECT_EQ(log.warnings(), QStringList(logged(QStringLiteral("Connection refused"))));
}

// However it breaks off, the file is sent once: a service that kept it would have it twice.
TEST_F(CloudSharkConnection, ALostOneIsAFailureAndNothingIsSentAgain) {
    const std::vector<Script> scripts = {{},                                       // before the request
                                         {receiveHead()},                          // in the middle of it
                                         {receiveHead(), resetConnection()},       //
                                         {receiveRequest()},                       // after it
                                         {receiveRequest(), resetConnection()},    //
                                         {receiveRequest(), sendText("HTTP/1.1")}, // in the middle of the answer
                                         {receiveRequest(), answerHead(100), sendText("{")},
                                         {receiveRequest(), sendText("not HTTP at all\r\n\r\n")}};
    const QString large = write(QStringLiteral("large"), QByteArray(3'000'000, 'x'));
    const QString reason = QStringLiteral("The network connection was lost.");
    QStringList expectedLog;
    for (const Script& script : scripts) {
        SCOPED_TRACE(expectedLog.size());
        UploadServer server({script}); // also for whatever would be sent again
        configure(server.url());
        recorder.failed.clear();
        CloudSharkUploader uploader(settings, large);
        run(uploader);
        EXPECT_THAT(errors(), ElementsAre(reason));
        expectedLog.append(logged(reason));
        EXPECT_EQ(log.warnings(), expectedLog);
        // The library may have connected once more before it learnt that there is nothing to send.
        ASSERT_TRUE(runUntil([&] { return server.closedConnections() == server.connections(); }));
        EXPECT_EQ(server.requests().size(), script.isEmpty() ? 0U : 1U);
    }
    EXPECT_THAT(recorder.uploaded, IsEmpty());
}

// The limit is part of what is promised, so these three wait for it in real time; a limit made shorter for the test
// would prove another program.
TEST_F(CloudSharkConnection, ThreeSecondsOfSilenceAreAFailure) {
    UploadServer server({{receiveRequest(), waitForClose()}});
    configure(server.url());
    recorder.inReport = [&] { EXPECT_TRUE(server.waitForClosedConnections(1)) << "it is still open"; };
    CloudSharkUploader uploader(settings, path);
    QElapsedTimer clock;
    clock.start();
    run(uploader);
    EXPECT_GE(clock.elapsed(), 2900);
    EXPECT_LT(clock.elapsed(), 6000);
    EXPECT_THAT(recorder.failed, ElementsAre(connectionFailure(QStringLiteral("The request timed out."))));
    EXPECT_EQ(recorder.order, QStringList({QStringLiteral("100"), QStringLiteral("failed")}));
    EXPECT_EQ(log.warnings(), QStringList(logged(QStringLiteral("The request timed out."))));
}

TEST_F(CloudSharkConnection, APeerThatTakesNothingMoreIsAFailure) {
    UploadServer server({{receiveHead(), pauseFor(20)}});
    configure(server.url());
    const QString large = write(QStringLiteral("large"), {});
    ASSERT_TRUE(QFile::resize(large, 100'000'000));
    CloudSharkUploader uploader(settings, large);
    run(uploader);
    EXPECT_THAT(errors(), ElementsAre(QStringLiteral("The request timed out.")));
    ASSERT_FALSE(recorder.progress.empty());
    EXPECT_LT(recorder.progress.back(), 100);
}

TEST_F(CloudSharkConnection, AFileThatCannotBeReadIsAFailure) {
    fileFaults().unreadable = path.toStdString();
    uploadTo({receiveRequest(), answer(R"({"id": 1, "filename": "a"})")});
    fileFaults().clear();
    EXPECT_THAT(errors(), ElementsAre(QStringLiteral("The file cannot be read: Input/output error.")));
    EXPECT_THAT(recorder.uploaded, IsEmpty());
}

TEST_F(CloudSharkConnection, ShorterSilencesAreNone) {
    const QByteArray whole = R"({"exceptions": ["slow"]})";
    uploadTo({receiveRequest(), pauseFor(1.6), answerHead(whole.size() + 1), pauseFor(1.6), sendText(whole),
              pauseFor(1.6), sendText(" ")});
    EXPECT_THAT(errors(), ElementsAre(QStringLiteral("slow.")));
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST_F(CloudSharkConnection, ACertificateThatNobodyVouchesForIsAFailure) {
    const Certificate certificate;
    UploadServer server({{receiveRequest(), answer(R"({"id": 1, "filename": "b"})")}}, &certificate);
    configure(server.url());
    CloudSharkUploader uploader(settings, path);
    run(uploader);
    ASSERT_EQ(recorder.failed.size(), 1U);
    const QString error = recorder.failed.front().value(QStringLiteral("error"));
    EXPECT_TRUE(error.contains(QStringLiteral("The certificate is self-signed, and untrusted"))) << qPrintable(error);
    EXPECT_EQ(log.warnings(), QStringList(logged(error)));
    ASSERT_TRUE(server.waitForClosedConnections(1));
    EXPECT_THAT(server.requests(), IsEmpty()) << "the token went to a stranger";
}

class CloudSharkOverTls : public CloudSharkFixture {
protected:
    CloudSharkOverTls() {
        QSslConfiguration trusting = _before;
        EXPECT_TRUE(trusting.addCaCertificates(certificate.path()));
        QSslConfiguration::setDefaultConfiguration(trusting);
    }
    ~CloudSharkOverTls() override { QSslConfiguration::setDefaultConfiguration(_before); }

    const Certificate certificate;

private:
    const QSslConfiguration _before = QSslConfiguration::defaultConfiguration();
};

TEST_F(CloudSharkOverTls, ACertificateThatIsVouchedForIsAccepted) {
    UploadServer server({{receiveRequest(), answer(R"({"id": 1, "filename": "b"})")}}, &certificate);
    configure(server.url());
    CloudSharkUploader uploader(settings, path);
    run(uploader);
    EXPECT_THAT(recorder.uploaded, ElementsAre(success(QStringLiteral("1"), QStringLiteral("b"))));
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_EQ(server.requests().front().body, content);
    EXPECT_TRUE(server.requests().front().line.endsWith(QStringLiteral(" HTTP/1.1")));
}

QJsonValue redirection(const QByteArray& status, const QString& location) {
    return answer(R"({"exceptions": ["not for you"]})", status, "Location: " + location.toLatin1() + "\r\n");
}

TEST_F(CloudSharkOverTls, ARedirectionToTlsIsFollowedAndNeverBack) {
    UploadServer safe({{receiveRequest(), answer(R"({"id": 1, "filename": "b"})")},
                       {receiveRequest(), redirection("301 Moved", QStringLiteral("http://127.0.0.1:1/x"))}},
                      &certificate);
    UploadServer unsafe({{receiveRequest(), redirection("301 Moved", safe.url() + QStringLiteral("/x?y"))}});
    configure(unsafe.url());
    CloudSharkUploader first(settings, path);
    run(first);
    EXPECT_THAT(recorder.uploaded, ElementsAre(success(QStringLiteral("1"), QStringLiteral("b"))));
    EXPECT_THAT(recorder.failed, IsEmpty());

    configure(safe.url());
    CloudSharkUploader second(settings, path);
    run(second);
    EXPECT_THAT(recorder.failed, ElementsAre(connectionFailure(
                                     QStringLiteral("The server redirected the upload to an insecure address."))));
    EXPECT_EQ(recorder.uploaded.size(), 1U);
}

class CloudSharkRedirection : public CloudSharkFixture {};

TEST_F(CloudSharkRedirection, IsFollowedWithTheWholeFile) {
    const std::vector<QByteArray> statuses = {"301 Moved", "302 Found", "307 Temporary", "308 Permanent"};
    std::vector<Script> scripts;
    for (const QByteArray& status : statuses) {
        scripts.push_back({receiveRequest(), redirection(status, QStringLiteral("/else/where?a;b"))});
        scripts.push_back({receiveRequest(), answer(R"({"id": 1, "filename": "b"})")});
    }
    UploadServer server(scripts);
    configure(server.url());
    for (std::size_t index = 0; index < statuses.size(); ++index) {
        CloudSharkUploader uploader(settings, path);
        run(uploader);
    }
    EXPECT_EQ(recorder.uploaded.size(), statuses.size());
    EXPECT_THAT(recorder.failed, IsEmpty()) << "what stands beside a redirection is no answer";
    ASSERT_TRUE(server.waitForRequests(scripts.size()));
    for (std::size_t index = 1; index < scripts.size(); index += 2) {
        const ReceivedRequest& request = server.requests()[index];
        EXPECT_EQ(request.line, QStringLiteral("PUT /else/where?a;b HTTP/1.1"));
        EXPECT_EQ(request.header(QStringLiteral("Content-Type")), QStringLiteral("application/octet-stream"));
        EXPECT_EQ(request.body, content);
    }
}

TEST_F(CloudSharkRedirection, MayPointToTheAnswer) {
    UploadServer server({{receiveRequest(), redirection("303 See Other", QStringLiteral("/answer"))},
                         {receiveRequest(), answer(R"({"id": 1, "filename": "b"})")}});
    configure(server.url());
    CloudSharkUploader uploader(settings, path);
    run(uploader);
    EXPECT_THAT(recorder.uploaded, ElementsAre(success(QStringLiteral("1"), QStringLiteral("b"))));
    ASSERT_TRUE(server.waitForRequests(2));
    EXPECT_EQ(server.requests().back().line, QStringLiteral("GET /answer HTTP/1.1"));
    EXPECT_EQ(server.requests().back().length, 0);
}

TEST_F(CloudSharkRedirection, LeadsToNothingButTheWebAndEnds) {
    const QString unsupported = QStringLiteral("The server redirected the upload to an unsupported address.");
    for (const QString& location : {QStringLiteral("file:///etc/passwd"), QStringLiteral("ftp://127.0.0.1/x"),
                                    QStringLiteral("http://"), QStringLiteral("http://127.0.0.1:99999/")}) {
        SCOPED_TRACE(qPrintable(location));
        recorder.failed.clear();
        uploadTo({receiveRequest(), redirection("307 Temporary", location)});
        EXPECT_THAT(recorder.failed, ElementsAre(connectionFailure(unsupported)));
        EXPECT_EQ(log.warnings().back(), logged(unsupported));
    }
    recorder.failed.clear();
    UploadServer server({{receiveRequest(), redirection("307 Temporary", QStringLiteral("/again"))}});
    configure(server.url());
    CloudSharkUploader uploader(settings, path);
    run(uploader);
    EXPECT_THAT(errors(), ElementsAre(QStringLiteral("The server redirected the upload too many times.")));
    EXPECT_EQ(server.connections(), 11);
}

class CloudSharkLife : public CloudSharkFixture {};

TEST_F(CloudSharkLife, DestroyingItGivesTheAttemptUpWithoutAReport) {
    UploadServer server({{receiveRequest(), waitForClose()}});
    configure(server.url());
    auto uploader = std::make_unique<CloudSharkUploader>(settings, path);
    uploader->setDelegate(&recorder);
    uploader->upload();
    ASSERT_TRUE(server.waitForRequests(1));
    ASSERT_TRUE(runUntil([&] { return recorder.order.size() == 1; }));
    uploader.reset();
    EXPECT_TRUE(server.waitForClosedConnections(1));
    EXPECT_EQ(recorder.order, QStringList(QStringLiteral("100")));
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST_F(CloudSharkLife, DestroyingItWhileItSendsIsNoTrouble) {
    UploadServer server({{receiveHead(), waitForClose()}});
    configure(server.url());
    const QString large = write(QStringLiteral("large"), {});
    ASSERT_TRUE(QFile::resize(large, 1'000'000'000));
    auto uploader = std::make_unique<CloudSharkUploader>(settings, large);
    uploader->setDelegate(&recorder);
    uploader->upload();
    ASSERT_TRUE(runUntil([&] { return recorder.progress.size() > 1; }));
    uploader.reset();
    EXPECT_TRUE(server.waitForClosedConnections(1));
    EXPECT_THAT(recorder.failed, IsEmpty());
}

TEST_F(CloudSharkLife, ADelegateIsOptionalAndSoIsEachOfItsOperations) {
    const QByteArray both = R"({"id": 1, "filename": "b"})";
    UploadServer server({{receiveRequest(), answer(both)},
                         {receiveRequest(), answer(both)},
                         {receiveRequest(), answer(R"({"exceptions": [""]})")},
                         {receiveRequest()},
                         {receiveRequest(), waitForClose()}});
    configure(server.url());
    const auto runAlone = [this](VantrelUploaderDelegate* delegate) {
        CloudSharkUploader uploader(settings, path);
        uploader.setDelegate(delegate);
        EXPECT_EQ(uploader.delegate(), delegate);
        bool ended = false;
        QObject::connect(&uploader, &VantrelUploader::ended, &uploader, [&ended] { ended = true; });
        uploader.upload();
        EXPECT_TRUE(runUntil([&] { return ended; }));
    };
    runAlone(nullptr);
    recorder.responds = false;
    for (int time = 0; time < 3; ++time) {
        runAlone(&recorder);
    }
    EXPECT_EQ(recorder.order, QStringList());

    auto passing = std::make_unique<Recorder>();
    CloudSharkUploader uploader(settings, path);
    uploader.setDelegate(passing.get());
    passing.reset();
    EXPECT_EQ(uploader.delegate(), nullptr);
}

// As a modal alert does.
TEST_F(CloudSharkLife, AnEventLoopInsideAReportDelaysTheEnd) {
    UploadServer server({{receiveRequest(), answer(R"({"exceptions": ["no"]})")}});
    configure(server.url());
    CloudSharkUploader uploader(settings, path);
    int ends = 0;
    int endsInReport = -1;
    QObject::connect(&uploader, &VantrelUploader::ended, &uploader, [&ends] { ++ends; });
    recorder.inReport = [&] {
        EXPECT_TRUE(server.waitForClosedConnections(1));
        // All that there is to come comes now.
        QEventLoop alert;
        QTimer::singleShot(milliseconds(200), &alert, &QEventLoop::quit);
        alert.exec();
        endsInReport = ends;
    };
    uploader.setDelegate(&recorder);
    uploader.upload();
    EXPECT_TRUE(runUntil([&] { return ends > 0; }));
    EXPECT_EQ(endsInReport, 0);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(recorder.failed.size(), 1U);
}

TEST_F(CloudSharkLife, SeveralRunAtTheSameTime) {
    UploadServer server(
        {{receiveRequest(), waitForClose()}, {receiveRequest(), answer(R"({"id": 2, "filename": "b"})")}});
    configure(server.url());
    CloudSharkUploader first(settings, path);
    first.upload();
    ASSERT_TRUE(server.waitForRequests(1));
    CloudSharkUploader second(settings, path);
    run(second);
    EXPECT_EQ(recorder.uploaded.size(), 1U);
    EXPECT_EQ(server.connections(), 2);
}

} // namespace
} // namespace vantrel
