#include "wifi/Association.h"

#include "WiFiTexts.h"
#include "base/Translated.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "wifi/AdapterRestore.h"
#include "wifi/CWInterface.h"
#include "wifi/WiFiSurroundings.h"

#include <QDir>
#include <QFileInfo>
#include <thread>
#include <utility>

namespace vantrel {

namespace {

using namespace std::chrono_literals;

constexpr QLatin1StringView desktopFolderName{"Desktop"};
constexpr auto reconnectStep = 250ms;
constexpr auto longestReconnect = 6000ms;
constexpr auto settlingTime = 4000ms; // addresses and routes come after the association

} // namespace

Association::Association(const Surroundings& surroundings, Sleep sleep)
    : _around(surroundings),
      _sleep(std::move(sleep)) {}

void Association::sleepOnThisThread(std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }

bool Association::checkIfAssociated() {
    if (!_around.airport.isAssociated()) {
        _around.restore.setShouldReconnect(false);
        return true;
    }
    if (_around.settings.boolForKey(keys::ShowDisconnectAlert) && !askToDisconnect()) {
        return false;
    }
    disconnectForNow();
    return true;
}

bool Association::askToDisconnect() {
    const auto answer =
        _around.dialogs.ask({.style = WiFiDialogs::Style::Critical,
                             .messageText = translated(texts::connected),
                             .informativeText = translated(texts::connectedInfo).arg(_around.airport.ssid()),
                             .firstButton = translated(texts::disconnect),
                             .secondButton = translated(texts::stayConnected),
                             .hasSuppression = true});
    _around.settings.setBool(keys::ShowDisconnectAlert, !answer.isSuppressed);
    return answer.isFirstButton;
}

void Association::disconnectForNow() {
    onDisassociate();
    _around.restore.setShouldReconnect(true);
}

bool Association::checkFirstTimeCapture() {
    auto& settings = _around.settings;
    if (!settings.boolForKey(keys::FirstTimeCapture)) {
        return true;
    }
    settings.setBool(keys::FirstTimeCapture, false); // before the question: it is asked once, whatever the answer
    const QString location = QDir::cleanPath(settings.stringForKey(keys::CaptureFilesLocation));
    if (QFileInfo(location).fileName() != desktopFolderName) {
        return true;
    }
    return _around.dialogs
        .ask({.style = WiFiDialogs::Style::Informational,
              .messageText = translated(texts::firstCapture),
              .informativeText = translated(texts::firstCaptureInfo),
              .firstButton = translated(texts::startCapture),
              .secondButton = translated(texts::cancel)})
        .isFirstButton;
}

void Association::onDisassociate() { _around.airport.disassociate(); }

void Association::onTurnOnOff() {
    if (const auto switched = _around.airport.setPower(!_around.airport.powerOn()); !switched) {
        qCWarning(lcWifi, texts::setPowerFailed, qUtf8Printable(switched.error().text()));
    }
}

void Association::waitToReconnect() const {
    if (!_around.airport.isAssociated()) {
        auto waited = 0ms;
        do {
            _sleep(reconnectStep);
            waited += reconnectStep;
        } while (!_around.airport.isAssociated() && waited < longestReconnect);
    }
    _sleep(settlingTime);
}

} // namespace vantrel
