// How a value that is kept as one type reads as another; the rules stand with the reads of SettingsStore.
//
// Every function takes any variant, also an invalid one, and cannot fail. Any thread.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <cstdint>
#include <vector>

namespace vantrel::coercion {

[[nodiscard]] bool toBool(const QVariant& value);
[[nodiscard]] std::int64_t toInteger(const QVariant& value);
[[nodiscard]] QString toText(const QVariant& value);

// Only a list reads as a list; of its elements those that are neither text nor number are left out.
[[nodiscard]] QStringList toTextList(const QVariant& value);
[[nodiscard]] std::vector<std::int64_t> toIntegerList(const QVariant& value);

} // namespace vantrel::coercion
