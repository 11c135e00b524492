#include "RadioState.h"

#include "Logging.h"
#include "simulated/Neighbourhood.h"
#include "wifi/ChannelMath.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace vantrel {

namespace {

constexpr std::chrono::milliseconds tuningTime{2}; // what radios take to settle on a channel

std::vector<CWChannel> ownChannels() {
    constexpr std::array low = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    constexpr std::array high = {36,  40,  44,  48,  52,  56,  60,  64,  100, 104, 108, 112, 116,
                                 120, 124, 128, 132, 136, 140, 144, 149, 153, 157, 161, 165};
    auto channels = channelsWithin(low, bandTwoDotFourGHz, width40MHz);
    const auto further = channelsWithin(high, bandFiveGHz, width160MHz);
    channels.insert(channels.end(), further.begin(), further.end());
    return channels;
}

std::vector<CWChannel> sorted(std::vector<CWChannel> channels) {
    std::sort(channels.begin(), channels.end(), [](const CWChannel& left, const CWChannel& right) {
        return std::tie(left.channelBand, left.channelNumber, left.channelWidth) <
               std::tie(right.channelBand, right.channelNumber, right.channelWidth);
    });
    return channels;
}

unsigned loadFromEnvironment() {
    constexpr auto variable = "VANTREL_RADIO_LOAD";
    if (!qEnvironmentVariableIsSet(variable)) {
        return 0;
    }
    bool valid = false;
    const unsigned load = qgetenv(variable).toUInt(&valid);
    if (!valid) {
        qCWarning(lcSimulated, "%s is not a number of frames per second: ignored", variable);
    }
    return load;
}

const QString setChannelCall = QStringLiteral("setWLANChannel");

} // namespace

struct RadioState::Snapshot {
    bool power;
    CWInterfaceMode mode;
    bool associated;
};

RadioState::RadioState(const SimulatedOptions& options)
    : _supported(options.supportedChannels ? sorted(*options.supportedChannels) : ownChannels()),
      _rejoinDelay(options.rejoinDelay),
      _air(std::make_shared<const Air>(neighbourhood(), options.seed,
                                       options.loadFramesPerSecond ? *options.loadFramesPerSecond
                                                                   : loadFromEnvironment())),
      _associated(options.startAssociated),
      _events(name()) {
    const CWChannel home = homeNetwork().channel;
    if (_associated || std::find(_supported.begin(), _supported.end(), home) != _supported.end()) {
        _channel = home;
    } else if (!_supported.empty()) {
        _channel = _supported.front();
    }
}

RadioState::~RadioState() { _events.cancel(); }

QString RadioState::name() { return QStringLiteral("wlansim0"); }

CWInterfaceMode RadioState::modeLocked() const {
    if (!_power) {
        return CWInterfaceMode::None;
    }
    if (_associated) {
        return CWInterfaceMode::Station;
    }
    return _players.empty() ? CWInterfaceMode::None : CWInterfaceMode::Monitor;
}

CWInterfaceMode RadioState::mode() const {
    const std::lock_guard lock(_mutex);
    return modeLocked();
}

QString RadioState::ssid() const {
    const std::lock_guard lock(_mutex);
    const auto ssid = homeNetwork().ssid;
    return _associated ? QString::fromUtf8(ssid.data(), static_cast<qsizetype>(ssid.size())) : QString();
}

std::optional<CWChannel> RadioState::channel() const {
    const std::lock_guard lock(_mutex);
    return _power ? _channel : std::nullopt;
}

bool RadioState::powerOn() const {
    const std::lock_guard lock(_mutex);
    return _power;
}

Expected<void> RadioState::whyNotTunable(const CWChannel& channel) const {
    if (!_power) {
        return failure(setChannelCall, QStringLiteral("the adapter is switched off"));
    }
    if (_associated) {
        return failure(setChannelCall, QStringLiteral("the adapter is busy: it is connected to a network"));
    }
    if (std::find(_supported.begin(), _supported.end(), channel) == _supported.end()) {
        return failure(setChannelCall, QStringLiteral("the adapter does not support this channel"));
    }
    return {};
}

Expected<void> RadioState::tune(const CWChannel& channel) {
    const std::lock_guard tuning(_tuningMutex);
    {
        const std::lock_guard lock(_mutex);
        if (auto tunable = whyNotTunable(channel); !tunable) {
            return tunable;
        }
        _tuning = true;
        retunePlayers();
    }
    std::this_thread::sleep_for(tuningTime);
    const std::lock_guard lock(_mutex);
    _tuning = false;
    auto tunable = whyNotTunable(channel); // things may have changed meanwhile
    if (tunable) {
        _channel = channel;
    }
    retunePlayers();
    return tunable;
}

void RadioState::setPower(bool on) {
    const std::lock_guard lock(_mutex);
    if (_power == on) {
        return;
    }
    const Snapshot before = snapshot();
    _power = on;
    _associated = false;
    if (on) {
        scheduleRejoin();
    } else {
        _rejoinDue = false;
        _events.cancel();
    }
    retunePlayers();
    announceSince(before);
}

void RadioState::disassociate() {
    const std::lock_guard lock(_mutex);
    const Snapshot before = snapshot();
    _associated = false;
    announceSince(before);
}

Expected<std::unique_ptr<AirPlayer>> RadioState::addPlayer(std::unique_ptr<FrameSink> sink) {
    auto player = std::make_unique<AirPlayer>(_air, _epoch, std::move(sink));
    const std::lock_guard lock(_mutex);
    if (!_power) {
        return failure(QStringLiteral("beginMonitorMode"), QStringLiteral("the adapter is switched off"));
    }
    const Snapshot before = snapshot();
    _players.push_back(player.get());
    retunePlayers();
    announceSince(before);
    return player;
}

void RadioState::removePlayer(const AirPlayer& player) {
    const std::lock_guard lock(_mutex);
    const Snapshot before = snapshot();
    std::erase(_players, &player);
    announceSince(before);
}

RadioState::Snapshot RadioState::snapshot() const { return {_power, modeLocked(), _associated}; }

void RadioState::announceSince(const Snapshot& before) {
    if (before.power != _power) {
        _events.post(CWEventType::PowerDidChange);
    }
    if (before.mode != modeLocked()) {
        _events.post(CWEventType::ModeDidChange);
    }
    if (before.associated != _associated) {
        _events.post(CWEventType::SSIDDidChange);
        _events.post(CWEventType::BSSIDDidChange);
    }
}

void RadioState::retunePlayers() {
    for (auto* player : _players) {
        player->tune(_power && !_tuning ? _channel : std::nullopt);
    }
}

void RadioState::scheduleRejoin() {
    _rejoinDue = true;
    const std::uint64_t request = ++_rejoinRequest;
    _events.schedule(EventThread::Clock::now() + _rejoinDelay, [this, request] { rejoin(request); });
}

void RadioState::rejoin(std::uint64_t request) {
    const std::lock_guard lock(_mutex);
    if (!_rejoinDue || request != _rejoinRequest) {
        return;
    }
    const Snapshot before = snapshot();
    _rejoinDue = false;
    _associated = true;
    _channel = homeNetwork().channel;
    retunePlayers();
    announceSince(before);
}

} // namespace vantrel
