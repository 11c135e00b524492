#include "UploadServer.h"

#include "base/ChildProcess.h"
#include "support/EventLoop.h"

#include <QJsonDocument>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

// Qt's network thread is not built for the thread sanitizer, which so misses how it orders its own work. Our code and
// the data that it shares stay watched.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so.6\n"
           "called_from_lib:libQt6Network.so.6\n"
           "race:QtPrivate::QSlotObject\n"; // the library's counting of who refers to a connection
}

namespace vantrel::testing {

namespace {
const QString python = QStringLiteral("/usr/bin/python3");
const QString program = QStringLiteral(UPLOAD_SERVER);
} // namespace

QJsonValue answer(const QByteArray& body, const QByteArray& status, const QByteArray& headers) {
    return sendText("HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + QByteArray::number(body.size()) +
                    "\r\nConnection: close\r\n\r\n" + body);
}

QJsonValue answerHead(qsizetype length, const QByteArray& status) {
    return sendText("HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(length) +
                    "\r\nConnection: close\r\n\r\n");
}

QString ReceivedRequest::header(const QString& name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0) {
            return value;
        }
    }
    return {};
}

Certificate::Certificate() {
    const auto openssl = ChildProcess::start(
        {.program = QStringLiteral("/usr/bin/openssl"),
         .arguments = {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("ec"),
                       QStringLiteral("-pkeyopt"), QStringLiteral("ec_paramgen_curve:prime256v1"),
                       QStringLiteral("-nodes"), QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-subj"),
                       QStringLiteral("/CN=127.0.0.1"), QStringLiteral("-addext"),
                       QStringLiteral("subjectAltName=IP:127.0.0.1"), QStringLiteral("-keyout"), keyPath(),
                       QStringLiteral("-out"), path()},
         .errors = ChildCommand::Errors::Captured});
    EXPECT_TRUE(openssl && (*openssl)->waitUntilExit().succeeded()) << "openssl made no certificate";
}

UploadServer::UploadServer(const std::vector<Script>& scripts, const Certificate* certificate)
    : _scheme(certificate != nullptr ? QStringLiteral("https") : QStringLiteral("http")) {
    QJsonArray all;
    for (const Script& script : scripts) {
        all.append(QJsonValue(script));
    }
    QStringList arguments{program, QString::fromUtf8(QJsonDocument(all).toJson(QJsonDocument::Compact))};
    if (certificate != nullptr) {
        arguments << certificate->path() << certificate->keyPath();
    }
    start(arguments);
    EXPECT_TRUE(runUntil([this] {
        takeIn();
        return _port != 0;
    })) << "the server did not start";
}

UploadServer::~UploadServer() {
    _input.reset();
    int status = 0;
    EXPECT_TRUE(::waitpid(_process, &status, 0) == _process && status == 0) << "the server did not end well";
}

void UploadServer::start(const QStringList& arguments) {
    int toServer[2];
    int fromServer[2];
    ASSERT_TRUE(::pipe2(toServer, O_CLOEXEC) == 0 && ::pipe2(fromServer, O_CLOEXEC) == 0);
    _input = FileDescriptor(toServer[1]);
    _output = FileDescriptor(fromServer[0]);
    const FileDescriptor itsInput(toServer[0]);
    const FileDescriptor itsOutput(fromServer[1]);
    ASSERT_EQ(::fcntl(_output.get(), F_SETFL, O_NONBLOCK), 0);

    _arrival = std::make_unique<QSocketNotifier>(_output.get(), QSocketNotifier::Read);
    QObject::connect(_arrival.get(), &QSocketNotifier::activated, _arrival.get(), [this] { takeIn(); });

    std::vector<QByteArray> words{python.toLocal8Bit()};
    for (const QString& argument : arguments) {
        words.push_back(argument.toLocal8Bit());
    }
    std::vector<char*> argv;
    for (QByteArray& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, itsInput.get(), STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, itsOutput.get(), STDOUT_FILENO);
    EXPECT_EQ(::posix_spawn(&_process, argv.front(), &actions, nullptr, argv.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
}

QString UploadServer::url() const { return QStringLiteral("%1://127.0.0.1:%2").arg(_scheme).arg(_port); }

void UploadServer::takeIn() {
    char block[65536];
    for (ssize_t count = 0; (count = ::read(_output.get(), block, sizeof block)) > 0;) {
        _unread.append(block, static_cast<qsizetype>(count));
    }
    for (qsizetype end = 0; (end = _unread.indexOf('\n')) >= 0; _unread.remove(0, end + 1)) {
        take(QJsonDocument::fromJson(_unread.first(end)).object());
    }
}

void UploadServer::take(const QJsonObject& event) {
    if (event.contains(QLatin1StringView("port"))) {
        _port = event.value(QLatin1StringView("port")).toInt();
    }
    _connections += event.contains(QLatin1StringView("connection")) ? 1 : 0;
    _closed += event.contains(QLatin1StringView("closed")) ? 1 : 0;
    const QJsonObject request = event.value(QLatin1StringView("request")).toObject();
    if (request.isEmpty()) {
        return;
    }
    ReceivedRequest received;
    received.connection = request.value(QLatin1StringView("connection")).toInt();
    received.line = request.value(QLatin1StringView("line")).toString();
    received.length = request.value(QLatin1StringView("length")).toInteger();
    received.sha256 = request.value(QLatin1StringView("sha256")).toString().toLatin1();
    received.body = QByteArray::fromBase64(request.value(QLatin1StringView("body")).toString().toLatin1());
    for (const QJsonValue& header : request.value(QLatin1StringView("headers")).toArray()) {
        received.headers.emplace_back(header.toArray().at(0).toString(), header.toArray().at(1).toString());
    }
    _requests.push_back(std::move(received));
}

const std::vector<ReceivedRequest>& UploadServer::requests() {
    takeIn();
    return _requests;
}

int UploadServer::connections() {
    takeIn();
    return _connections;
}

int UploadServer::closedConnections() {
    takeIn();
    return _closed;
}

bool UploadServer::waitForRequests(std::size_t count) {
    return runUntil([&] { return requests().size() >= count; });
}

bool UploadServer::waitForClosedConnections(int count) {
    return runUntil([&] { return closedConnections() >= count; });
}

} // namespace vantrel::testing
