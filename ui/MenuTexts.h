// Every text of the tray's menu, each in this one place. "&" marks the key of a title; %1 and %2 are filled in.
#pragma once

#include <QStringView>

namespace vantrel::ui::texts {

inline constexpr QStringView menuName = u"Vantrel"; // for screen readers

inline constexpr QStringView associated = u"Status: Associated";
inline constexpr QStringView notAssociated = u"Status: Not associated";
inline constexpr QStringView off = u"Status: Off";
inline constexpr QStringView channelLine = u"Channel: %1 (%2)";
inline constexpr QStringView channelWidthLine = u"Channel Width: %1 MHz";
inline constexpr QStringView disconnectFrom = u"Disconnect from %1";
inline constexpr QStringView turnOff = u"Turn Wi-Fi Off";
inline constexpr QStringView turnOn = u"Turn Wi-Fi On";

inline constexpr QStringView band2Dot4GHz = u"2.4 GHz";
inline constexpr QStringView band5GHz = u"5 GHz";
inline constexpr QStringView width20MHz = u"20 MHz";
inline constexpr QStringView width40MHz = u"40 MHz";
inline constexpr QStringView width80MHz = u"80 MHz";
inline constexpr QStringView width160MHz = u"160 MHz";

inline constexpr QStringView channelSubmenu = u"Cha&nnel";
inline constexpr QStringView channelWidthSubmenu = u"Channel &Width";
inline constexpr QStringView linkLayerHeaderSubmenu = u"&Link-Layer Header";
inline constexpr QStringView unnamedLinkLayerHeader = u"DLT %1"; // of a type that libpcap does not describe

inline constexpr QStringView singleChannelHeading = u"Single Channel";
inline constexpr QStringView capture = u"&Capture on Current Channel";
inline constexpr QStringView captureOther2Dot4GHz = u"Capture on &2.4 GHz Channel";
inline constexpr QStringView captureOther5GHz = u"Capture on &5 GHz Channel";
inline constexpr QStringView noChannels = u"This adapter has no channels in this band.";

inline constexpr QStringView multipleChannelsHeading = u"Multiple Channels";
inline constexpr QStringView captureAll2Dot4GHz = u"Capture All 2.&4 GHz Channels";
inline constexpr QStringView captureAll5GHz = u"Capture All 5 &GHz Channels";
inline constexpr QStringView captureAll = u"Capture &All Channels";
inline constexpr QStringView captureCustom = u"Capture Custo&m Channels…";

inline constexpr QStringView upload = u"&Upload Capture";
inline constexpr QStringView uploadToCloudShark = u"To &CloudShark…";
inline constexpr QStringView uploadToMojoPackets = u"To &Mojo Packets…";
inline constexpr QStringView configureServices = u"Configure &Services…";

inline constexpr QStringView preferences = u"&Preferences…";
inline constexpr QStringView launchAtLogin = u"Launch at Log&in";
inline constexpr QStringView help = u"&Help";
inline constexpr QStringView about = u"A&bout Vantrel";
inline constexpr QStringView quit = u"&Quit";

} // namespace vantrel::ui::texts
