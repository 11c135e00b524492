#include "netlink/RadioKill.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/rfkill.h>
#include <unistd.h>

namespace vantrel::netlink {

namespace {

Q_LOGGING_CATEGORY(lcRadioKill, "vantrel.radio.rfkill")

// The number in a file of sysfs; nothing when it cannot be read, as when the radio has just gone.
std::optional<std::uint32_t> numberIn(const QString& path) {
    QFile file(path);
    bool isNumber = false;
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const auto number = file.readLine().trimmed().toUInt(&isNumber);
    return isNumber ? std::optional<std::uint32_t>(number) : std::nullopt;
}

// Radios can be renamed, so that the folder's name does not tell which it is.
std::optional<QDir> radioFolder(std::uint32_t wiphy, const QString& radios) {
    const QDir all(radios);
    for (const auto& name : all.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (numberIn(all.filePath(name + QStringLiteral("/index"))) == wiphy) {
            return QDir(all.filePath(name));
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<BlockState> blockState(std::uint32_t wiphy, const RadioKillPaths& paths) {
    const auto folder = radioFolder(wiphy, paths.radios);
    if (!folder) {
        return std::nullopt;
    }
    const auto prefix = QStringLiteral("rfkill");
    for (const auto& name : folder->entryList({prefix + QStringLiteral("[0-9]*")}, QDir::Dirs)) {
        bool isNumber = false;
        const auto index = name.mid(prefix.size()).toUInt(&isNumber);
        const auto soft = numberIn(folder->filePath(name + QStringLiteral("/soft")));
        const auto hard = numberIn(folder->filePath(name + QStringLiteral("/hard")));
        if (isNumber && soft && hard) {
            return BlockState{index, *soft != 0, *hard != 0};
        }
    }
    return std::nullopt;
}

Expected<void> setBlocked(std::uint32_t wiphy, bool blocked, const RadioKillPaths& paths) {
    const auto found = blockState(wiphy, paths);
    if (!found) {
        return failure(paths.device, QStringLiteral("the radio has no switch"));
    }
    const FileDescriptor device(::open(QFile::encodeName(paths.device).constData(), O_WRONLY | O_CLOEXEC));
    if (!device.isOpen()) {
        return errnoFailure(QStringLiteral("open ") + paths.device);
    }
    rfkill_event event{};
    event.idx = found->index;
    event.type = RFKILL_TYPE_WLAN;
    event.op = RFKILL_OP_CHANGE;
    event.soft = blocked ? 1 : 0;
    ssize_t written = 0;
    do {
        written = ::write(device.get(), &event, sizeof event);
    } while (written < 0 && errno == EINTR);
    if (written < 0) {
        return errnoFailure(QStringLiteral("write to ") + paths.device);
    }
    // The write succeeds even when the driver refuses, or when the radio has just gone.
    const auto now = blockState(wiphy, paths);
    if (!now || now->soft != blocked) {
        return failure(paths.device, QStringLiteral("the radio did not follow its switch"));
    }
    return {};
}

Expected<std::unique_ptr<RadioKillEvents>> RadioKillEvents::open(const RadioKillPaths& paths) {
    FileDescriptor device(::open(QFile::encodeName(paths.device).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!device.isOpen()) {
        return errnoFailure(QStringLiteral("open ") + paths.device);
    }
    std::unique_ptr<RadioKillEvents> events(new RadioKillEvents(std::move(device)));
    static_cast<void>(events->drain()); // begins with every switch that there is
    return events;
}

bool RadioKillEvents::drain() {
    bool changed = false;
    for (;;) {
        std::array<unsigned char, 64> event{}; // one read, one event, as long as the kernel makes it
        const ssize_t size = ::read(_descriptor.get(), event.data(), event.size());
        if (size > 0) {
            changed = true;
        } else if (size == 0) {
            return changed;
        } else if (errno != EINTR) {
            if (errno != EAGAIN) {
                qCWarning(lcRadioKill).noquote() << Error::fromErrno(QStringLiteral("read /dev/rfkill")).text();
            }
            return changed;
        }
    }
}

} // namespace vantrel::netlink
