#include "ReplyText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QVariant>

namespace vantrel {

std::optional<QString> replyText(const QJsonValue& value) {
    switch (value.type()) {
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        return std::nullopt;
    case QJsonValue::Array:
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    case QJsonValue::Object:
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    case QJsonValue::Bool:
    case QJsonValue::Double: // whole numbers are kept apart in it, to the last digit
    case QJsonValue::String:
        return value.toVariant().toString();
    }
    return std::nullopt;
}

} // namespace vantrel
