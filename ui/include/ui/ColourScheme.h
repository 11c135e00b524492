// Which colours the user prefers, light or dark, as the desktop's portal tells it (XDG Desktop Portal, interface
// Settings, org.freedesktop.appearance color-scheme).
//
// Pure; any thread.
#pragma once

#include <QLatin1StringView>
#include <QVariantList>
#include <optional>

namespace vantrel::ui {

// The values of color-scheme in the portal's Settings interface.
enum class ColourScheme { NoPreference = 0, PrefersDark = 1, PrefersLight = 2 };

inline constexpr QLatin1StringView appearance{"org.freedesktop.appearance"};
inline constexpr QLatin1StringView colorScheme{"color-scheme"};

// What the portal answers for color-scheme, or announces: a number in a variant, or in two. What it is not, or does not
// know, is no preference, as the portal asks.
[[nodiscard]] ColourScheme schemeOf(const QVariant& value);

// Of the arguments of SettingChanged; nothing when another setting has changed.
[[nodiscard]] std::optional<ColourScheme> changedScheme(const QVariantList& arguments);

} // namespace vantrel::ui
