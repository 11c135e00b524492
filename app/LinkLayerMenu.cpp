#include "app/LinkLayerMenu.h"

#include "engine/CaptureDevice.h"
#include "engine/CaptureSession.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui/StatusMenu.h"
#include "wifi/CWInterface.h"

namespace vantrel {

void LinkLayerMenu::populateLinkLayerHeaderSubmenu() {
    _wasOff = !_around.airport.powerOn();
    const auto offered = askDevice();
    const int chosen = chooseDataLink(offered, _around.settings.integerForKey(keys::LinkLayerHeader));
    std::vector<ui::LinkLayerHeader> headers;
    headers.reserve(offered.size());
    for (const DataLink& type : offered) {
        headers.push_back({type.value, type.description});
    }
    _around.menu.populateLinkLayerHeaderSubmenu(headers, chosen);
    _around.session.setDataLinkType(chosen);
}

// Nothing that this thread waits for is waiting for the main one: the probe posts, and never waits for what it posted.
std::vector<DataLink> LinkLayerMenu::askDevice() const {
    std::vector<DataLink> offered;
    _around.startCaptureThread([this, &offered] { offered = offeredDataLinks(_around.airport); }).join();
    return offered;
}

void LinkLayerMenu::adapterChanged() {
    if (_wasOff && _around.airport.powerOn() && _around.session.state() == CaptureSession::State::Idle) {
        populateLinkLayerHeaderSubmenu();
    }
}

void LinkLayerMenu::captureWillStart() {
    constexpr int unset = 0;
    if (_around.session.dataLinkType() == unset && _around.session.state() == CaptureSession::State::Idle) {
        populateLinkLayerHeaderSubmenu();
    }
}

void LinkLayerMenu::onLinkLayerHeader(int dlt) {
    _around.session.setDataLinkType(dlt);
    _around.settings.setInteger(keys::LinkLayerHeader, dlt);
}

} // namespace vantrel
