// The picture of the tray item, drawn in one colour so that it suits the tray's theme, as an icon of several sizes.
//
// Main thread, after the application object.
#pragma once

#include <QColor>
#include <QIcon>

namespace vantrel::ui {

enum class GlyphState { Idle, Capturing };

// The glyph in the given colour at 22, 24, 44 and 48 pixels: the two usual sizes of a tray, and twice those for dense
// screens.
[[nodiscard]] QIcon glyphIcon(GlyphState state, const QColor& colour);

// The colour that is legible on the tray now: the text colour of the application's palette.
[[nodiscard]] QColor glyphColour();

} // namespace vantrel::ui
