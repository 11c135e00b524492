#include "keeper/KernelControl.h"

#include "Logging.h"
#include "NetworkManager.h"
#include "netlink/Links.h"
#include "netlink/RadioKill.h"

namespace vantrel {

namespace {

void logFailure(const Error& error) { qCWarning(lcKeeper, "%s", qUtf8Printable(error.text())); }

class KernelControl final : public AdapterControl {
public:
    explicit KernelControl(std::unique_ptr<netlink::Links> links) : _links(std::move(links)) {}

    std::optional<std::vector<netlink::WirelessInterface>> interfaces() override {
        if (!openNl80211()) {
            return std::vector<netlink::WirelessInterface>();
        }
        auto found = _nl80211->interfaces();
        if (!found) {
            logFailure(found.error());
            return {};
        }
        return std::move(*found);
    }

    std::vector<CWChannel> supportedChannels(std::uint32_t wiphy) override {
        if (!openNl80211()) {
            return {};
        }
        auto channels = _nl80211->supportedChannels(wiphy);
        if (!channels) {
            logFailure(channels.error());
            return {};
        }
        return std::move(*channels);
    }

    std::optional<netlink::Association> association(int interfaceIndex) override {
        if (!openNl80211()) {
            return {};
        }
        auto found = _nl80211->association(interfaceIndex);
        if (!found) {
            logFailure(found.error());
            return {};
        }
        return *found;
    }

    std::optional<bool> isLinkUp(int interfaceIndex) override {
        const auto up = _links->isUp(interfaceIndex);
        return up ? std::optional(*up) : std::nullopt; // a vanished interface is nothing to complain of
    }

    Expected<void> setLinkUp(int interfaceIndex, bool up) override { return _links->setUp(interfaceIndex, up); }

    bool isBlocked(std::uint32_t wiphy) override {
        const auto state = netlink::blockState(wiphy);
        return state && state->blocked();
    }

    Expected<void> setBlocked(std::uint32_t wiphy, bool blocked) override {
        return netlink::setBlocked(wiphy, blocked);
    }

    Expected<int> addMonitor(std::uint32_t wiphy, const QString& name) override {
        if (const auto opened = openNl80211(); !opened) {
            return tl::unexpected(opened.error());
        }
        return _nl80211->addMonitor(wiphy, name);
    }

    Expected<void> removeInterface(int interfaceIndex) override {
        if (auto opened = openNl80211(); !opened) {
            return opened;
        }
        return _nl80211->removeInterface(interfaceIndex);
    }

    Expected<void> setChannel(int monitorIndex, const CWChannel& channel) override {
        if (auto opened = openNl80211(); !opened) {
            return opened;
        }
        return _nl80211->setChannel(monitorIndex, channel);
    }

    std::vector<std::uint64_t> p2pDevices(std::uint32_t wiphy) override {
        if (!openNl80211()) {
            return {};
        }
        auto devices = _nl80211->p2pDevices(wiphy);
        if (!devices) {
            logFailure(devices.error());
            return {};
        }
        return std::move(*devices);
    }

    Expected<bool> stopP2pDevice(std::uint64_t device) override {
        if (const auto opened = openNl80211(); !opened) {
            return tl::unexpected(opened.error());
        }
        return _nl80211->stopP2pDevice(device);
    }

    Expected<void> startP2pDevice(std::uint64_t device) override {
        if (auto opened = openNl80211(); !opened) {
            return opened;
        }
        return _nl80211->startP2pDevice(device);
    }

    Expected<bool> isManaged(const QString& interfaceName) override { return _networkManager.isManaged(interfaceName); }
    Expected<void> setManaged(const QString& interfaceName, bool managed) override {
        return _networkManager.setManaged(interfaceName, managed);
    }

private:
    // The kernel's Wi-Fi comes with the driver of the first adapter.
    Expected<void> openNl80211() {
        if (_nl80211) {
            return {};
        }
        auto opened = netlink::Nl80211::open();
        if (!opened) {
            return tl::unexpected(opened.error());
        }
        _nl80211 = std::move(*opened);
        return {};
    }

    std::unique_ptr<netlink::Links> _links;
    std::unique_ptr<netlink::Nl80211> _nl80211; // empty as long as the kernel has no Wi-Fi
    NetworkManager _networkManager;
};

} // namespace

Expected<std::unique_ptr<AdapterControl>> makeKernelControl() {
    auto links = netlink::Links::open();
    if (!links) {
        return tl::unexpected(links.error());
    }
    return std::make_unique<KernelControl>(std::move(*links));
}

} // namespace vantrel
