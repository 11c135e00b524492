// Every text of the Wi-Fi commands and the hop loop that is logged or shown, each in this one place.
#pragma once

#include <QCoreApplication>
#include <QLatin1StringView>
#include <QLoggingCategory>

namespace vantrel {

Q_DECLARE_LOGGING_CATEGORY(lcWifi)

namespace texts {

inline constexpr char setWLANChannelFailed[] = "setWLANChannel failed: %s";
inline constexpr char setPowerFailed[] = "setPower failed: %s";

inline constexpr QLatin1StringView connected{
    QT_TRANSLATE_NOOP("vantrel", "This operation cannot be done while connected to a network.")};
inline constexpr QLatin1StringView connectedInfo{QT_TRANSLATE_NOOP(
    "vantrel", "Do you want to disconnect from %1? Vantrel will attempt to reconnect after the capture is done.")};
inline constexpr QLatin1StringView disconnect{QT_TRANSLATE_NOOP("vantrel", "Disconnect")};
inline constexpr QLatin1StringView stayConnected{QT_TRANSLATE_NOOP("vantrel", "No")};

inline constexpr QLatin1StringView firstCapture{
    QT_TRANSLATE_NOOP("vantrel", "Capture files are automatically saved to your desktop.")};
inline constexpr QLatin1StringView firstCaptureInfo{QT_TRANSLATE_NOOP(
    "vantrel", "You can set a different default location by choosing Preferences from the app's menu.")};
inline constexpr QLatin1StringView startCapture{QT_TRANSLATE_NOOP("vantrel", "Start Capture")};
inline constexpr QLatin1StringView cancel{QT_TRANSLATE_NOOP("vantrel", "Cancel")};

inline constexpr QLatin1StringView cannotCapture{QT_TRANSLATE_NOOP("vantrel", "Cannot perform capture!")};
inline constexpr QLatin1StringView cannotCaptureInfo{QT_TRANSLATE_NOOP("vantrel", "Failed to set Wi-Fi to channel %1")};

inline constexpr QLatin1StringView channelTitle20MHz{"%1 (20 MHz)"};
inline constexpr QLatin1StringView channelTitle40MHz{"%1 (40 MHz)"};
inline constexpr QLatin1StringView channelTitle80MHz{"%1 (80 MHz)"};
inline constexpr QLatin1StringView channelTitle160MHz{"%1 (160 MHz)"};
inline constexpr QLatin1StringView channelTitleOfUnknownWidth{"%1"};

// The path of the system's network-setup tool, in base64.
inline constexpr char networkSetupTool[] = "L3Vzci9zYmluL25ldHdvcmtzZXR1cA==";
inline constexpr QLatin1StringView setAirportPower{"-setairportpower"};

} // namespace texts
} // namespace vantrel
