#include "base/Capabilities.h"

#include <array>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vantrel {

namespace {

// The kernel takes each set in two halves.
using Halves = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

// The thread's own, which the number 0 stands for.
__user_cap_header_struct thisThread() { return {.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0}; }

std::uint64_t whole(std::uint32_t low, std::uint32_t high) { return std::uint64_t{high} << 32 | low; }

} // namespace

Expected<Capabilities> capabilities() {
    auto header = thisThread();
    Halves halves{};
    if (::syscall(SYS_capget, &header, halves.data()) != 0) {
        return errnoFailure(QStringLiteral("capget"));
    }
    const auto& [low, high] = halves;
    return Capabilities{.effective = whole(low.effective, high.effective),
                        .permitted = whole(low.permitted, high.permitted),
                        .inheritable = whole(low.inheritable, high.inheritable)};
}

Expected<void> setCapabilities(const Capabilities& wanted) {
    auto header = thisThread();
    Halves halves{};
    for (unsigned half = 0; half < halves.size(); ++half) {
        const unsigned shift = 32 * half;
        halves[half] = {.effective = static_cast<std::uint32_t>(wanted.effective >> shift),
                        .permitted = static_cast<std::uint32_t>(wanted.permitted >> shift),
                        .inheritable = static_cast<std::uint32_t>(wanted.inheritable >> shift)};
    }
    if (::syscall(SYS_capset, &header, halves.data()) != 0) {
        return errnoFailure(QStringLiteral("capset"));
    }
    return {};
}

Expected<void> keepCapabilitiesFromPrograms() {
    if (::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0) != 0) {
        return errnoFailure(QStringLiteral("prctl(PR_CAP_AMBIENT_CLEAR_ALL)"));
    }
    return capabilities().and_then([](Capabilities ours) {
        ours.inheritable = 0;
        return setCapabilities(ours);
    });
}

} // namespace vantrel
