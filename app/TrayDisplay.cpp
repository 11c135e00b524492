#include "app/TrayDisplay.h"

#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui/StatusItem.h"
#include "ui/StatusMenu.h"
#include "wifi/CWWiFiClient.h"

namespace vantrel {

void TrayDisplay::populateSubmenus() {
    const auto channels = _around.wifi.interface().supportedWLANChannels();
    _around.menu.populateChannelSubmenuWithChannels(channels);
    _around.menu.populateChannelWidthSubmenuWithChannels(channels);
    _around.menu.populateCaptureOtherSubmenus(channels);
}

void TrayDisplay::updateStatusItem() {
    const CWInterface& airport = _around.wifi.interface();
    _around.item.setNote(_around.wifi.backendNote());
    _around.item.setTitle({.powerOn = airport.powerOn(),
                           .channelNumber = static_cast<int>(airport.channelNumber()),
                           .channelWidthMHz = static_cast<int>(airport.channelWidth()),
                           .displayChannel = _around.settings.boolForKey(keys::DisplayChannel),
                           .displayChannelWidth = _around.settings.boolForKey(keys::DisplayChannelWidth),
                           .uploadProgress = _uploadProgress});
}

void TrayDisplay::updateStatusMenu() {
    const CWInterface& airport = _around.wifi.interface();
    _around.menu.updateStatusMenu({.powerOn = airport.powerOn(),
                                   .associated = airport.isAssociated(),
                                   .ssid = airport.ssid(),
                                   .channel = airport.wlanChannel().value_or(CWChannel{}),
                                   .channelWidthMHz = static_cast<int>(airport.channelWidth())});
    _around.menu.validate(isCloudSharkConfigured(_around.settings), isMojoPacketsConfigured(_around.settings));
}

void TrayDisplay::setUploadProgress(int percent) {
    _uploadProgress = percent;
    updateStatusItem();
}

void TrayDisplay::enableCaptures() {
    _around.menu.enableCaptures();
    _around.item.setCapturing(false);
    updateStatusMenu();
}

void TrayDisplay::disableCaptures() {
    _around.menu.disableCaptures();
    _around.item.setCapturing(true);
    updateStatusMenu();
}

} // namespace vantrel
