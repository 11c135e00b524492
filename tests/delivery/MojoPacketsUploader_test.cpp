#include "UploadFixture.h"
#include "delivery/MojoPacketsUploader.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>
#include <csignal>

namespace vantrel {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const QString cannotContact = QStringLiteral("There was an error contacting the Mojo Packets API.");
const QByteArray success = R"({"message": "ok", "email": "a@b.example", "ticket": "T-1", "trace_id": 77})";

class MojoPackets : public UploadFixture {
protected:
    void SetUp() override {
        qputenv("CURL_HOME", folder.path().toLocal8Bit()); // not the configuration of whoever runs the tests
        configure(QStringLiteral("http://127.0.0.1:1"));
    }

    void configure(const QString& url) {
        settings.setString(keys::MojoPacketsServiceURL, url);
        settings.setString(keys::MojoPacketsEmail, QStringLiteral("me@b.example"));
        settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("k3y"));
    }

    // A program in curl's place.
    QString program(const QByteArray& script) {
        const QString file = write(QStringLiteral("program"), "#!/bin/sh\n" + script);
        EXPECT_TRUE(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        return file;
    }

    void runWith(const QByteArray& script) {
        MojoPacketsUploader uploader(settings, path, program(script));
        run(uploader);
    }

    // What curl's output, byte for byte, leads to.
    void runWithOutput(const QByteArray& output) {
        runWith("cat '" + write(QStringLiteral("output"), output).toLocal8Bit() + "'\n");
    }

    void runWithCurl() {
        MojoPacketsUploader uploader(settings, path);
        run(uploader);
    }

    [[nodiscard]] UserInfo failure(const QString& error) const {
        UserInfo info = failureWithoutText();
        info.insert(QStringLiteral("error"), error);
        return info;
    }
    [[nodiscard]] UserInfo failureWithoutText() const {
        return {{QStringLiteral("uploader"), QStringLiteral("MojoPackets")}, {QStringLiteral("pathtofile"), path}};
    }
    [[nodiscard]] static UserInfo uploaded(const QString& fileName) {
        return {{QStringLiteral("uploader"), QStringLiteral("MojoPackets")},
                {QStringLiteral("trace_id"), QStringLiteral("77")},
                {QStringLiteral("ticket"), QStringLiteral("T-1")},
                {QStringLiteral("email"), QStringLiteral("a@b.example")},
                {QStringLiteral("filename"), fileName}};
    }

    QByteArray content = "not really a capture";
    QString path = write(QStringLiteral("a.pcap"), content);
    LogCapture log;
};

TEST_F(MojoPackets, CurlIsTheSystems) { EXPECT_EQ(MojoPacketsUploader::systemCurl, QStringLiteral("/usr/bin/curl")); }

TEST_F(MojoPackets, CurlGetsExactlyEightWords) {
    settings.setString(keys::MojoPacketsServiceURL, QStringLiteral("https://127.0.0.1:1/a b?x=%1&y"));
    settings.setString(keys::MojoPacketsEmail, QStringLiteral("m:e %2@b.example"));
    settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("k:3 y\"'$(x)%1"));
    path = write(QStringLiteral("a b;%1'\"ü.pcap"), content);
    runWith("for word; do printf '%s\\0' \"$word\" >> '" + folder.path().toLocal8Bit() + "/words'; done\n");

    QFile words(folder.filePath(QStringLiteral("words")));
    ASSERT_TRUE(words.open(QIODevice::ReadOnly));
    EXPECT_THAT(words.readAll().split('\0'),
                ElementsAre("-sb", "--tlsv1", "--user", "m:e %2@b.example:k:3 y\"'$(x)%1", "--insecure", "-F",
                            "files=@" + path.toUtf8(), "https://127.0.0.1:1/a b?x=%1&y/api/v1/traces", ""));
}

