// The radio's switch: rfkill's view of one radio, and blocking it in software.
//
// Reads /sys/class/ieee80211/<radio>/{index,rfkill<M>/soft,rfkill<M>/hard}; writes and watches /dev/rfkill
// (linux/rfkill.h), which desktops open for the user of the seat. One thread.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <QString>
#include <cstdint>
#include <memory>
#include <optional>

namespace vantrel::netlink {

struct BlockState {
    std::uint32_t index = 0; // rfkill's own number of the switch
    bool soft = false;       // by software: can be undone
    bool hard = false;       // by a switch of the machine: cannot
    [[nodiscard]] bool blocked() const { return soft || hard; }
};

// Where the kernel shows the switches, and where it takes changes; the tests stand elsewhere.
struct RadioKillPaths {
    QString radios = QStringLiteral("/sys/class/ieee80211");
    QString device = QStringLiteral("/dev/rfkill");
};

// Nothing for a radio without a switch: it is never blocked.
[[nodiscard]] std::optional<BlockState> blockState(std::uint32_t wiphy, const RadioKillPaths& paths = {});

// Blocks or unblocks that one radio, in software. A block takes down every interface of the radio; unblocking does not
// raise them again. Unblocking a radio that is hard-blocked too succeeds, and leaves it blocked.
[[nodiscard]] Expected<void> setBlocked(std::uint32_t wiphy, bool blocked, const RadioKillPaths& paths = {});

// Says that some switch has changed, come or gone: the reader asks again. What is so already when it is opened is no
// change.
class RadioKillEvents {
public:
    [[nodiscard]] static Expected<std::unique_ptr<RadioKillEvents>> open(const RadioKillPaths& paths = {});

    [[nodiscard]] int descriptor() const { return _descriptor.get(); } // becomes readable; does not block
    [[nodiscard]] bool drain();                                        // true when it tells of a change

private:
    explicit RadioKillEvents(FileDescriptor descriptor) : _descriptor(std::move(descriptor)) {}
    FileDescriptor _descriptor;
};

} // namespace vantrel::netlink
