#include "ScriptedControl.h"

#include <algorithm>
#include <utility>

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

Expected<void> ScriptedControl::setManaged(const QString&, bool toBeManaged) {
    auto done = call(toBeManaged ? "managed" : "unmanaged");
    if (done) {
        managed = toBeManaged;
    }
    return done;
}

std::vector<std::uint64_t> ScriptedControl::p2pDevices(std::uint32_t) {
    std::vector<std::uint64_t> devices;
    for (const auto& [device, started] : p2p) {
        devices.push_back(device);
    }
    return devices;
}

Expected<bool> ScriptedControl::stopP2pDevice(std::uint64_t device) {
    return call("stop p2p " + std::to_string(device)).map([&] { return std::exchange(p2p[device], false); });
}

Expected<void> ScriptedControl::startP2pDevice(std::uint64_t device) {
    auto done = call("start p2p " + std::to_string(device));
    if (done && isBlocked(0)) {
        return failure(QStringLiteral("NL80211_CMD_START_P2P_DEVICE"),
                       QStringLiteral("Operation not possible due to RF-kill"));
    }
    if (done) {
        p2p[device] = true;
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
