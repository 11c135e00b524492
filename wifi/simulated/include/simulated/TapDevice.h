// A network device of our own whose received frames we write: what libpcap opens live where there is no radio.
//
// Made ready and up by its factory; the kernel removes the device when the object is destroyed. Needs the right to
// make network devices in the process's network namespace (CAP_NET_ADMIN) and access to /dev/net/tun.
// One thread writes at a time; name() is for any thread.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <QString>
#include <cstdint>
#include <span>

namespace vantrel {

// The kernel's ARPHRD_ numbers (linux/if_arp.h); libpcap turns them into data-link types 127 and 105.
enum class TapLinkType { Plain80211 = 801, Radiotap = 803 };

class TapDevice {
public:
    // A "%d" in the name stands for the first free number. The error names the call that failed, and keeps its errno
    // for whoever has another way when the right is missing.
    struct Failure {
        Error error;
        int number = 0; // errno; 0 when no system call failed
    };
    [[nodiscard]] static tl::expected<TapDevice, Failure>
    create(TapLinkType linkType = TapLinkType::Radiotap, const QString& namePattern = QStringLiteral("vantrel%d"));

    [[nodiscard]] QString name() const { return _name; }

    // One frame as received from the air, 14 to 4096 bytes, seen by every capture on the device before this returns.
    // Never waits. Fails when the device is down (EIO), was deleted (EBADFD) or the kernel is out of memory.
    [[nodiscard]] Expected<void> write(std::span<const std::uint8_t> frame);

    // Takes the link down or up; frames written while it is down are refused.
    [[nodiscard]] Expected<void> setUp(bool up);

private:
    TapDevice(FileDescriptor tap, QString name) : _tap(std::move(tap)), _name(std::move(name)) {}

    FileDescriptor _tap;
    QString _name;
};

} // namespace vantrel
