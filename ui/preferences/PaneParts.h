// What the panes share: pictures, sentences of help, and texts that come from outside.
//
// Main thread, after the application object.
#pragma once

#include <QIcon>
#include <QSize>
#include <QString>

class QAbstractButton;
class QWidget;

namespace vantrel {
class SettingsStore;
}

namespace vantrel::preferences {

// A drawing of the room in the text colour of the palette, in the sizes of a tool bar.
[[nodiscard]] QIcon paneImage(const QString& name);

// Sets every label of the pane with the property "helpFor" as the small print under the control of that name: lighter
// than it, in line with its text, and told to screen readers as its description.
void prepareHelp(QWidget& pane);

// The size at which nothing in the widget is cut off, at least so many letters wide. What needs a second line at that
// width is no higher in a wider window, so the height always suffices.
[[nodiscard]] QSize smallestSize(const QWidget& widget, int widthInLetters);

// Gives check boxes and radio buttons a frame that can be seen on a dark window. Anew when the palette has changed.
void improveContrast(QWidget& pane);

// Ticks the box as a setting says, without a signal. Panes hear of the user by the signal toggled(): assistive programs
// toggle a box without clicking it.
void showSetting(QAbstractButton& box, const SettingsStore& settings, QLatin1StringView key);

// A path on one line: its characters in their order whatever their script is, without those that would break the line
// or turn it around, and shortened in the middle to a width in pixels.
[[nodiscard]] QString shownPath(const QString& path, const QWidget& where, int width);

} // namespace vantrel::preferences
