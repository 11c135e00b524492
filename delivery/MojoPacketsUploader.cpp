#include "delivery/MojoPacketsUploader.h"

#include "DeliveryTexts.h"
#include "base/ChildProcess.h"
#include "delivery/MojoPacketsReply.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QFileInfo>
#include <utility>

namespace vantrel {

namespace {

constexpr QLatin1StringView tracesPath{"/api/v1/traces"};
const QString userAndKey = QStringLiteral("%1:%2");
const QString filesField = QStringLiteral("files=@%1");

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
    const auto trace = readMojoPacketsReply(output);
    if (!trace) {
        Outcome outcome{.succeeded = false,
                        .userInfo = {{userinfo::Uploader, userinfo::MojoPackets}, {userinfo::PathToFile, _pathToFile}}};
        if (trace.error()) {
            outcome.userInfo.insert(userinfo::Error, *trace.error());
        }
        return outcome;
    }
    return {.succeeded = true,
            .userInfo = {{userinfo::Uploader, userinfo::MojoPackets},
                         {userinfo::TraceId, trace->traceId},
                         {userinfo::Ticket, trace->ticket},
                         {userinfo::Email, trace->email},
                         {userinfo::FileName, QFileInfo(_pathToFile).fileName()}}};
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
