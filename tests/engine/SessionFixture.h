// What the capture session's tests put around it: recorders instead of windows, a clock that is turned by hand, and an
// adapter that leads to any network device.
#pragma once

#include "base/MainQueue.h"
#include "engine/CaptureSession.h"
#include "engine/PacketQueue.h"
#include "engine/Timers.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "wifi/AdapterRestore.h"
#include "wifi/CWInterface.h"

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vantrel::testing {

// Time stands still until advance().
class ManualTimers final : public Timers {
public:
    QDateTime now() const override { return _now; }
    void setNow(const QDateTime& now) { _now = now; }
    std::unique_ptr<Handle> after(std::chrono::milliseconds delay, std::function<void()> action) override;
    std::unique_ptr<Handle> every(std::chrono::milliseconds interval, std::function<void()> action) override;
    void advance(std::chrono::milliseconds step);
    [[nodiscard]] std::size_t running() const;
    // The delay of the one-shot timer started last.
    [[nodiscard]] std::chrono::milliseconds lastDelay() const { return _lastDelay; }

private:
    struct Entry;
    class EntryHandle;
    std::vector<std::shared_ptr<Entry>> _entries;
    std::chrono::milliseconds _elapsed{0};
    std::chrono::milliseconds _lastDelay{0};
    QDateTime _now = QDateTime(QDate(2026, 3, 4), QTime(21, 15, 2));
};

// An adapter that is one network device, in monitor mode or refusing it. Records what is done to it.
class DeviceInterface final : public CWInterface {
public:
    explicit DeviceInterface(QStringList& events) : _events(events) {}

    QString device;
    bool refusesMonitorMode = false;

    QString interfaceName() const override { return device; }
    CWInterfaceMode interfaceMode() const override { return CWInterfaceMode::None; }
    QString ssid() const override { return {}; }
    std::optional<CWChannel> wlanChannel() const override { return CWChannel{6, 1, 1}; }
    std::vector<CWChannel> supportedWLANChannels() const override { return {{6, 1, 1}}; }
    bool powerOn() const override { return true; }
    Expected<void> setWLANChannel(const CWChannel& channel) override;
    Expected<void> setPower(bool on) override;
    void disassociate() override {}
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse /*use*/) override;

private:
    QStringList& _events;
};

// Writes down what the session asks of the rest of the application, in order.
class Recorder final : public CaptureView, public UserDialogs, public ChannelHopper, public CaptureFinalizer {
public:
    QStringList events;
    QStringList finalizedPaths;
    std::optional<QString> chosenFolder;
    std::atomic<bool> finalizing = true; // whether files can be delivered
    bool keepsFiles = true;              // moves finished files aside, numbered

    void enableCaptures() override { events << QStringLiteral("enableCaptures"); }
    void disableCaptures() override { events << QStringLiteral("disableCaptures"); }
    void updateStatusItem() override { events << QStringLiteral("updateStatusItem"); }
    void startProgress() override { events << QStringLiteral("startProgress"); }
    void updateProgress() override { ++progressUpdates; }
    void closeProgress() override {}
    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override;
    std::optional<QString> chooseCaptureFolder() override;
    void startHopping(CaptureMode mode) override;
    void stopHopping() override;
    bool finalizeCaptureFile(const FinishedCapture& finished) override;

    // Frames of each file that was delivered, in order. Any thread.
    [[nodiscard]] std::vector<std::uint64_t> finalized() const;

    int progressUpdates = 0;
    std::atomic<int> attempts = 0; // deliveries tried
    bool lastReconnecting = false;
    QString lastLocation;
    QString lastPrefix;
    std::function<void()> whileChoosing; // runs while the folder chooser stands open
    std::function<void()> whileAlerting; // runs while an alert stands open
    std::function<void()> whileStopping; // runs while the hopping is stopped
    std::function<void()> whileFinalizing;

private:
    mutable std::mutex _mutex;
    std::vector<std::uint64_t> _finalizedFrames; // guarded by _mutex
};

class SessionFixture : public ::testing::Test {
protected:
    SessionFixture();
    ~SessionFixture() override;

    void set(QLatin1StringView key, std::int64_t value) { settings.setInteger(key, value); }
    // Prepares and starts; answers whether the capture runs (its device is open and it has said so).
    bool start(CaptureMode mode = CaptureMode::SingleChannel);
    bool waitIdle();
    [[nodiscard]] QString temporaryFile() const;
    [[nodiscard]] QStringList alerts() const { return recorder.events.filter(QStringLiteral("alert:")); }

    QTemporaryDir folder;
    SettingsStore settings{QDir(folder.path()).filePath(QStringLiteral("settings.json"))};
    MainQueue mainQueue;
    ManualTimers timers;
    CaptureFlags flags;
    AdapterRestore restore;
    std::atomic<int> batches = 0; // that the packet queue has begun
    PacketQueue packetQueue{[this] {
        settings.refresh();
        ++batches;
    }};
    Recorder recorder;
    DeviceInterface airport{recorder.events};
    std::unique_ptr<CaptureSession> session;
};

} // namespace vantrel::testing
