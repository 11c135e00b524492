#include "simulated/TapDevice.h"

#include <QByteArray>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <optional>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantrel {

namespace {

// The largest frame of 802.11 with room for its radio header; ring buffers of older capture programs are cut by it.
constexpr int maximumTransmissionUnit = 4096;

ifreq requestFor(const QByteArray& name) {
    ifreq request{};
    std::memcpy(request.ifr_name, name.constData(),
                std::min(static_cast<std::size_t>(name.size()), sizeof request.ifr_name - 1));
    return request;
}

tl::unexpected<TapDevice::Failure> failed(const QString& call) {
    const int number = errno;
    return tl::unexpected<TapDevice::Failure>({Error::fromErrno(call), number});
}

FileDescriptor controlSocket() { return FileDescriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)); }

// Answers the name of the call that failed, with errno set; nothing when all went well.
std::optional<QString> changeFlag(const QString& name, bool up) {
    const FileDescriptor control = controlSocket();
    if (!control.isOpen()) {
        return QStringLiteral("socket");
    }
    auto request = requestFor(name.toUtf8());
    if (::ioctl(control.get(), SIOCGIFFLAGS, &request) < 0) {
        return QStringLiteral("SIOCGIFFLAGS");
    }
    const int flags = up ? request.ifr_flags | IFF_UP : request.ifr_flags & ~IFF_UP;
    request.ifr_flags = static_cast<short>(flags);
    if (::ioctl(control.get(), SIOCSIFFLAGS, &request) < 0) {
        return QStringLiteral("SIOCSIFFLAGS");
    }
    return std::nullopt;
}

std::optional<QString> setMaximumTransmissionUnit(const QString& name) {
    const FileDescriptor control = controlSocket();
    if (!control.isOpen()) {
        return QStringLiteral("socket");
    }
    auto request = requestFor(name.toUtf8());
    request.ifr_mtu = maximumTransmissionUnit;
    if (::ioctl(control.get(), SIOCSIFMTU, &request) < 0) {
        return QStringLiteral("SIOCSIFMTU");
    }
    return std::nullopt;
}

} // namespace

tl::expected<TapDevice, TapDevice::Failure> TapDevice::create(TapLinkType linkType, const QString& namePattern) {
    const QByteArray pattern = namePattern.toUtf8();
    if (pattern.size() >= IFNAMSIZ) {
        return tl::unexpected<Failure>(
            {{QStringLiteral("TUNSETIFF"), QStringLiteral("the device name is too long")}, 0});
    }
    FileDescriptor tap(::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!tap.isOpen()) {
        return failed(QStringLiteral("open /dev/net/tun"));
    }
    auto request = requestFor(pattern);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    if (::ioctl(tap.get(), TUNSETIFF, &request) < 0) {
        return failed(QStringLiteral("TUNSETIFF"));
    }
    const auto name = QString::fromLatin1(request.ifr_name);
    // The kernel takes the link type only while the device is down, as it is when new.
    if (::ioctl(tap.get(), TUNSETLINK, static_cast<unsigned long>(linkType)) < 0) {
        return failed(QStringLiteral("TUNSETLINK"));
    }
    if (const auto call = setMaximumTransmissionUnit(name)) {
        return failed(*call);
    }
    if (const auto call = changeFlag(name, true)) {
        return failed(*call);
    }
    return TapDevice(std::move(tap), name);
}

Expected<void> TapDevice::write(std::span<const std::uint8_t> frame) {
    for (;;) {
        const ssize_t written = ::write(_tap.get(), frame.data(), frame.size());
        if (written >= 0) {
            return {};
        }
        if (errno != EINTR) {
            return errnoFailure(QStringLiteral("write to ") + _name);
        }
    }
}

Expected<void> TapDevice::setUp(bool up) {
    if (const auto call = changeFlag(_name, up)) {
        return errnoFailure(*call);
    }
    return {};
}

} // namespace vantrel
