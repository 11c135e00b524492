#include "SessionFixture.h"

#include "engine/CaptureTotals.h"
#include "support/EventLoop.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <unistd.h>
#include <utility>

namespace vantrel::testing {

using std::chrono::milliseconds;

struct ManualTimers::Entry {
    milliseconds due;
    milliseconds interval; // zero for one shot
    std::function<void()> action;
};

class ManualTimers::EntryHandle final : public Timers::Handle {
public:
    explicit EntryHandle(std::shared_ptr<Entry> entry) : _entry(std::move(entry)) {}
    ~EntryHandle() override { _entry->action = nullptr; }

private:
    std::shared_ptr<Entry> _entry;
};

std::unique_ptr<Timers::Handle> ManualTimers::after(milliseconds delay, std::function<void()> action) {
    _lastDelay = delay;
    _entries.push_back(std::make_shared<Entry>(Entry{_elapsed + delay, milliseconds(0), std::move(action)}));
    return std::make_unique<EntryHandle>(_entries.back());
}

std::unique_ptr<Timers::Handle> ManualTimers::every(milliseconds interval, std::function<void()> action) {
    _entries.push_back(std::make_shared<Entry>(Entry{_elapsed + interval, interval, std::move(action)}));
    return std::make_unique<EntryHandle>(_entries.back());
}

std::size_t ManualTimers::running() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(_entries, [](const auto& entry) { return entry->action != nullptr; }));
}

void ManualTimers::advance(milliseconds step) {
    _elapsed += step;
    _now = _now.addMSecs(step.count());
    const auto entries = _entries;
    for (const auto& entry : entries) {
        while (entry->action && entry->due <= _elapsed) {
            const auto action = entry->action;
            if (entry->interval.count() == 0) {
                entry->action = nullptr;
            }
            entry->due += entry->interval;
            action();
        }
    }
    std::erase_if(_entries, [](const auto& entry) { return entry->action == nullptr; });
}

namespace {

class DeviceMonitorMode final : public MonitorMode {
public:
    explicit DeviceMonitorMode(QString name) : _name(std::move(name)) {}
    QString deviceName() const override { return _name; }
    FileDescriptor takeStream() override { return {}; }

private:
    QString _name;
};

} // namespace

Expected<void> DeviceInterface::setWLANChannel(const CWChannel& channel) {
    _events << QStringLiteral("setWLANChannel %1").arg(channel.channelNumber);
    return {};
}

Expected<void> DeviceInterface::setPower(bool on) {
    _events << (on ? QStringLiteral("power on") : QStringLiteral("power off"));
    return {};
}

Expected<std::unique_ptr<MonitorMode>> DeviceInterface::beginMonitorMode(MonitorUse /*use*/) {
    if (refusesMonitorMode) {
        return failure(QStringLiteral("monitor mode"), QStringLiteral("refused"));
    }
    return std::make_unique<DeviceMonitorMode>(device);
}

void Recorder::showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) {
    events << QStringLiteral("alert: %1 | %2").arg(messageText, informativeText);
    if (whileAlerting) {
        std::exchange(whileAlerting, nullptr)();
    }
}

std::optional<QString> Recorder::chooseCaptureFolder() {
    events << QStringLiteral("chooseCaptureFolder");
    if (whileChoosing) {
        std::exchange(whileChoosing, nullptr)();
    }
    return chosenFolder;
}

void Recorder::startHopping(CaptureMode mode) {
    events << QStringLiteral("startHopping %1").arg(static_cast<int>(mode));
}

void Recorder::stopHopping() {
    events << QStringLiteral("stopHopping");
    if (whileStopping) {
        std::exchange(whileStopping, nullptr)();
    }
}

bool Recorder::finalizeCaptureFile(const FinishedCapture& finished) {
    finished.file.close();
    if (!finished.isRetry) {
        finished.totals.push(finished.file.frames(),
                             static_cast<std::uint64_t>(QFileInfo(finished.file.path()).size()));
    }
    ++attempts;
    if (whileFinalizing) {
        std::exchange(whileFinalizing, nullptr)();
    }
    if (!finalizing) {
        return false;
    }
    const std::lock_guard lock(_mutex);
    _finalizedFrames.push_back(finished.file.frames());
    lastReconnecting = finished.reconnecting;
    lastLocation = finished.location;
    lastPrefix = finished.prefix;
    if (keepsFiles) {
        const QString kept = QStringLiteral("%1.%2").arg(finished.file.path()).arg(finalizedPaths.size() + 1);
        finalizedPaths << kept;
        return QFile::rename(finished.file.path(), kept);
    }
    return true;
}

std::vector<std::uint64_t> Recorder::finalized() const {
    const std::lock_guard lock(_mutex);
    return _finalizedFrames;
}

SessionFixture::SessionFixture() {
    qputenv("TMPDIR", folder.path().toLocal8Bit());
    settings.registerDefaults({{keys::MaxCaptureFiles, 1},
                               {keys::RotateCaptureFiles, true},
                               {keys::LimitCaptureFileValue, 2048},
                               {keys::LinkLayerHeader, 127},
                               {keys::CaptureFilesLocation, folder.path()}});
    session = std::make_unique<CaptureSession>(CaptureSession::Surroundings{.settings = settings,
                                                                            .airport = airport,
                                                                            .flags = flags,
                                                                            .restore = restore,
                                                                            .mainQueue = mainQueue,
                                                                            .timers = timers,
                                                                            .packetQueue = packetQueue,
                                                                            .view = recorder,
                                                                            .dialogs = recorder,
                                                                            .hopper = recorder,
                                                                            .finalizer = recorder,
                                                                            .desktopFolder = folder.path()});
    session->setDataLinkType(127);
}

SessionFixture::~SessionFixture() {
    mainQueue.close();
    session.reset();
    qunsetenv("TMPDIR");
}

bool SessionFixture::start(CaptureMode mode) {
    return session->prepareCapture() && session->startCapture(mode) &&
           runUntil([this] { return session->state() != CaptureSession::State::Opening; }) && session->isCapturing();
}

bool SessionFixture::waitIdle() {
    // Posted behind the last step, so that everything the end has queued has run too.
    bool settled = false;
    return runUntil([this] { return session->state() == CaptureSession::State::Idle; }) &&
           (mainQueue.post([&] { settled = true; }), runUntil([&] { return settled; }));
}

QString SessionFixture::temporaryFile() const {
    const QDir temporary(QDir(folder.path()).filePath(QStringLiteral("vantrel-%1").arg(::geteuid())));
    const QStringList files = temporary.entryList({QStringLiteral("vantrel_*.pcap")}, QDir::Files);
    return files.isEmpty() ? QString() : temporary.filePath(files.first());
}

} // namespace vantrel::testing
