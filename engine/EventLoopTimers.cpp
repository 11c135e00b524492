#include "engine/Timers.h"

#include <QTimer>
#include <algorithm>

namespace vantrel {

namespace {

using std::chrono::milliseconds;

// A QTimer counts milliseconds in an int, less than 25 days; longer delays are waited for in steps.
constexpr milliseconds longestStep{1000L * 60 * 60 * 24};

class TimerHandle final : public Timers::Handle {
public:
    TimerHandle(milliseconds delay, bool repeats, std::function<void()> action)
        : _remaining(delay),
          _repeats(repeats),
          _action(std::move(action)) {
        _timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&_timer, &QTimer::timeout, &_timer, [this] { stepEnded(); });
        _timer.setSingleShot(!repeats);
        startStep();
    }

private:
    void startStep() {
        const milliseconds step = _repeats ? _remaining : std::min(_remaining, longestStep);
        if (!_repeats) {
            _remaining -= step;
        }
        _timer.start(step);
    }

    void stepEnded() {
        if (!_repeats && _remaining.count() > 0) {
            startStep();
            return;
        }
        const auto action = _action; // the action may destroy this handle
        action();
    }

    milliseconds _remaining;
    bool _repeats;
    std::function<void()> _action;
    QTimer _timer;
};

class EventLoopTimers final : public Timers {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
    std::unique_ptr<Handle> after(milliseconds delay, std::function<void()> action) override {
        return std::make_unique<TimerHandle>(delay, false, std::move(action));
    }
    std::unique_ptr<Handle> every(milliseconds interval, std::function<void()> action) override {
        return std::make_unique<TimerHandle>(interval, true, std::move(action));
    }
};

} // namespace

std::unique_ptr<Timers> makeEventLoopTimers() { return std::make_unique<EventLoopTimers>(); }

} // namespace vantrel
