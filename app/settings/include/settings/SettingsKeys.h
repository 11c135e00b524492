// The names of all settings, as they stand in the user's store, and the special values of some.
#pragma once

#include <QLatin1StringView>

namespace vantrel::keys {

// Registered with a default (see Defaults.h).
inline constexpr QLatin1StringView DwellTime{"DwellTime"}; // integer, milliseconds
inline constexpr QLatin1StringView DoNothing{"DoNothing"};
inline constexpr QLatin1StringView OpenInApplication{"OpenInApplication"};
inline constexpr QLatin1StringView OpenInApplicationPath{"OpenInApplicationPath"}; // path of a .desktop file
inline constexpr QLatin1StringView RunScript{"RunScript"};
inline constexpr QLatin1StringView LinkLayerHeader{"LinkLayerHeader"}; // libpcap data-link type
inline constexpr QLatin1StringView LimitCaptureFile{"LimitCaptureFile"};
inline constexpr QLatin1StringView LimitCaptureFileValue{"LimitCaptureFileValue"};
inline constexpr QLatin1StringView LimitCaptureFileUnits{"LimitCaptureFileUnits"}; // 0 KB, 1 MB, 2 s, 3 min, 4 frames
inline constexpr QLatin1StringView MaxCaptureFiles{"MaxCaptureFiles"};
inline constexpr QLatin1StringView RotateCaptureFiles{"RotateCaptureFiles"};
inline constexpr QLatin1StringView DisplayChannel{"DisplayChannel"};
inline constexpr QLatin1StringView DisplayChannelWidth{"DisplayChannelWidth"};
inline constexpr QLatin1StringView FirstTimeCapture{"FirstTimeCapture"};
inline constexpr QLatin1StringView CaptureFilesLocation{"CaptureFilesLocation"}; // folder, or a special value below
inline constexpr QLatin1StringView CaptureUNII1{"CaptureUNII1"};
inline constexpr QLatin1StringView CaptureUNII2{"CaptureUNII2"};
inline constexpr QLatin1StringView CaptureUNII2e{"CaptureUNII2e"};
inline constexpr QLatin1StringView CaptureUNII3{"CaptureUNII3"};
inline constexpr QLatin1StringView CloudSharkApplianceURL{"CloudSharkApplianceURL"};
inline constexpr QLatin1StringView MojoPacketsServiceURL{"MojoPacketsServiceURL"};
inline constexpr QLatin1StringView CustomChannelList{"CustomChannelList"}; // array of channel numbers
inline constexpr QLatin1StringView ShowDisconnectAlert{"ShowDisconnectAlert"};
inline constexpr QLatin1StringView ScriptList{"ScriptList"}; // array of paths
inline constexpr QLatin1StringView ScriptPanelAutoClose{"ScriptPanelAutoClose"};
inline constexpr QLatin1StringView ShowCaptureCompleteNotification{"ShowCaptureCompleteNotification"};

// Never registered: absent they read as NO or empty.
inline constexpr QLatin1StringView CloudSharkApplianceAPIToken{"CloudSharkApplianceAPIToken"};
inline constexpr QLatin1StringView MojoPacketsEmail{"MojoPacketsEmail"};
inline constexpr QLatin1StringView MojoPacketsAPIKey{"MojoPacketsAPIKey"};
inline constexpr QLatin1StringView AlwaysDisconnect{"AlwaysDisconnect"};
inline constexpr QLatin1StringView LastUsedScript{"LastUsedScript"};
inline constexpr QLatin1StringView SuppressNoOutputAlert{"SuppressNoOutputAlert"};
inline constexpr QLatin1StringView EnableAdaptivePacketSlicing{"EnableAdaptivePacketSlicing"};

// The state of the preferences window. %1 is a pane's identifier.
inline constexpr QLatin1StringView MASPreferencesFrameTopLeft{"MASPreferences Frame Top Left"}; // "{x, y}"
inline constexpr QLatin1StringView MASPreferencesPaneFrame{"MASPreferences %1 Frame"};          // "{{x, y}, {w, h}}"
inline constexpr QLatin1StringView MASPreferencesSelectedIdentifierView{"MASPreferences Selected Identifier View"};

} // namespace vantrel::keys

// CaptureFilesLocation holds one of these instead of a folder's path.
namespace vantrel::locations {
inline constexpr QLatin1StringView AskForEachCapture{"AskForEachCapture"};
inline constexpr QLatin1StringView CloudShark{"CloudShark"};
inline constexpr QLatin1StringView MojoPackets{"MojoPackets"};
} // namespace vantrel::locations
