// Any bytes as the settings file: they are refused or read, every key reads as every type, and what was read can be
// written and read back. Touches no file.
#include "FuzzInput.h"
#include "settings/Coercion.h"
#include "settings/SettingsText.h"

#include <QJsonValue>

namespace {

using vantrel::require;

void readAsEveryType(const QVariant& value) {
    namespace coercion = vantrel::coercion;
    const auto integer = coercion::toInteger(value);
    require(integer == 0 || coercion::toBool(value));
    const auto text = coercion::toText(value);
    require(coercion::toInteger(QVariant(text)) == integer || value.typeId() == QMetaType::Double);
    require(coercion::toTextList(value).size() == static_cast<qsizetype>(coercion::toIntegerList(value).size()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray text(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto settings = vantrel::parseSettingsText(text);
    if (!settings) {
        require(!settings.error().why.isEmpty());
        return 0;
    }
    for (const auto& key : settings->keys()) {
        readAsEveryType(settings->value(key).toVariant());
    }
    const auto written = vantrel::settingsText(*settings);
    const auto again = vantrel::parseSettingsText(written);
    // Indenting can take a large file over the limit.
    require(again ? again->keys() == settings->keys() : written.size() > vantrel::largestSettingsText);
    return 0;
}
