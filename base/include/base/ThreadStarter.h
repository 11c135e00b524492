// How a room has a thread started that does what only some threads of the program may.
#pragma once

#include <functional>
#include <thread>

namespace vantrel {

// Any thread. The thread runs the work and belongs to the caller, who joins it.
using ThreadStarter = std::function<std::thread(std::function<void()> work)>;

// An ordinary thread, with the capabilities of the calling one.
[[nodiscard]] inline std::thread startOrdinaryThread(std::function<void()> work) {
    return std::thread(std::move(work));
}

} // namespace vantrel
