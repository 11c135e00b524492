// Lets one connection capture at a time. A client that comes while the capture of the one before still ends waits here,
// so that it finds the adapter as the user has it, and not half put back.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

namespace vantrel {

class CWInterface;

class CaptureTurn {
public:
    // Any thread but the main one. Waits until nobody has the turn, and then for an adapter that is on its way back to
    // its network, but no longer than that usually takes; then it is told first. False when it is over before the turn
    // came.
    [[nodiscard]] bool take(const CWInterface& airport, const std::function<bool()>& isOver,
                            const std::function<void()>& willWaitForAdapter);

    // Whoever took the turn gives it back, on any thread; the adapter may have been sent back to its network just now.
    void giveBack(bool isRejoining);

    // Any thread: what take() was given may have changed its answer.
    void lookAgain();

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _isTaken = false;     // guarded by _mutex
    bool _isRejoining = false; // guarded by _mutex
};

} // namespace vantrel
