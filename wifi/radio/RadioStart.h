// The first start of vantrel-radio: whoever started it waits here for its first announcement.
//
// Any thread; one waits, one notes.
#pragma once

#include "base/Error.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace vantrel {

class RadioStart {
public:
    // Waits until state and channels were heard. Fails when the process ended before, or when the time has passed and
    // all that was heard could not be read; hearing nothing in time is no failure. The start is over after this.
    [[nodiscard]] Expected<void> await(std::chrono::milliseconds limit);

    void noteState();
    void noteChannels();
    void noteUnreadable(const Error& error);

    // The process has ended. Answers whether that fails the start, so that it is not tried again.
    [[nodiscard]] bool noteEnd(const Error& error);

private:
    [[nodiscard]] bool announced() const { return _heardState && _heardChannels; }

    std::mutex _mutex;
    std::condition_variable _changed;
    bool _heardState = false;         // guarded by _mutex
    bool _heardChannels = false;      // guarded by _mutex
    bool _over = false;               // guarded by _mutex
    std::optional<Error> _unreadable; // guarded by _mutex
    std::optional<Error> _ended;      // guarded by _mutex
};

} // namespace vantrel
