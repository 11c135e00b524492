// Messages of any signature to all that reads a D-Bus message's arguments itself: what is of another signature than the
// documented one is no answer, and what is answered is what stands there.
//
// What QtDBus compares with a signature before it hands it on needs no target: the slots of the notification server and
// of the login manager, and every QDBusPendingReply of a type.
#include "MessageInput.h"
#include "feed/ServiceAnswers.h"
#include "keeper/NetworkManagerAnswers.h"
#include "remote/AvahiAnswers.h"
#include "ui/ColourScheme.h"

#include <QDBusObjectPath>
#include <QDBusVariant>

namespace {

using namespace vantrel;

bool isOfType(const QVariantList& arguments, qsizetype place, const QMetaType& type) {
    return arguments.value(place).metaType() == type;
}

void readNetworkManager(const QVariantList& arguments) {
    const auto path = devicePathOf(arguments);
    require(path ? path->startsWith(QLatin1Char('/')) : !path.error().why.isEmpty());
    const auto managed = managedOf(arguments);
    require(managed || !managed.error().why.isEmpty());
    const QVariant inner = arguments.value(0).value<QDBusVariant>().variant();
    require(managed.has_value() == (inner.metaType() == QMetaType::fromType<bool>()));
    require(!managed || *managed == inner.toBool());
}

void readAvahi(const QVariantList& arguments) {
    const bool isText = isOfType(arguments, 0, QMetaType::fromType<QString>());
    const auto name = avahiNameOf(arguments);
    require(!name || (isText && !name->isEmpty()));
    require(avahiStateOf(arguments).has_value() == isOfType(arguments, 0, QMetaType::fromType<int>()));
    const auto item = feed::serviceItemOf(arguments);
    require(!item || (item->interface == arguments[0].toInt() && item->domain == arguments[4].toString()));
    const auto port = feed::servicePortOf(arguments);
    require(!port || (*port != 0 && *port == arguments[8].toUInt()));
}

void readPortal(const QVariantList& arguments) {
    using ui::ColourScheme;
    const QVariant value = arguments.value(0);
    const bool isText = value.metaType() == QMetaType::fromType<QString>();
    require(!isText || ui::schemeOf(value) == ColourScheme::NoPreference);
    if (const auto changed = ui::changedScheme(arguments)) {
        require(arguments.size() == 3 && arguments[1].toString() == ui::colorScheme);
        require(*changed == ui::schemeOf(arguments[2]));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzInput input(data, size);
    const auto arguments = messageArguments(input.bytes());
    if (!arguments) {
        return -1;
    }
    readNetworkManager(*arguments);
    readAvahi(*arguments);
    readPortal(*arguments);
    return 0;
}
