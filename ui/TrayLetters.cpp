#include "TrayLetters.h"

#include <QHash>
#include <QPainterPath>
#include <QPen>
#include <algorithm>
#include <cmath>
#include <vector>

namespace vantrel::ui {

namespace {
// A line through points of a grid of 2 by 4: x to the right, y down. It is closed when its ends meet.
using Line = std::vector<QPointF>;
using Letter = std::vector<Line>;

const QHash<QChar, Letter>& letters() {
    static const QHash<QChar, Letter> all{
        {u'0', {{{0, 0}, {2, 0}, {2, 4}, {0, 4}, {0, 0}}}},
        {u'1', {{{0.3, 0.7}, {1.2, 0}, {1.2, 4}}}},
        {u'2', {{{0, 0}, {2, 0}, {2, 2}, {0, 2}, {0, 4}, {2, 4}}}},
        {u'3', {{{0, 0}, {2, 0}, {2, 4}, {0, 4}}, {{0.6, 2}, {2, 2}}}},
        {u'4', {{{0, 0}, {0, 2}, {2, 2}}, {{2, 0}, {2, 4}}}},
        {u'5', {{{2, 0}, {0, 0}, {0, 2}, {2, 2}, {2, 4}, {0, 4}}}},
        {u'6', {{{2, 0}, {0, 0}, {0, 4}, {2, 4}, {2, 2}, {0, 2}}}},
        {u'7', {{{0, 0}, {2, 0}, {0.8, 4}}}},
        {u'8', {{{0, 0}, {2, 0}, {2, 4}, {0, 4}, {0, 0}}, {{0, 2}, {2, 2}}}},
        {u'9', {{{0, 4}, {2, 4}, {2, 0}, {0, 0}, {0, 2}, {2, 2}}}},
        {u'-', {{{0, 2}, {2, 2}}}},
        {u'O', {{{0, 0}, {2, 0}, {2, 4}, {0, 4}, {0, 0}}}},
        {u'f', {{{2, 0}, {0.6, 0}, {0.6, 4}}, {{0, 1.6}, {1.8, 1.6}}}},
        {u'M', {{{0, 4}, {0, 0}, {1, 1.6}, {2, 0}, {2, 4}}}},
        {u'H', {{{0, 0}, {0, 4}}, {{2, 0}, {2, 4}}, {{0, 2}, {2, 2}}}},
        {u'z', {{{0, 1.6}, {2, 1.6}, {0, 4}, {2, 4}}}},
        {u'%', {{{2, 0}, {0, 4}}, {{0, 0}, {0, 0.5}}, {{2, 3.5}, {2, 4}}}},
    };
    return all;
}

QPointF towards(const QPointF& from, const QPointF& to, qreal distance) {
    const qreal length = std::hypot(to.x() - from.x(), to.y() - from.y());
    return length > 0 ? from + (to - from) * std::min(distance / length, 0.5) : from;
}

// The line with its corners rounded.
QPainterPath rounded(const Line& line, qreal radius) {
    const bool closed = line.size() > 2 && line.front() == line.back();
    QPainterPath path(closed ? towards(line[0], line[1], radius) : line[0]);
    for (std::size_t corner = 1; corner + 1 < line.size(); ++corner) {
        path.lineTo(towards(line[corner], line[corner - 1], radius));
        path.quadTo(line[corner], towards(line[corner], line[corner + 1], radius));
    }
    if (closed) {
        path.lineTo(towards(line.back(), line[line.size() - 2], radius));
        path.quadTo(line[0], towards(line[0], line[1], radius));
    } else {
        path.lineTo(line.back());
    }
    return path;
}

// The stroke's centre runs half a stroke inside the box and its corners lie on the grid, so that its edges fill whole
// pixels.
QPainterPath placed(const Letter& letter, const QRectF& box, const Lettering& lettering) {
    const qreal inset = lettering.stroke / 2;
    const auto onGrid = [inset](qreal along, qreal length) { return inset + std::round(along * (length - 2 * inset)); };
    QPainterPath path;
    for (const Line& line : letter) {
        Line points;
        for (const QPointF& point : line) {
            points.push_back(box.topLeft() +
                             QPointF(onGrid(point.x() / 2, box.width()), onGrid(point.y() / 4, box.height())));
        }
        path.addPath(rounded(points, lettering.radius));
    }
    return path;
}
} // namespace

void drawLetters(QPainter& painter, const QString& text, const QRectF& box, Lettering lettering,
                 Qt::Alignment alignment, const QColor& colour) {
    const auto count = static_cast<qreal>(text.size());
    lettering.letterWidth =
        std::min(lettering.letterWidth, std::floor((box.width() - (count - 1) * lettering.gap) / count));
    const qreal width = count * lettering.letterWidth + (count - 1) * lettering.gap;
    const qreal free = box.width() - width;
    qreal x = box.left() + (alignment & Qt::AlignRight     ? free
                            : alignment & Qt::AlignHCenter ? std::floor(free / 2)
                                                           : 0);
    painter.setPen(QPen(colour, lettering.stroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    for (const QChar character : text) {
        painter.drawPath(
            placed(letters().value(character), {x, box.top(), lettering.letterWidth, box.height()}, lettering));
        x += lettering.letterWidth + lettering.gap;
    }
}

} // namespace vantrel::ui
