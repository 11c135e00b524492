// A client of fake_radio, and a delegate that keeps what it is told.
#pragma once

#include "FakeRequests.h"
#include "radio/RadioClient.h"
#include "support/LogCapture.h"

#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

namespace vantrel::testing {

class EventRecorder : public CWEventDelegate {
public:
    void bssidDidChangeForWiFiInterfaceWithName(const QString& name) override { note("bssid", name); }
    void powerStateDidChangeForWiFiInterfaceWithName(const QString& name) override { note("power", name); }
    void modeDidChangeForWiFiInterfaceWithName(const QString& name) override { note("mode", name); }
    void ssidDidChangeForWiFiInterfaceWithName(const QString& name) override { note("ssid", name); }

    // As "mode fake0", in order.
    [[nodiscard]] std::vector<std::string> events() const;
    // Answers whether so many came in time.
    [[nodiscard]] bool waitFor(std::size_t count) const;

private:
    void note(const char* event, const QString& name);

    mutable std::mutex _mutex;
    mutable std::condition_variable _noted;
    std::vector<std::string> _events; // guarded by _mutex
};

class RadioTest : public ::testing::Test {
protected:
    // As fake_radio takes it.
    static RadioOptions options(const char* behaviour, const QString& argument = {});
    // Makes the client; the test fails when that does.
    void start(const RadioOptions& options);
    void start(const char* behaviour, const QString& argument = {}) { start(options(behaviour, argument)); }
    // Monitors every type of event.
    void monitorAll(CWEventDelegate& delegate) const;

    [[nodiscard]] CWInterface& adapter() const { return _client->interface(); }
    [[nodiscard]] Expected<void> request(FakeRequest what) const {
        return adapter().setWLANChannel({what, bandFiveGHz, width20MHz});
    }
    // The process as it last announced itself; 0 when there is none.
    [[nodiscard]] int processId() const;
    // Answers whether another process than this has announced itself in time.
    [[nodiscard]] bool waitForAnother(int former) const;

    const LogCapture _log;
    std::unique_ptr<CWWiFiClient> _client;
};

// Whether it is a child of ours or a process of its own.
[[nodiscard]] bool exists(int processId);

} // namespace vantrel::testing
