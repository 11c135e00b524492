// Digits, and the few letters that a tray item's title needs, drawn as strokes on whole pixels: what a font gives in
// a square of 22 pixels is too thin or too blurred to be read.
#pragma once

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <QString>

namespace vantrel::ui {

// How a line of letters is drawn, in pixels of the grid. The letters are as wide as said where they fit into the box.
struct Lettering {
    qreal stroke = 2;
    qreal letterWidth = 8;
    qreal gap = 2;
    qreal radius = 2; // of the corners
};

// Draws the text into the box, filling its height, aligned horizontally as said. Characters that have no drawing leave
// a blank.
void drawLetters(QPainter& painter, const QString& text, const QRectF& box, Lettering lettering,
                 Qt::Alignment alignment, const QColor& colour);

} // namespace vantrel::ui
