// Uploads one capture file to a CloudShark appliance, with one HTTP PUT request.
//
// The request carries the user's API token in its path. Neither the token nor the address is ever logged.
#pragma once

#include "delivery/VantrelUploader.h"

#include <QNetworkAccessManager>
#include <QTimer>
#include <QUrl>
#include <optional>

class QNetworkReply;

namespace vantrel {

class SettingsStore;
class UploadBody;

class CloudSharkUploader final : public VantrelUploader {
    Q_OBJECT
public:
    // The settings are borrowed and outlive this; the appliance's address and the token are read when upload() begins.
    CloudSharkUploader(const SettingsStore& settings, QString pathToFile, QString tags = {}, QString comments = {});
    ~CloudSharkUploader() override;

    [[nodiscard]] QString pathToFile() const { return _pathToFile; }
    [[nodiscard]] QString tags() const { return _tags; }
    [[nodiscard]] QString comments() const { return _comments; }

    // Reports through the event loop of the calling thread. When no request can be formed, only ended() follows, before
    // this returns.
    //
    // The attempt fails when nothing was sent or received for 3 s. The appliance's certificate must be valid. A
    // redirection is followed with the whole file, from http to https too but never back.
    //
    // Reported are, with the keys of uploadinfo as texts:
    // - success: "uploader", "id" and "filename" as the appliance names them
    // - what the appliance refuses: "uploader", "error", "pathtofile", "tags", "comments"
    // - a failed connection: the same without "uploader"
    // An answer that is none of these is only logged. Each piece of the answer is looked at by itself, as it arrives,
    // and the HTTP status not at all.
    void upload() override;

    // What is shown after `written` of `expected` bytes, rounded down; empty when nothing is expected.
    [[nodiscard]] static std::optional<int> percentCompleted(qint64 written, qint64 expected);

private:
    void send(const QByteArray& method, const QUrl& url);
    void connectionDidSendBodyData(qint64 written, qint64 expected);
    void connectionDidReceiveData();
    void connectionDidFinish();
    void connectionDidTimeOut();
    void connectionDidFail(const QString& reason);
    void follow(const QUrl& redirection);
    [[nodiscard]] int statusCode() const;
    [[nodiscard]] bool isRedirected() const;
    [[nodiscard]] bool isConnectionFailure() const;
    [[nodiscard]] QString failureReason() const;
    [[nodiscard]] UserInfo failureInfo(const QString& error) const;

    const SettingsStore& _settings;
    const QString _pathToFile;
    const QString _tags;
    const QString _comments;

    bool _reported = false;
    int _redirections = 0;
    QTimer _silence; // runs until something is sent or received
    QNetworkAccessManager _network;
    QNetworkReply* _reply = nullptr; // the current one, a child of _network
    UploadBody* _body = nullptr;     // its child, which it reads; none when nothing is sent
};

} // namespace vantrel
