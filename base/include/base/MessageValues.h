// What another program's message holds at a place, if it is of just the kind that belongs there.
//
// A QVariant converts whatever it can: a text to a number, a number to a text, and what it cannot to false, 0 or
// nothing. From another program that would make an answer out of what is none. Pure; any thread.
#pragma once

#include <QVariant>
#include <QVariantList>
#include <optional>

namespace vantrel {

template <typename T>
[[nodiscard]] std::optional<T> exactly(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<T>() ? std::optional(value.value<T>()) : std::nullopt;
}

// Nothing also where there are fewer arguments.
template <typename T>
[[nodiscard]] std::optional<T> argument(const QVariantList& arguments, qsizetype place) {
    return exactly<T>(arguments.value(place));
}

} // namespace vantrel
