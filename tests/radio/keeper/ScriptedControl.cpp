#include "ScriptedControl.h"

#include <algorithm>

namespace vantrel::testing {

void ScriptedControl::block(bool off) {
    blocked = off;
    for (auto& [index, isUp] : up) {
        isUp = isUp && !off;
    }
    associated = associated && !off;
}

std::optional<netlink::Association> ScriptedControl::association(int index) {
    if (index != stationIndex || !associated) {
        return {};
    }
    return netlink::Association{.bssid = {2, 0, 0, 0, 1, 0}, .ssid = QStringLiteral("lab")};
}

Expected<void> ScriptedControl::setLinkUp(int index, bool toBeUp) {
    auto done = call(name(index) + (toBeUp ? " up" : " down"));
    if (!done) {
        return done;
    }
    if (toBeUp && isBlocked(0)) {
        return failure(QStringLiteral("RTM_NEWLINK"), QStringLiteral("Operation not possible due to RF-kill"));
    }
    up[index] = toBeUp;
    if (index == stationIndex && !toBeUp) {
        associated = false;
    }
    return {};
}

Expected<void> ScriptedControl::setBlocked(std::uint32_t, bool off) {
    auto done = call(off ? "block" : "unblock");
    if (done) {
        block(off);
    }
    return done;
}

Expected<int> ScriptedControl::addMonitor(std::uint32_t wiphy, const QString& monitorName) {
    if (const auto done = call("add " + monitorName.toStdString()); !done) {
        return tl::unexpected(done.error());
    }
    const int index = ++_lastIndex;
    present.push_back({.index = index,
                       .name = monitorName,
                       .wiphy = wiphy,
                       .kind = netlink::InterfaceKind::Monitor,
                       .address = {},
                       .channel = {}});
    up[index] = false;
    return index;
}

Expected<void> ScriptedControl::removeInterface(int index) {
    auto done = call("remove " + name(index));
    if (done) {
        vanish(index);
    }
    return done;
}

Expected<void> ScriptedControl::setChannel(int index, const CWChannel& channel) {
    auto done = call("tune " + std::to_string(channel.channelNumber) + "/" + std::to_string(channel.channelWidth));
    if (done && (!up[index] || up[stationIndex])) {
        return failure(QStringLiteral("NL80211_CMD_SET_CHANNEL"), QStringLiteral("Device or resource busy"));
    }
    if (done) {
        tuned = channel;
    }
    return done;
}

Expected<void> ScriptedControl::setManaged(const QString&, bool managed) {
    auto done = call(managed ? "managed" : "unmanaged");
    if (done && device) {
        device->managed = managed;
    }
    return done;
}

Expected<void> ScriptedControl::setAutoconnect(const QString&, bool autoconnect) {
    auto done = call(autoconnect ? "autoconnect" : "no autoconnect");
    if (done && device) {
        device->autoconnect = autoconnect;
    }
    return done;
}

Expected<void> ScriptedControl::disconnect(const QString&) {
    auto done = call("disconnect");
    if (done) {
        associated = false;
    }
    return done;
}

std::string ScriptedControl::name(int index) const {
    const auto found = std::find_if(present.begin(), present.end(),
                                    [index](const auto& interface) { return interface.index == index; });
    return found == present.end() ? "?" : found->name.toStdString();
}

Expected<void> ScriptedControl::call(std::string what) {
    if (beforeCall) {
        beforeCall();
    }
    calls.push_back(std::move(what));
    const std::string& made = calls.back();
    for (const auto& [refused, why] : refusals) {
        if (made.starts_with(refused)) {
            return failure(QString::fromStdString(refused), why);
        }
    }
    return {};
}

} // namespace vantrel::testing
