#include "Glyph.h"

#include "Drawing.h"
#include "TrayLetters.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QStringList>
#include <QSvgRenderer>
#include <functional>

namespace vantrel::ui {

namespace {
constexpr int gridSize = 22; // the drawings' own size; their edges lie on whole pixels there and at multiples

// The rows of an item with a title.
constexpr QRectF smallGlyphAlone{6, 0, 10, 9};
constexpr QRectF smallGlyphBeside{0, 0, 10, 9};
constexpr QRectF smallMark{11, 1, 11, 7};
constexpr QRectF largeMark{0, 10, 22, 12};
constexpr Lettering smallLettering{.stroke = 1, .letterWidth = 4, .gap = 1, .radius = 0.5};
constexpr Lettering largeLettering{.stroke = 2, .letterWidth = 8, .gap = 2, .radius = 2};

QByteArray drawingIn(const QColor& colour, const QString& name) {
    return drawing(name).replace("#000000", colour.name().toLatin1());
}

// Calls draw() on the grid, for each size. Sizes that are no multiple of the grid get a margin instead of a blurred
// scale.
QIcon icon(const std::function<void(QPainter&)>& draw) {
    QIcon drawn;
    for (const int size : {22, 24, 44, 48}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        const int scale = size / gridSize;
        const int margin = (size - scale * gridSize) / 2;
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(margin, margin);
        painter.scale(scale, scale);
        draw(painter);
        painter.end();
        drawn.addPixmap(pixmap);
    }
    return drawn;
}
} // namespace

QIcon glyphIcon(GlyphState state, const QColor& colour) {
    QSvgRenderer glyph(drawingIn(colour, state == GlyphState::Capturing ? QStringLiteral("VantrelInMenuCapturing")
                                                                        : QStringLiteral("VantrelInMenu")));
    return icon([&](QPainter& painter) { glyph.render(&painter, QRectF(0, 0, gridSize, gridSize)); });
}

QIcon statusIcon(GlyphState state, const TitleMarks& marks, const QColor& colour) {
    if (marks.large.isEmpty()) {
        return glyphIcon(state, colour);
    }
    QSvgRenderer glyph(drawingIn(colour, state == GlyphState::Capturing ? QStringLiteral("VantrelInMenuSmallCapturing")
                                                                        : QStringLiteral("VantrelInMenuSmall")));
    return icon([&](QPainter& painter) {
        glyph.render(&painter, marks.small.isEmpty() ? smallGlyphAlone : smallGlyphBeside);
        if (!marks.small.isEmpty()) {
            drawLetters(painter, marks.small, smallMark, smallLettering, Qt::AlignRight, colour);
        }
        drawLetters(painter, marks.large, largeMark, largeLettering, Qt::AlignHCenter, colour);
    });
}

QIcon StatusIcons::icon(GlyphState state, const TitleMarks& marks, const QColor& colour) {
    const QString key = QStringList{state == GlyphState::Capturing ? QStringLiteral("capturing") : QString(),
                                    marks.large, marks.small, colour.name()}
                            .join(QLatin1Char('|'));
    const auto drawn = _drawn.constFind(key);
    if (drawn != _drawn.constEnd()) {
        return *drawn;
    }
    if (_drawn.size() >= most) { // uploads show percentages, and a tray may change its colour
        _drawn.clear();
    }
    return *_drawn.insert(key, statusIcon(state, marks, colour));
}

QColor glyphColour() { return QGuiApplication::palette().color(QPalette::Active, QPalette::WindowText); }

} // namespace vantrel::ui
