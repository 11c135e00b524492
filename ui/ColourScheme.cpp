#include "ui/ColourScheme.h"

#include "base/MessageValues.h"

#include <QDBusVariant>

namespace vantrel::ui {

ColourScheme schemeOf(const QVariant& value) {
    constexpr int deepest = 2; // Read answers a variant within the variant
    QVariant inner = value;
    for (int depth = 0; depth < deepest; ++depth) {
        if (const auto variant = exactly<QDBusVariant>(inner)) {
            inner = variant->variant();
        }
    }
    switch (exactly<uint>(inner).value_or(0)) {
    case static_cast<uint>(ColourScheme::PrefersDark):
        return ColourScheme::PrefersDark;
    case static_cast<uint>(ColourScheme::PrefersLight):
        return ColourScheme::PrefersLight;
    default: // the numbers come from outside
        return ColourScheme::NoPreference;
    }
}

std::optional<ColourScheme> changedScheme(const QVariantList& arguments) { // space, key, value
    if (arguments.size() != 3 || argument<QString>(arguments, 0) != appearance ||
        argument<QString>(arguments, 1) != colorScheme) {
        return std::nullopt;
    }
    return schemeOf(arguments[2]);
}

} // namespace vantrel::ui
