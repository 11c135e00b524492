// A real HTTP peer on 127.0.0.1, in a process of its own (upload_server.py), and what it was sent.
//
// Not by QProcess, which starts a child in the parent's memory: the thread sanitizer then takes us for the child.
#pragma once

#include "base/FileDescriptor.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSocketNotifier>
#include <QString>
#include <QTemporaryDir>
#include <memory>
#include <sys/types.h>
#include <vector>

namespace vantrel::testing {

// The steps of upload_server.py.
using Script = QJsonArray;
inline QJsonValue receiveRequest() { return QStringLiteral("request"); }
inline QJsonValue receiveHead() { return QStringLiteral("head"); }
inline QJsonValue receive(int bytes) { return QJsonObject{{QStringLiteral("receive"), bytes}}; }
inline QJsonValue waitForClose() { return QStringLiteral("wait"); }
inline QJsonValue resetConnection() { return QStringLiteral("reset"); }
inline QJsonValue pauseFor(double seconds) { return QJsonObject{{QStringLiteral("pause"), seconds}}; }
inline QJsonValue sendText(const QByteArray& text) {
    return QJsonObject{{QStringLiteral("send"), QString::fromUtf8(text)}};
}
// A whole answer.
QJsonValue answer(const QByteArray& body, const QByteArray& status = "200 OK", const QByteArray& headers = {});
// Just its beginning, for a body of that length.
QJsonValue answerHead(qsizetype length, const QByteArray& status = "200 OK");

struct ReceivedRequest {
    int connection = 0;
    QString line;
    std::vector<std::pair<QString, QString>> headers;
    QByteArray body; // at most 1 MiB of it
    qint64 length = 0;
    QByteArray sha256;                                       // of the whole body, in hexadecimal
    [[nodiscard]] QString header(const QString& name) const; // empty when it is absent
};

// A certificate for 127.0.0.1, made on the spot and signed by itself.
class Certificate {
public:
    Certificate();
    [[nodiscard]] QString path() const { return _folder.filePath(QStringLiteral("certificate.pem")); }
    [[nodiscard]] QString keyPath() const { return _folder.filePath(QStringLiteral("key.pem")); }

private:
    QTemporaryDir _folder;
};

class UploadServer {
public:
    // One script for each connection, in their order; the last serves all further ones.
    explicit UploadServer(const std::vector<Script>& scripts, const Certificate* certificate = nullptr);
    ~UploadServer();
    UploadServer(const UploadServer&) = delete;
    UploadServer& operator=(const UploadServer&) = delete;

    // Of the root, without a slash at its end.
    [[nodiscard]] QString url() const;
    [[nodiscard]] int port() const { return _port; }

    // Look at what has arrived by now.
    [[nodiscard]] const std::vector<ReceivedRequest>& requests();
    [[nodiscard]] int connections();
    [[nodiscard]] int closedConnections();
    // Run the event loop until so many have arrived.
    [[nodiscard]] bool waitForRequests(std::size_t count);
    [[nodiscard]] bool waitForClosedConnections(int count);

private:
    void start(const QStringList& arguments);
    void takeIn();
    void take(const QJsonObject& event);

    pid_t _process = -1;
    FileDescriptor _input; // of the server, which ends with it
    FileDescriptor _output;
    std::unique_ptr<QSocketNotifier> _arrival; // so that it never waits for us to look
    QByteArray _unread;
    QString _scheme;
    int _port = 0;
    int _connections = 0;
    int _closed = 0;
    std::vector<ReceivedRequest> _requests;
};

} // namespace vantrel::testing
