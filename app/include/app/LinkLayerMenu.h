// The choice of the link-layer header: what the device offers, which of it is chosen, and what the user chooses.
//
// Main thread.
#pragma once

namespace vantrel {

class CaptureSession;
class CWInterface;
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
    };

    explicit LinkLayerMenu(const Surroundings& surroundings) : _around(surroundings) {}

    // Once, at the launch. Asks the device, which takes a moment; without an answer the submenu is disabled.
    void populateLinkLayerHeaderSubmenu();

    // A device that was off at the launch could not be asked then; it is when it comes. Does nothing else.
    void adapterChanged();

    // Kept in the settings; takes effect at the next capture.
    void onLinkLayerHeader(int dlt);

private:
    const Surroundings _around;
    bool _wasOff = false; // when it was asked
};

} // namespace vantrel
