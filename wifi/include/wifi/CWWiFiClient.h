// The machine's Wi-Fi service: gives the default adapter and announces its changes.
#pragma once

#include "base/Error.h"
#include "wifi/CWInterface.h"

namespace vantrel {

// The numbers are the service's own event codes.
enum class CWEventType { PowerDidChange = 1, SSIDDidChange = 2, BSSIDDidChange = 3, ModeDidChange = 7 };

// Receives the events that are monitored; called on any thread, so it only posts work.
class CWEventDelegate {
public:
    virtual ~CWEventDelegate() = default;
    virtual void bssidDidChangeForWiFiInterfaceWithName(const QString& name) = 0;
    virtual void powerStateDidChangeForWiFiInterfaceWithName(const QString& name) = 0;
    virtual void modeDidChangeForWiFiInterfaceWithName(const QString& name) = 0;
    virtual void ssidDidChangeForWiFiInterfaceWithName(const QString& name) = 0;
};

class CWWiFiClient {
public:
    virtual ~CWWiFiClient() = default;

    // The default adapter, owned by the client and valid as long as it lives.
    [[nodiscard]] virtual CWInterface& interface() = 0;

    // What stands behind this client, for the user: "simulated", "no Wi-Fi adapter", or empty for a
    // real one.
    [[nodiscard]] virtual QString backendNote() const = 0;

    // The delegate is borrowed: it must outlive the client or be replaced by nullptr. Main thread.
    virtual void setDelegate(CWEventDelegate* delegate) = 0;
    [[nodiscard]] virtual Expected<void> startMonitoringEventWithType(CWEventType type) = 0;
};

} // namespace vantrel
