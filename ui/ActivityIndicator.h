// A small wheel of spokes that turns while something goes on. Still, it shows nothing, but keeps its place.
//
// Main thread.
#pragma once

#include <QTimer>
#include <QWidget>

namespace vantrel::ui {

class ActivityIndicator : public QWidget {
    Q_OBJECT
public:
    explicit ActivityIndicator(QWidget* parent = nullptr);

    void startAnimation();
    void stopAnimation();
    [[nodiscard]] bool isAnimating() const { return _isAnimating; }

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QTimer _turn;
    int _step = 0;
    bool _isAnimating = false;
};

} // namespace vantrel::ui
