#include "delivery/MojoPacketsReply.h"

#include "ReplyText.h"
#include "base/Translated.h"
#include "delivery/UserNotification.h"

#include <QJsonDocument>

namespace vantrel {

namespace {

// How the service's own failure reads when the account is unknown to it.
constexpr QLatin1StringView unknownAccount{"\"TracefileController.apiHash\" is not defined"};
constexpr char invalidCredentials[] = QT_TRANSLATE_NOOP("vantrel", "Invalid credentials.");
constexpr char cannotContact[] = QT_TRANSLATE_NOOP("vantrel", "There was an error contacting the Mojo Packets API.");

} // namespace

MojoPacketsReply readMojoPacketsReply(const QByteArray& output) {
    const QJsonDocument document = QJsonDocument::fromJson(output);
    if (document.isNull()) {
        const bool isUnknown = QString::fromUtf8(output).contains(unknownAccount);
        return tl::unexpected(std::optional(translated(isUnknown ? invalidCredentials : cannotContact)));
    }
    const QJsonObject answer = document.object();
    const auto email = replyText(answer, userinfo::Email);
    const auto ticket = replyText(answer, userinfo::Ticket);
    const auto traceId = replyText(answer, userinfo::TraceId);
    if (!email || !ticket || !traceId) {
        return tl::unexpected(replyText(answer, QLatin1StringView("message")));
    }
    return MojoPacketsTrace{.email = *email, .ticket = *ticket, .traceId = *traceId};
}

} // namespace vantrel