TEST_F(MojoPackets, ASuccessIsReportedAfterAProgressOfAHundred) {
    QThread* reportedOn = nullptr;
    recorder.inReport = [&] { reportedOn = QThread::currentThread(); };
    runWithOutput(success);
    EXPECT_EQ(recorder.order, QStringList({QStringLiteral("100"), QStringLiteral("uploaded")}));
    EXPECT_THAT(recorder.uploaded, ElementsAre(uploaded(QStringLiteral("a.pcap"))));
    EXPECT_EQ(reportedOn, QThread::currentThread());
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST_F(MojoPackets, TheExitStatusIsNotExamined) {
    runWith("echo '" + success + "'; exit 7\n");
    EXPECT_THAT(recorder.uploaded, ElementsAre(uploaded(QStringLiteral("a.pcap"))));
}

TEST_F(MojoPackets, AnAnswerWithoutAllThreeIsAFailureInTheServicesWords) {
    runWithOutput(R"({"message": "No e-mail.", "ticket": "T-1", "trace_id": 77})");
    runWithOutput(R"({"message": "No ticket.", "email": "a", "trace_id": 77})");
    runWithOutput(R"({"message": "No trace.", "email": "a", "ticket": "T-1"})");
    runWithOutput(R"({"message": "Nulls.", "email": null, "ticket": null, "trace_id": null})");
    runWithOutput(R"({"message": 5})");
    EXPECT_THAT(recorder.failed,
                ElementsAre(failure(QStringLiteral("No e-mail.")), failure(QStringLiteral("No ticket.")),
                            failure(QStringLiteral("No trace.")), failure(QStringLiteral("Nulls.")),
                            failure(QStringLiteral("5"))));
    EXPECT_THAT(recorder.uploaded, IsEmpty());
    EXPECT_THAT(recorder.progress, IsEmpty());
}

TEST_F(MojoPackets, WithoutWordsTheFailureHasNone) {
    for (const QByteArray output :
         {R"({"email": "a", "ticket": "b"})", "{}", "[]", R"({"message": null})", R"({"message": ""})"}) {
        SCOPED_TRACE(output.constData());
        recorder.failed.clear();
        runWithOutput(output);
        EXPECT_THAT(recorder.failed, ElementsAre(failureWithoutText()));
    }
}

TEST_F(MojoPackets, AnUnknownAccountIsToldByTheServicesOwnFailure) {
    runWithOutput("<h1>\"TracefileController.apiHash\" is not defined</h1>\n");
    runWithOutput("\xff\xfe \"TracefileController.apiHash\" is not defined");
    EXPECT_THAT(recorder.failed, ElementsAre(failure(QStringLiteral("Invalid credentials.")),
                                             failure(QStringLiteral("Invalid credentials."))));
    // Not with other quotes or letters.
    recorder.failed.clear();
    runWithOutput("TracefileController.apiHash is not defined");
    runWithOutput("\"tracefileController.apiHash\" is not defined");
    EXPECT_THAT(recorder.failed, ElementsAre(failure(cannotContact), failure(cannotContact)));
}

TEST_F(MojoPackets, AnyOtherOutputIsAFailedContact) {
    for (const QByteArray& output : {QByteArray(), QByteArray("<html>Bad Gateway</html>"), QByteArray("\0\xff", 2),
                                     success.chopped(1), success + success, QByteArray("5")}) {
        SCOPED_TRACE(output.constData());
        recorder.failed.clear();
        runWithOutput(output);
        EXPECT_THAT(recorder.failed, ElementsAre(failure(cannotContact)));
    }
}

TEST_F(MojoPackets, WhatCurlSaysOfItsErrorsIsNotRead) {
    runWith("echo '" + success + "' >&2\n");
    EXPECT_THAT(recorder.failed, ElementsAre(failure(cannotContact)));
}

TEST_F(MojoPackets, WithoutCurlTheContactFails) {
    MojoPacketsUploader uploader(settings, path, folder.filePath(QStringLiteral("missing")));
    run(uploader);
    EXPECT_THAT(recorder.failed, ElementsAre(failure(cannotContact)));
    EXPECT_EQ(log.warnings().size(), 1);
}

TEST_F(MojoPackets, LargeOutputIsReadWhole) {
    runWithOutput(R"({"message": ")" + QByteArray(3'000'000, 'x') + "\"}");
    ASSERT_EQ(recorder.failed.size(), 1U);
    EXPECT_EQ(recorder.failed.front().value(QStringLiteral("error")).size(), 3'000'000);
}

TEST_F(MojoPackets, ADelegateIsOptional) {
    recorder.responds = false;
    runWithOutput(success);
    runWithOutput("{}");
    EXPECT_EQ(recorder.order, QStringList());
}

// From here on with curl itself.
class MojoPacketsWithCurl : public MojoPackets {};

TEST_F(MojoPacketsWithCurl, TheFileIsAFormFieldAndTheAccountTheUser) {
    UploadServer server({{receiveRequest(), answer(success)}});
    configure(server.url());
    settings.setString(keys::MojoPacketsEmail, QStringLiteral("m:e@b.example"));
    settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("k:3y"));
    path = write(QStringLiteral("a b c.pcap"), content);
    runWithCurl();
    EXPECT_THAT(recorder.uploaded, ElementsAre(uploaded(QStringLiteral("a b c.pcap"))));
    EXPECT_EQ(recorder.order, QStringList({QStringLiteral("100"), QStringLiteral("uploaded")}));

    ASSERT_TRUE(server.waitForRequests(1));
    const ReceivedRequest& request = server.requests().front();
    EXPECT_EQ(request.line, QStringLiteral("POST /api/v1/traces HTTP/1.1"));
    EXPECT_EQ(request.header(QStringLiteral("Authorization")),
              QStringLiteral("Basic ") + QString::fromLatin1(QByteArray("m:e@b.example:k:3y").toBase64()));
    EXPECT_EQ(request.header(QStringLiteral("Cookie")), QString());
    const QString type = request.header(QStringLiteral("Content-Type"));
    EXPECT_TRUE(type.startsWith(QStringLiteral("multipart/form-data; boundary="))) << qPrintable(type);
    const QByteArray boundary = "--" + type.section(QLatin1Char('='), 1).toLatin1();
    EXPECT_EQ(QByteArray(boundary +
                         "\r\nContent-Disposition: form-data; name=\"files\"; filename=\"a b c.pcap\"\r\n"
                         "Content-Type: application/octet-stream\r\n\r\n" +
                         content + "\r\n" + boundary + "--\r\n"),
              request.body);
}

