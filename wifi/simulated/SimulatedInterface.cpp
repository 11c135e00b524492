#include "SimulatedInterface.h"

#include "Logging.h"

#include <sys/socket.h>

namespace vantrel {

namespace {

constexpr int streamBufferSize = 4 * 1024 * 1024; // about ten seconds of a busy channel; the kernel may allow less

// Where one monitor's frames come out.
struct Outlet {
    std::unique_ptr<FrameSink> sink;
    QString deviceName;    // empty for a stream
    FileDescriptor stream; // the reader's end
};

Expected<Outlet> makeTapOutlet() {
    auto device = TapDevice::create();
    if (!device) {
        return tl::unexpected(device.error().error);
    }
    const QString name = device->name();
    return Outlet{std::make_unique<TapSink>(std::move(*device)), name, {}};
}

Expected<Outlet> makeStreamOutlet() {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) < 0) {
        return errnoFailure(QStringLiteral("socketpair"));
    }
    FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    if (::setsockopt(writer.get(), SOL_SOCKET, SO_SNDBUF, &streamBufferSize, sizeof streamBufferSize) < 0) {
        const Error error = Error::fromErrno(QStringLiteral("SO_SNDBUF")); // only makes losses likelier
        qCWarning(lcSimulated, "SO_SNDBUF failed: %s", qUtf8Printable(error.why));
    }
    return Outlet{std::make_unique<StreamSink>(std::move(writer)), {}, std::move(reader)};
}

Expected<Outlet> makeOutlet(SimulatedTransport transport) {
    switch (transport) {
    case SimulatedTransport::Tap:
    case SimulatedTransport::Namespace:
        return makeTapOutlet();
    case SimulatedTransport::Stream:
        return makeStreamOutlet();
    }
    return failure(QStringLiteral("beginMonitorMode"), QStringLiteral("unknown transport"));
}

class SimulatedMonitor final : public MonitorMode {
public:
    SimulatedMonitor(std::shared_ptr<RadioState> state, std::unique_ptr<AirPlayer> player, QString deviceName,
                     FileDescriptor stream)
        : _state(std::move(state)),
          _player(std::move(player)),
          _deviceName(std::move(deviceName)),
          _stream(std::move(stream)) {}
    ~SimulatedMonitor() override { _state->removePlayer(*_player); }

    [[nodiscard]] QString deviceName() const override { return _deviceName; }
    [[nodiscard]] FileDescriptor takeStream() override { return std::move(_stream); }

private:
    const std::shared_ptr<RadioState> _state;
    const std::unique_ptr<AirPlayer> _player; // its thread ends, and with it the device, when this is destroyed
    const QString _deviceName;
    FileDescriptor _stream;
};

} // namespace

Expected<void> SimulatedInterface::setPower(bool on) {
    _state->setPower(on);
    return {};
}

Expected<std::unique_ptr<MonitorMode>> SimulatedInterface::beginMonitorMode(MonitorUse /*use*/) {
    if (!_state->powerOn()) { // asked first, lest a device come and go for nothing
        return failure(QStringLiteral("beginMonitorMode"), QStringLiteral("the adapter is switched off"));
    }
    auto outlet = makeOutlet(_transport);
    if (!outlet) {
        return tl::unexpected(outlet.error());
    }
    auto player = _state->addPlayer(std::move(outlet->sink));
    if (!player) {
        return tl::unexpected(player.error());
    }
    return std::make_unique<SimulatedMonitor>(_state, std::move(*player), outlet->deviceName,
                                              std::move(outlet->stream));
}

} // namespace vantrel
