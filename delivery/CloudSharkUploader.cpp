#include "delivery/CloudSharkUploader.h"

#include "CloudSharkRequest.h"
#include "DeliveryTexts.h"
#include "UploadBody.h"
#include "base/Translated.h"
#include "delivery/CloudSharkReply.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QFileInfo>
#include <QNetworkReply>
#include <chrono>
#include <utility>

namespace vantrel {

namespace {

constexpr std::chrono::milliseconds idleLimit{3000};
constexpr int mostRedirections = 10;

// Logged.
constexpr char noRequest[] = "failed.";
constexpr char connectionFailed[] = "Failed to upload capture data: %s";

// Shown.
constexpr char timedOut[] = QT_TRANSLATE_NOOP("vantrel", "The request timed out.");
constexpr char connectionLost[] = QT_TRANSLATE_NOOP("vantrel", "The network connection was lost.");
constexpr char notUnderstood[] = QT_TRANSLATE_NOOP("vantrel", "The server's answer could not be understood.");
constexpr char fileBecameShorter[] = QT_TRANSLATE_NOOP("vantrel", "The file became shorter while it was uploaded.");
constexpr char fileUnreadable[] = QT_TRANSLATE_NOOP("vantrel", "The file cannot be read: %1.");
constexpr char insecureRedirection[] =
    QT_TRANSLATE_NOOP("vantrel", "The server redirected the upload to an insecure address.");
constexpr char unsupportedRedirection[] =
    QT_TRANSLATE_NOOP("vantrel", "The server redirected the upload to an unsupported address.");
constexpr char tooManyRedirections[] = QT_TRANSLATE_NOOP("vantrel", "The server redirected the upload too many times.");

const QByteArray location = QByteArrayLiteral("Location");
const QByteArray put = QByteArrayLiteral("PUT");
const QByteArray get = QByteArrayLiteral("GET");

bool isWeb(const QUrl& url) {
    return url.scheme() == QLatin1StringView("http") || url.scheme() == QLatin1StringView("https");
}

} // namespace

CloudSharkUploader::CloudSharkUploader(const SettingsStore& settings, QString pathToFile, QString tags,
                                       QString comments)
    : _settings(settings),
      _pathToFile(std::move(pathToFile)),
      _tags(std::move(tags)),
      _comments(std::move(comments)) {
    // By hand: the library would turn the upload into a mere request of the new address.
    _network.setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    _silence.setSingleShot(true);
    _silence.setTimerType(Qt::PreciseTimer);
    _silence.setInterval(idleLimit);
    connect(&_silence, &QTimer::timeout, this, &CloudSharkUploader::connectionDidTimeOut);
}

CloudSharkUploader::~CloudSharkUploader() = default;

void CloudSharkUploader::upload() {
    const auto url = cloudSharkUrl({.applianceUrl = _settings.stringForKey(keys::CloudSharkApplianceURL),
                                    .token = _settings.stringForKey(keys::CloudSharkApplianceAPIToken),
                                    .fileName = QFileInfo(_pathToFile).fileName(),
                                    .tags = _tags,
                                    .comments = _comments});
    if (!url) {
        qCWarning(lcDelivery, noRequest);
        end();
        return;
    }
    send(put, *url);
}

void CloudSharkUploader::send(const QByteArray& method, const QUrl& url) {
    if (_reply != nullptr) {
        _reply->deleteLater(); // it is what called us
    }
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    if (method == put) {
        auto body = std::make_unique<UploadBody>(_pathToFile);
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/octet-stream"));
        request.setHeader(QNetworkRequest::ContentLengthHeader, body->size());
        _reply = _network.put(request, body.get());
        _body = body.release();
        _body->setParent(_reply);
    } else {
        _reply = _network.get(request);
        _body = nullptr;
    }
    // By a timer of our own: the library's does not count the beginning of an answer as a sign of life.
    const auto isAlive = qOverload<>(&QTimer::start);
    connect(_reply, &QNetworkReply::uploadProgress, &_silence, isAlive);
    connect(_reply, &QNetworkReply::metaDataChanged, &_silence, isAlive);
    connect(_reply, &QNetworkReply::readyRead, &_silence, isAlive);
    _silence.start();
    connect(_reply, &QNetworkReply::uploadProgress, this, &CloudSharkUploader::connectionDidSendBodyData);
    connect(_reply, &QNetworkReply::readyRead, this, &CloudSharkUploader::connectionDidReceiveData);
    connect(_reply, &QNetworkReply::finished, this, &CloudSharkUploader::connectionDidFinish);
}

std::optional<int> CloudSharkUploader::percentCompleted(qint64 written, qint64 expected) {
    if (expected <= 0) {
        return std::nullopt;
    }
    return static_cast<int>(static_cast<double>(written) * 100.0 / static_cast<double>(expected));
}

void CloudSharkUploader::connectionDidSendBodyData(qint64 written, qint64 expected) {
    if (const auto percent = percentCompleted(written, expected)) { // a reply that was aborted says 0 of 0
        tellDidUpdateProgress(*percent);
    }
}

void CloudSharkUploader::connectionDidReceiveData() {
    const CloudSharkReply reply = readCloudSharkReply(_reply->readAll());
    if (isRedirected()) {
        return;
    }
    if (const auto* const capture = std::get_if<CloudSharkCapture>(&reply)) {
        _reported = true;
        tellDidUploadFile({{userinfo::Uploader, userinfo::CloudShark},
                           {userinfo::Id, capture->id},
                           {userinfo::FileName, capture->fileName}});
    } else if (const auto* const refusal = std::get_if<CloudSharkRefusal>(&reply)) {
        _reported = true;
        UserInfo info = failureInfo(refusal->error);
        info.insert(userinfo::Uploader, userinfo::CloudShark);
        tellDidFail(info);
    }
}

void CloudSharkUploader::connectionDidFinish() {
    _silence.stop();
    if (isRedirected()) {
        follow(QUrl::fromEncoded(_reply->rawHeader(location)));
    } else if (isConnectionFailure()) {
        connectionDidFail(failureReason());
    } else {
        if (!_reported) {
            qCWarning(lcDelivery, "the CloudShark appliance's answer says neither success nor failure (HTTP status %d)",
                      statusCode());
        }
        end();
    }
}

void CloudSharkUploader::connectionDidTimeOut() {
    disconnect(_reply, nullptr, this, nullptr);
    disconnect(_reply, nullptr, &_silence, nullptr);
    _reply->abort();
    connectionDidFail(translated(timedOut));
}

void CloudSharkUploader::connectionDidFail(const QString& reason) {
    qCWarning(lcDelivery, connectionFailed, qUtf8Printable(reason));
    _reported = true;
    tellDidFail(failureInfo(reason));
    end();
}

// The same request again at the other address, except after 303, which asks to fetch the answer there.
void CloudSharkUploader::follow(const QUrl& redirection) {
    const QUrl from = _reply->url();
    const QUrl to = from.resolved(redirection);
    if (redirection.isEmpty() || !to.isValid() || !isWeb(to) || to.host().isEmpty()) {
        connectionDidFail(translated(unsupportedRedirection));
    } else if (from.scheme() == QLatin1StringView("https") && to.scheme() != from.scheme()) {
        connectionDidFail(translated(insecureRedirection));
    } else if (++_redirections > mostRedirections) {
        connectionDidFail(translated(tooManyRedirections));
    } else {
        send(statusCode() == 303 ? get : put, to);
    }
}

int CloudSharkUploader::statusCode() const {
    return _reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

bool CloudSharkUploader::isRedirected() const {
    // The library makes ready to send the body again before it leaves the redirection to us, and ours refuses that.
    const bool arrived =
        _reply->error() == QNetworkReply::NoError || _reply->error() == QNetworkReply::ContentReSendError;
    const int status = statusCode();
    return arrived && (status == 301 || status == 302 || status == 303 || status == 307 || status == 308) &&
           _reply->hasRawHeader(location);
}

// The library calls a status of 400 and more an error too, with a number beyond those of the network and proxies; that
// is an answer like any other.
bool CloudSharkUploader::isConnectionFailure() const {
    const auto error = _reply->error();
    const bool isStatus = error >= QNetworkReply::ContentAccessDenied && error != QNetworkReply::ContentReSendError &&
                          statusCode() >= 400;
    return error != QNetworkReply::NoError && !isStatus;
}

QString CloudSharkUploader::failureReason() const {
    const auto error = _reply->error();
    if (_body != nullptr && _body->becameShorter()) {
        return translated(fileBecameShorter);
    }
    if (_body != nullptr && !_body->readFailure().isEmpty()) {
        return translated(fileUnreadable).arg(_body->readFailure());
    }
    if (error == QNetworkReply::RemoteHostClosedError || error == QNetworkReply::UnknownNetworkError ||
        error == QNetworkReply::ContentReSendError) { // it was closed, and the library would have begun once more
        return translated(connectionLost);
    }
    // Beyond the network's own errors the library's texts hold the address, and with it the token.
    return error < QNetworkReply::ContentAccessDenied ? _reply->errorString() : translated(notUnderstood);
}

UserInfo CloudSharkUploader::failureInfo(const QString& error) const {
    return {{userinfo::Error, error},
            {userinfo::PathToFile, _pathToFile},
            {userinfo::Tags, _tags},
            {userinfo::Comments, _comments}};
}

} // namespace vantrel