TEST_F(MojoPacketsWithCurl, ACertificateThatNobodyVouchesForIsAccepted) {
    const Certificate certificate;
    UploadServer server({{receiveRequest(), answer(success)}}, &certificate);
    configure(server.url());
    runWithCurl();
    EXPECT_THAT(recorder.uploaded, ElementsAre(uploaded(QStringLiteral("a.pcap"))));
}

TEST_F(MojoPacketsWithCurl, TheStatusIsNotExamined) {
    UploadServer server({{receiveRequest(), answer(R"({"message": "Quota."})", "403 No")},
                         {receiveRequest(), answer("\"TracefileController.apiHash\" is not defined", "500 Oops")},
                         {receiveRequest(), answer("", "204 Nothing")},
                         {receiveRequest()},
                         {receiveRequest(), answer(success, "500 Oops")}});
    configure(server.url());
    for (int time = 0; time < 5; ++time) {
        runWithCurl();
    }
    EXPECT_THAT(recorder.failed,
                ElementsAre(failure(QStringLiteral("Quota.")), failure(QStringLiteral("Invalid credentials.")),
                            failure(cannotContact), failure(cannotContact)));
    EXPECT_EQ(recorder.uploaded.size(), 1U);
}

TEST_F(MojoPacketsWithCurl, NobodyThereOrNothingToSendIsAFailedContact) {
    runWithCurl(); // nobody listens on port 1
    path = folder.filePath(QStringLiteral("missing"));
    runWithCurl();
    EXPECT_EQ(recorder.failed.size(), 2U);
    EXPECT_THAT(recorder.failed.back(), failure(cannotContact));
}

TEST_F(MojoPacketsWithCurl, StartingItWaitsForNothingAndDestroyingItEndsCurl) {
    UploadServer server({{receiveRequest(), waitForClose()}});
    configure(server.url());
    auto uploader = std::make_unique<MojoPacketsUploader>(settings, path);
    uploader->setDelegate(&recorder);
    uploader->upload();
    ASSERT_TRUE(server.waitForRequests(1));
    QElapsedTimer clock;
    clock.start();
    uploader.reset();
    EXPECT_LT(clock.elapsed(), 2000);
    EXPECT_TRUE(server.waitForClosedConnections(1));
    EXPECT_EQ(recorder.order, QStringList());
}

TEST_F(MojoPackets, DestroyingItAtOnceIsNoTrouble) {
    const QString slow = program("sleep 1000\n");
    for (int time = 0; time < 20; ++time) {
        MojoPacketsUploader uploader(settings, path, slow);
        uploader.upload();
        if (time % 2 == 1) {
            QThread::usleep(static_cast<unsigned long>(time) * 500); // at some other moment of its start
        }
    }
    MojoPacketsUploader neverStarted(settings, path, slow);
    EXPECT_EQ(neverStarted.pathToFile(), path);
}

TEST_F(MojoPackets, AnOutcomeThatComesTooLateIsNotReported) {
    const QString mark = folder.filePath(QStringLiteral("ran"));
    auto uploader = std::make_unique<MojoPacketsUploader>(
        settings, path, program("echo '" + success + "'; : > '" + mark.toLocal8Bit() + "'\n"));
    uploader->setDelegate(&recorder);
    uploader->upload();
    while (!QFileInfo::exists(mark)) { // without the event loop, which would report
        QThread::msleep(1);
    }
    uploader.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(recorder.order, QStringList());
}

TEST_F(MojoPackets, SeveralRunAtTheSameTime) {
    // Each waits until the other has started.
    const QByteArray at = "'" + folder.path().toLocal8Bit() + "'/started";
    const QString both = program(": > " + at + "$$; while [ $(ls " + at + "* | wc -l) -lt 2 ]; do sleep 0.01; done\n");
    MojoPacketsUploader first(settings, path, both);
    first.setDelegate(&recorder);
    first.upload();
    MojoPacketsUploader second(settings, path, both);
    run(second);
    EXPECT_TRUE(runUntil([&] { return recorder.failed.size() == 2; }));
}

} // namespace
} // namespace vantrel
