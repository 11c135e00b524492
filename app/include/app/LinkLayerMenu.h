// The choice of the link-layer header: what the device offers, which of it is chosen, and what the user chooses.
//
// Main thread.
#pragma once

#include "base/ThreadStarter.h"

#include <utility>
#include <vector>

namespace vantrel {

class CaptureSession;
class CWInterface;
struct DataLink;
class SettingsStore;

namespace ui {
class StatusMenu;
}

class LinkLayerMenu {
public:
    // All of it is borrowed and outlives this object.
    struct Surroundings {
        ui::StatusMenu& menu;
        SettingsStore& settings;
        CWInterface& airport;
        CaptureSession& session;
        ThreadStarter startCaptureThread = startOrdinaryThread; // of the thread that asks the device
    };

    explicit LinkLayerMenu(Surroundings surroundings) : _around(std::move(surroundings)) {}

    // Once, at the launch. Asks the device on a thread that may open it, and waits for the answer, which takes a
    // moment; without one the submenu is disabled.
    void populateLinkLayerHeaderSubmenu();

    // A device that was off at the launch could not be asked then; it is when it comes. Does nothing else.
    void adapterChanged();

    // A device that offered nothing is asked once more before a capture, which without a type could only fail.
    void captureWillStart();

    // Kept in the settings; takes effect at the next capture.
    void onLinkLayerHeader(int dlt);

private:
    [[nodiscard]] std::vector<DataLink> askDevice() const;

    const Surroundings _around;
    bool _wasOff = false; // when it was asked
};

} // namespace vantrel
