// Time for the main thread: a clock and timers behind an interface, so that tests can let hours pass in a moment.
#pragma once

#include <QDateTime>
#include <chrono>
#include <functional>
#include <memory>

namespace vantrel {

class Timers {
public:
    // Destroying the handle stops the timer; its action does not run afterwards.
    class Handle {
    public:
        virtual ~Handle() = default;
    };

    virtual ~Timers() = default;
    [[nodiscard]] virtual QDateTime now() const = 0; // local time; any thread
    // Main thread; the action runs there.
    [[nodiscard]] virtual std::unique_ptr<Handle> after(std::chrono::milliseconds delay,
                                                        std::function<void()> action) = 0;
    [[nodiscard]] virtual std::unique_ptr<Handle> every(std::chrono::milliseconds interval,
                                                        std::function<void()> action) = 0;
};

// The real clock and the event loop's timers; delays of any length.
[[nodiscard]] std::unique_ptr<Timers> makeEventLoopTimers();

} // namespace vantrel
