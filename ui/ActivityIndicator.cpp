#include "ActivityIndicator.h"

#include <QPainter>
#include <QPen>
#include <QStyle>
#include <algorithm>

namespace vantrel::ui {

namespace {
constexpr int spokes = 12;
constexpr int stepMs = 80; // so that a turn takes about a second
constexpr double faintest = 0.15;
} // namespace

ActivityIndicator::ActivityIndicator(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    _turn.setInterval(stepMs);
    connect(&_turn, &QTimer::timeout, this, [this] {
        _step = (_step + 1) % spokes;
        update();
    });
}

void ActivityIndicator::startAnimation() {
    _isAnimating = true;
    // Not for those who have turned animations off; it is seen all the same.
    if (style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0) {
        _turn.start();
    }
    update();
}

void ActivityIndicator::stopAnimation() {
    _isAnimating = false;
    _turn.stop();
    update();
}

QSize ActivityIndicator::sizeHint() const {
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this) + 4;
    return {size, size};
}

void ActivityIndicator::paintEvent(QPaintEvent* /*event*/) {
    if (!_isAnimating) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QRectF(rect()).center());
    const double radius = std::min(width(), height()) / 2.0 - 1;
    QColor colour = palette().color(QPalette::WindowText);
    for (int spoke = 0; spoke < spokes; ++spoke) {
        const int behind = (_step - spoke + spokes) % spokes;
        colour.setAlphaF(static_cast<float>(std::max(faintest, 1.0 - static_cast<double>(behind) / spokes)));
        painter.setPen(QPen(colour, radius * 0.18, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(360.0 / spokes * spoke);
        painter.drawLine(QPointF(0, -radius * 0.5), QPointF(0, -radius * 0.92));
        painter.restore();
    }
}

} // namespace vantrel::ui
