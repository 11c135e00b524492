#include "delivery/MojoPacketsUploader.h"

#include "DeliveryTexts.h"
#include "ReplyText.h"
#include "base/ChildProcess.h"
#include "base/Translated.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <utility>

namespace vantrel {

namespace {

constexpr QLatin1StringView tracesPath{"/api/v1/traces"};
const QString userAndKey = QStringLiteral("%1:%2");
const QString filesField = QStringLiteral("files=@%1");

// How the service's own failure reads when the account is unknown to it.
constexpr QLatin1StringView unknownAccount{"\"TracefileController.apiHash\" is not defined"};
constexpr char invalidCredentials[] = QT_TRANSLATE_NOOP("vantrel", "Invalid credentials.");
constexpr char cannotContact[] = QT_TRANSLATE_NOOP("vantrel", "There was an error contacting the Mojo Packets API.");
} // namespace

MojoPacketsUploader::MojoPacketsUploader(const SettingsStore& settings, QString pathToFile, QString curl)
    : _settings(settings),
      _pathToFile(std::move(pathToFile)),
      _curl(std::move(curl)) {}

MojoPacketsUploader::~MojoPacketsUploader() {
    {
        const std::lock_guard lock(_mutex);
        _givenUp = true;
        if (_child) {
            _child->terminate();
        }
    }
    if (_thread.joinable()) {
        _thread.join();
    }
}

void MojoPacketsUploader::upload() {
    _thread = std::thread([this] { curlUpload(); });
}

void MojoPacketsUploader::curlUpload() {
    Outcome outcome = outcomeOf(outputOfCurl());
    const std::lock_guard lock(_mutex);
    if (!_givenUp) {
        _outcome = std::move(outcome);
        // By name, so that the event carries nothing of ours: what it leads to is ordered by our mutex, visibly also
        // where Qt's own locks are not.
        QMetaObject::invokeMethod(this, "report", Qt::QueuedConnection);
    }
}

// curl takes the word after "-sb" for the argument of -b, a file of cookies that does not exist, so "--tlsv1" asks for
// no protocol. The service knows the words as they are; they stay so.
QStringList MojoPacketsUploader::curlArguments() const {
    return {
        QStringLiteral("-sb"),
        QStringLiteral("--tlsv1"),
        QStringLiteral("--user"),
        userAndKey.arg(_settings.stringForKey(keys::MojoPacketsEmail), _settings.stringForKey(keys::MojoPacketsAPIKey)),
        QStringLiteral("--insecure"),
        QStringLiteral("-F"),
        filesField.arg(_pathToFile),
        _settings.stringForKey(keys::MojoPacketsServiceURL) + tracesPath};
}

QByteArray MojoPacketsUploader::outputOfCurl() {
    const ChildCommand command{.program = _curl, .arguments = curlArguments()};
    ChildProcess* child = nullptr;
    {
        const std::lock_guard lock(_mutex);
        if (_givenUp) {
            return {};
        }
        auto started = ChildProcess::start(command);
        if (!started) {
            qCWarning(lcDelivery, "%s", qUtf8Printable(started.error().text()));
            return {};
        }
        _child = std::move(*started);
        child = _child.get();
    }
    return child->waitUntilExit().output; // whatever the exit status: the output alone tells
}

MojoPacketsUploader::Outcome MojoPacketsUploader::outcomeOf(const QByteArray& output) const {
    const QJsonDocument document = QJsonDocument::fromJson(output);
    if (document.isNull()) {
        const bool isUnknown = QString::fromUtf8(output).contains(unknownAccount);
        return failure(translated(isUnknown ? invalidCredentials : cannotContact));
    }
    const QJsonObject answer = document.object();
    const auto email = replyText(answer, userinfo::Email);
    const auto ticket = replyText(answer, userinfo::Ticket);
    const auto traceId = replyText(answer, userinfo::TraceId);
    if (!email || !ticket || !traceId) {
        return failure(replyText(answer, QLatin1StringView("message")));
    }
    return {.succeeded = true,
            .userInfo = {{userinfo::Uploader, userinfo::MojoPackets},
                         {userinfo::TraceId, *traceId},
                         {userinfo::Ticket, *ticket},
                         {userinfo::Email, *email},
                         {userinfo::FileName, QFileInfo(_pathToFile).fileName()}}};
}

MojoPacketsUploader::Outcome MojoPacketsUploader::failure(const std::optional<QString>& error) const {
    Outcome outcome{.succeeded = false,
                    .userInfo = {{userinfo::Uploader, userinfo::MojoPackets}, {userinfo::PathToFile, _pathToFile}}};
    if (error) {
        outcome.userInfo.insert(userinfo::Error, *error);
    }
    return outcome;
}

void MojoPacketsUploader::report() {
    Outcome outcome;
    {
        const std::lock_guard lock(_mutex);
        outcome = _outcome.value_or(Outcome{});
    }
    if (outcome.succeeded) {
        tellDidUpdateProgress(100);
        tellDidUploadFile(outcome.userInfo);
    } else {
        tellDidFail(outcome.userInfo);
    }
    end();
}

} // namespace vantrel
