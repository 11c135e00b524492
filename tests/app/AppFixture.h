// The whole application without its main(): in a home of its own, on no screen, with a Wi-Fi service of the test's
// choice.
#pragma once

#include "app/AppDelegate.h"
#include "simulated/SimulatedRadio.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace vantrel::testing {

// A Wi-Fi service that passes everything on to another and writes down what it is asked for, in order.
class RecordingClient final : public CWWiFiClient {
public:
    RecordingClient(std::unique_ptr<CWWiFiClient> inner, QStringList& events)
        : _inner(std::move(inner)),
          _events(events) {}

    [[nodiscard]] CWInterface& interface() override { return _inner->interface(); }
    [[nodiscard]] QString backendNote() const override { return note.isEmpty() ? _inner->backendNote() : note; }
    void setDelegate(CWEventDelegate* newDelegate) override;
    [[nodiscard]] Expected<void> startMonitoringEventWithType(CWEventType type) override;

    CWEventDelegate* delegate = nullptr; // borrowed, as the inner client's
    QString note;                        // in place of the inner client's
    bool refusesMonitoring = false;

private:
    const std::unique_ptr<CWWiFiClient> _inner;
    QStringList& _events;
};

// What libpcap reads in a capture file.
struct ReadCapture {
    int dataLinkType = -1;           // -1: not readable
    std::vector<QByteArray> packets; // in order
    bool isWhole = false;            // up to the end, without a torn record
};
[[nodiscard]] ReadCapture readCapture(const QString& path);

class AppFixture : public ::testing::Test {
protected:
    AppFixture();
    ~AppFixture() override;

    // The settings as another program left them, before the start.
    void storeSettings(const QByteArray& json) const;
    [[nodiscard]] QByteArray storedSettings() const;
    [[nodiscard]] QString path(const QString& name) const { return QDir(_folder.path()).filePath(name); }

    // Makes the application, with the simulated radio unless the test has set another `wifi` before.
    void make(const QString& version = QStringLiteral("2.1"));
    // Both stages of the start-up.
    void start();

    [[nodiscard]] QAction* command(const QString& title);
    [[nodiscard]] bool isEnabled(const QString& title) { return command(title)->isEnabled(); }
    // Through the menu, as a user does it; answers whether the capture runs.
    [[nodiscard]] bool startCapture();
    [[nodiscard]] bool waitForFrames(std::uint64_t atLeast = 5);
    // Until the capture has ended; whoever answers an alert of its end has been waited for.
    [[nodiscard]] bool waitIdle();
    // The capture files in the temporary folder.
    [[nodiscard]] QStringList temporaryFiles() const;
    // Those that were delivered to the Desktop folder.
    [[nodiscard]] QStringList savedFiles() const;

    // Presses this button of the next alert, should one come, after its check box if wanted, and writes down its texts.
    void answerAlert(const QString& button, bool ticksBox = false);

    QStringList events;      // what the Wi-Fi service was asked for
    QStringList alerts;      // "text | informative text" of those answered
    int trackingReports = 0; // sent
    int captureThreads = 0;  // started as such
    std::unique_ptr<CWWiFiClient> wifi;
    RecordingClient* client = nullptr; // owned by the application
    std::unique_ptr<AppDelegate> app;

private:
    [[nodiscard]] QStringList filesIn(const QString& name) const;

    QTemporaryDir _folder;
    std::vector<std::pair<QByteArray, std::optional<QByteArray>>> _environmentBefore;
};

} // namespace vantrel::testing
