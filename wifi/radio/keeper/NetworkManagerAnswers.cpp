#include "keeper/NetworkManagerAnswers.h"

#include "base/MessageValues.h"

#include <QDBusObjectPath>
#include <QDBusVariant>

namespace vantrel {

Expected<QString> devicePathOf(const QVariantList& answer) {
    const auto path = argument<QDBusObjectPath>(answer, 0);
    if (!path || path->path().isEmpty()) {
        return failure(QStringLiteral("GetDeviceByIpIface"), QStringLiteral("the answer is no object path"));
    }
    return path->path();
}

Expected<bool> managedOf(const QVariantList& answer) {
    const auto value = argument<QDBusVariant>(answer, 0);
    const auto managed = value ? exactly<bool>(value->variant()) : std::nullopt;
    if (!managed) {
        return failure(QStringLiteral("Device.Managed"), QStringLiteral("the answer is no truth value"));
    }
    return *managed;
}

} // namespace vantrel
