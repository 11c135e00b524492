// Settles the adapter's membership of a network before a capture: asks, disconnects, and remembers to reconnect. Also
// the power and disconnect commands, and the wait for the network after a capture.
//
// Main thread, save waitToReconnect().
#pragma once

#include <chrono>
#include <functional>

namespace vantrel {

class AdapterRestore;
class CWInterface;
class SettingsStore;
class WiFiDialogs;

class Association {
public:
    // All of it is borrowed and outlives this object.
    struct Surroundings {
        SettingsStore& settings;
        CWInterface& airport;
        AdapterRestore& restore;
        WiFiDialogs& dialogs;
    };
    using Sleep = std::function<void(std::chrono::milliseconds)>;

    // The sleep is called on the thread that waits.
    explicit Association(const Surroundings& surroundings, Sleep sleep = sleepOnThisThread);

    // Whether an operation that needs the adapter free of a network may go on. Disconnects it, with the user's consent
    // unless that was given for good ("ShowDisconnectAlert"), and then notes that it must be reconnected.
    [[nodiscard]] bool checkIfAssociated();

    // Tells once in a lifetime where capture files go ("FirstTimeCapture"); whether the capture may go on.
    [[nodiscard]] bool checkFirstTimeCapture();

    // Leaves the network, and notes nothing: it was the user's wish.
    void onDisassociate();

    // Switches the power to what it is not. A refusal is logged.
    void onTurnOnOff();

    // Any thread, which it blocks for 4 to 10 s: waits until the adapter is back in a network, but at most 6 s, and
    // then for the network to settle.
    void waitToReconnect() const;

    static void sleepOnThisThread(std::chrono::milliseconds time);

private:
    [[nodiscard]] bool askToDisconnect();
    void disconnectForNow();

    const Surroundings _around;
    const Sleep _sleep;
};

} // namespace vantrel
