#include "wifi/CaptureCommands.h"

#include "WiFiTexts.h"
#include "base/Translated.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "wifi/AdapterRestore.h"
#include "wifi/Association.h"
#include "wifi/CWInterface.h"
#include "wifi/ChannelTitle.h"

#include <algorithm>
#include <utility>

namespace vantrel {

// One command at a time: the tray menu stays usable while an alert of an earlier one stands open.
class CaptureCommands::Turn {
public:
    explicit Turn(bool& busy) : _busy(busy), _isMine(!std::exchange(busy, true)) {}
    ~Turn() {
        if (_isMine) {
            _busy = false;
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    [[nodiscard]] bool isMine() const { return _isMine; }

private:
    bool& _busy;
    const bool _isMine;
};

void CaptureCommands::onCapture() {
    const Turn turn(_busy);
    if (!turn.isMine() || !_around.starter.prepareCapture()) {
        return;
    }
    _around.restore.setShouldReconnect(false);
    if (!_around.association.checkFirstTimeCapture()) {
        return;
    }
    if (_around.settings.boolForKey(keys::AlwaysDisconnect)) {
        const auto current = _around.airport.wlanChannel();
        _around.restore.setCurrentChannel(current);
        if (!leaveNetworkUnasked(current)) {
            return;
        }
    }
    start(CaptureMode::SingleChannel);
}

void CaptureCommands::onCaptureOther(const CWChannel& channel) {
    const Turn turn(_busy);
    if (!turn.isMine() || !_around.starter.prepareCapture()) {
        return;
    }
    _around.restore.setShouldReconnect(false);
    if (!takeChannel(channel)) {
        return;
    }
    // Here the notice comes after the tuning, not before as in onCapture().
    if (!_around.association.checkFirstTimeCapture()) {
        putBack();
        return;
    }
    start(CaptureMode::SingleChannel);
}

bool CaptureCommands::takeChannel(const CWChannel& channel) {
    const auto current = _around.airport.wlanChannel();
    const bool isCurrent = current && channel.isEqualToChannel(*current);
    if (isCurrent && !_around.settings.boolForKey(keys::AlwaysDisconnect)) {
        return true;
    }
    _around.restore.setCurrentChannel(current);
    if (isCurrent) {
        return leaveNetworkUnasked(channel);
    }
    if (!_around.association.checkIfAssociated()) {
        _around.restore.setCurrentChannel({});
        return false;
    }
    return tuneOrForget(channel);
}

bool CaptureCommands::leaveNetworkUnasked(const std::optional<CWChannel>& channel) {
    if (!_around.airport.isAssociated()) {
        return true;
    }
    _around.association.onDisassociate();
    _around.restore.setShouldReconnect(true);
    return !channel || tuneOrForget(*channel);
}

// A refused tuning leaves the adapter where it was: there is nothing that a later capture should put back.
bool CaptureCommands::tuneOrForget(const CWChannel& channel) {
    const bool tuned = setCaptureChannel(channel);
    if (!tuned) {
        _around.restore.setCurrentChannel({});
    }
    return tuned;
}

void CaptureCommands::onCaptureAll2Dot4GHz() { captureAll(CaptureMode::All2Dot4GHz); }
void CaptureCommands::onCaptureAll5GHz() { captureAll(CaptureMode::All5GHz); }
void CaptureCommands::onCaptureAll() { captureAll(CaptureMode::AllChannels); }

void CaptureCommands::captureAll(CaptureMode mode) {
    const Turn turn(_busy);
    if (turn.isMine() && _around.starter.prepareCapture()) {
        startHopping(mode);
    }
}

void CaptureCommands::onCaptureCustom(CustomChannelsPanel& panel) {
    const Turn turn(_busy);
    if (!turn.isMine()) {
        return;
    }
    auto chosen = panel.chooseChannels();
    if (!chosen) {
        return;
    }
    _customChannels = std::move(*chosen);
    if (_around.starter.prepareCapture()) {
        startHopping(CaptureMode::Custom);
    }
}

void CaptureCommands::startHopping(CaptureMode mode) {
    if (!_around.association.checkIfAssociated()) {
        return;
    }
    if (!_around.association.checkFirstTimeCapture()) {
        putBack();
        return;
    }
    start(mode);
}

void CaptureCommands::start(CaptureMode mode) {
    if (!_around.starter.startCapture(mode)) {
        putBack();
    }
}

void CaptureCommands::putBack() {
    _around.restore.restoreChannel(_around.airport);
    _around.restore.reconnectIfDue(_around.airport);
}

bool CaptureCommands::setCaptureChannel(const CWChannel& channel) {
    if (_around.airport.setWLANChannel(channel)) {
        return true;
    }
    _around.dialogs.showCriticalAlertWithInfo(translated(texts::cannotCapture),
                                              translated(texts::cannotCaptureInfo).arg(channelTitle(channel)));
    _around.restore.reconnectIfDue(_around.airport);
    return false;
}

void CaptureCommands::onChannel(int channelNumber, bool alreadyChecked) {
    tuneFromMenu(alreadyChecked, [channelNumber](CWChannel channel) {
        channel.channelNumber = channelNumber;
        return channel;
    });
}

void CaptureCommands::onChannelWidth(int widthCode, bool alreadyChecked) {
    tuneFromMenu(alreadyChecked, [widthCode](CWChannel channel) {
        channel.channelWidth = widthCode;
        return channel;
    });
}

template <typename Wanted>
void CaptureCommands::tuneFromMenu(bool alreadyChecked, Wanted wanted) {
    const Turn turn(_busy);
    if (!turn.isMine() || alreadyChecked) {
        return;
    }
    const bool wasAssociated = _around.airport.isAssociated();
    if (!freeForTuning()) {
        return;
    }
    const CWChannel channel = wanted(_around.airport.wlanChannel().value_or(CWChannel{}));
    const bool tuned = tuneTo(channel.channelNumber, channel.channelWidth);
    // It left its network for nothing. A running capture reconnects it at its end.
    if (!tuned && wasAssociated && !_around.flags.capturing) {
        _around.restore.reconnectIfDue(_around.airport);
    }
    _around.view.updateStatusItem();
}

// The check clears the wish to reconnect of an adapter that is in no network; but one that a running capture took out
// of its network goes back at that capture's end, whatever channels the user listens to meanwhile.
bool CaptureCommands::freeForTuning() {
    const bool keepsWish = _around.flags.capturing && _around.restore.shouldReconnect();
    const bool isFree = _around.association.checkIfAssociated();
    if (isFree && keepsWish) {
        _around.restore.setShouldReconnect(true);
    }
    return isFree;
}

bool CaptureCommands::tuneTo(int channelNumber, int widthCode) {
    const auto supported = _around.airport.supportedWLANChannels();
    for (const CWChannel& channel : supported) {
        if (channel.channelNumber != channelNumber || channel.channelWidth != widthCode) {
            continue;
        }
        const auto tuned = _around.airport.setWLANChannel(channel);
        if (tuned) {
            return true;
        }
        qCWarning(lcWifi, texts::setWLANChannelFailed, qUtf8Printable(tuned.error().text()));
    }
    return std::ranges::any_of(supported, [&](const CWChannel& channel) {
        return channel.channelNumber == channelNumber && _around.airport.setWLANChannel(channel).has_value();
    });
}

} // namespace vantrel
