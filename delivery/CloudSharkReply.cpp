#include "delivery/CloudSharkReply.h"

#include "ReplyText.h"
#include "delivery/UserNotification.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace vantrel {

namespace {

const QString applianceError = QStringLiteral("%1.");

} // namespace

CloudSharkReply readCloudSharkReply(const QByteArray& piece) {
    const QJsonObject answer = QJsonDocument::fromJson(piece).object();
    const auto id = replyText(answer, userinfo::Id);
    const auto fileName = replyText(answer, userinfo::FileName);
    if (id && fileName) {
        return CloudSharkCapture{.id = *id, .fileName = *fileName};
    }
    const QJsonValue exceptions = answer.value(QLatin1StringView("exceptions"));
    if (exceptions.isNull() || exceptions.isUndefined()) {
        return {};
    }
    const auto first = replyText(exceptions.isArray() ? exceptions.toArray().at(0) : exceptions);
    return CloudSharkRefusal{.error = applianceError.arg(first.value_or(absentText))};
}

} // namespace vantrel
