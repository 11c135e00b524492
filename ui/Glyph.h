// The picture of the tray item, drawn in one colour so that it suits the tray's theme, as an icon of several sizes.
//
// Main thread, after the application object.
#pragma once

#include "ui/StatusTitle.h"

#include <QColor>
#include <QHash>
#include <QIcon>
#include <QString>

namespace vantrel::ui {

enum class GlyphState { Idle, Capturing };

// The glyph in the given colour at 22, 24, 44 and 48 pixels: the two usual sizes of a tray, and twice those for dense
// screens.
[[nodiscard]] QIcon glyphIcon(GlyphState state, const QColor& colour);

// The same sizes with the title: a small glyph above, or beside the small mark, and the large mark beneath. Without
// marks, the glyph alone. A tray draws its items square, so this is all the room there is.
[[nodiscard]] QIcon statusIcon(GlyphState state, const TitleMarks& marks, const QColor& colour);

// Draws each picture once and keeps it. Qt keeps pixmaps of every icon it has shown, up to megabytes, and a capture
// that hops shows another channel several times a second. Keeps as many as all channels of both bands make, and no
// more.
class StatusIcons {
public:
    static constexpr qsizetype most = 128;

    [[nodiscard]] QIcon icon(GlyphState state, const TitleMarks& marks, const QColor& colour);

private:
    QHash<QString, QIcon> _drawn; // by all that makes a picture
};

// The text colour of the application's palette: legible on a tray that follows the theme of the windows.
[[nodiscard]] QColor glyphColour();

} // namespace vantrel::ui
