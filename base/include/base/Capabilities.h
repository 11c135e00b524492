// The capabilities of the calling thread (capabilities(7)). In Linux each thread has sets of its own, a copy of those
// of the thread that started it; what one thread gives up, the others keep.
//
// A set is a mask with bit n for the capability of number n (linux/capability.h). Any thread; an error names the system
// call that failed.
#pragma once

#include "base/Error.h"

#include <cstdint>

namespace vantrel {

struct Capabilities {
    std::uint64_t effective = 0;   // in force
    std::uint64_t permitted = 0;   // what may be put in force
    std::uint64_t inheritable = 0; // what a program may take over that this thread executes

    [[nodiscard]] bool operator==(const Capabilities&) const = default;
};

[[nodiscard]] constexpr std::uint64_t capabilityMask(unsigned number) { return std::uint64_t{1} << number; }

[[nodiscard]] Expected<Capabilities> capabilities();

// Fails for what the thread is not permitted. What leaves the permitted set cannot be had back.
[[nodiscard]] Expected<void> setCapabilities(const Capabilities& wanted);

// Empties the ambient and the inheritable set, so that a program that this thread, or one that it starts, executes
// begins without capabilities; unless it has some of its own, or the user is root.
[[nodiscard]] Expected<void> keepCapabilitiesFromPrograms();

} // namespace vantrel
