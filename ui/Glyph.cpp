#include "Glyph.h"

#include "Drawing.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QSvgRenderer>

namespace vantrel::ui {

namespace {
constexpr int gridSize = 22; // the drawing's own size; its edges lie on whole pixels there and at multiples

QByteArray drawingOf(GlyphState state) {
    return drawing(state == GlyphState::Capturing ? QStringLiteral("VantrelInMenuCapturing")
                                                  : QStringLiteral("VantrelInMenu"));
}

// Sizes that are no multiple of the grid get a margin instead of a blurred scale.
QPixmap rendered(QSvgRenderer& renderer, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    const int drawn = size / gridSize * gridSize;
    const int margin = (size - drawn) / 2;
    QPainter painter(&pixmap);
    renderer.render(&painter, QRectF(margin, margin, drawn, drawn));
    return pixmap;
}
} // namespace

QIcon glyphIcon(GlyphState state, const QColor& colour) {
    QSvgRenderer renderer(drawingOf(state).replace("#000000", colour.name().toLatin1()));
    QIcon icon;
    for (const int size : {22, 24, 44, 48}) {
        icon.addPixmap(rendered(renderer, size));
    }
    return icon;
}

QColor glyphColour() { return QGuiApplication::palette().color(QPalette::Active, QPalette::WindowText); }

} // namespace vantrel::ui
