// Every text of the tray's menu, each in this one place. "&" marks the key of a title; %1 and %2 are filled in.
#pragma once

#include <QCoreApplication>
#include <QStringView>

namespace vantrel::ui::texts {

inline constexpr QStringView menuName = u"Vantrel"; // for screen readers

inline constexpr QStringView associated = u"" QT_TRANSLATE_NOOP("vantrel", "Status: Associated");
inline constexpr QStringView notAssociated = u"" QT_TRANSLATE_NOOP("vantrel", "Status: Not associated");
inline constexpr QStringView off = u"" QT_TRANSLATE_NOOP("vantrel", "Status: Off");
inline constexpr QStringView channelLine = u"" QT_TRANSLATE_NOOP("vantrel", "Channel: %1 (%2)");
inline constexpr QStringView channelWidthLine = u"" QT_TRANSLATE_NOOP("vantrel", "Channel Width: %1 MHz");
inline constexpr QStringView disconnectFrom = u"" QT_TRANSLATE_NOOP("vantrel", "Disconnect from %1");
inline constexpr QStringView turnOff = u"" QT_TRANSLATE_NOOP("vantrel", "Turn Wi-Fi Off");
inline constexpr QStringView turnOn = u"" QT_TRANSLATE_NOOP("vantrel", "Turn Wi-Fi On");

inline constexpr QStringView band2Dot4GHz = u"" QT_TRANSLATE_NOOP("vantrel", "2.4 GHz");
inline constexpr QStringView band5GHz = u"" QT_TRANSLATE_NOOP("vantrel", "5 GHz");
inline constexpr QStringView width20MHz = u"" QT_TRANSLATE_NOOP("vantrel", "20 MHz");
inline constexpr QStringView width40MHz = u"" QT_TRANSLATE_NOOP("vantrel", "40 MHz");
inline constexpr QStringView width80MHz = u"" QT_TRANSLATE_NOOP("vantrel", "80 MHz");
inline constexpr QStringView width160MHz = u"" QT_TRANSLATE_NOOP("vantrel", "160 MHz");

inline constexpr QStringView channelSubmenu = u"" QT_TRANSLATE_NOOP("vantrel", "Cha&nnel");
inline constexpr QStringView channelWidthSubmenu = u"" QT_TRANSLATE_NOOP("vantrel", "Channel &Width");
inline constexpr QStringView linkLayerHeaderSubmenu = u"" QT_TRANSLATE_NOOP("vantrel", "&Link-Layer Header");
inline constexpr QStringView unnamedLinkLayerHeader =
    u"" QT_TRANSLATE_NOOP("vantrel", "DLT %1"); // of a type that libpcap does not describe

inline constexpr QStringView singleChannelHeading = u"" QT_TRANSLATE_NOOP("vantrel", "Single Channel");
inline constexpr QStringView capture = u"" QT_TRANSLATE_NOOP("vantrel", "&Capture on Current Channel");
inline constexpr QStringView captureOther2Dot4GHz = u"" QT_TRANSLATE_NOOP("vantrel", "Capture on &2.4 GHz Channel");
inline constexpr QStringView captureOther5GHz = u"" QT_TRANSLATE_NOOP("vantrel", "Capture on &5 GHz Channel");
inline constexpr QStringView noChannels =
    u"" QT_TRANSLATE_NOOP("vantrel", "This adapter has no channels in this band.");

inline constexpr QStringView multipleChannelsHeading = u"" QT_TRANSLATE_NOOP("vantrel", "Multiple Channels");
inline constexpr QStringView captureAll2Dot4GHz = u"" QT_TRANSLATE_NOOP("vantrel", "Capture All 2.&4 GHz Channels");
inline constexpr QStringView captureAll5GHz = u"" QT_TRANSLATE_NOOP("vantrel", "Capture All 5 &GHz Channels");
inline constexpr QStringView captureAll = u"" QT_TRANSLATE_NOOP("vantrel", "Capture &All Channels");
inline constexpr QStringView captureCustom = u"" QT_TRANSLATE_NOOP("vantrel", "Capture Custo&m Channels…");

inline constexpr QStringView upload = u"" QT_TRANSLATE_NOOP("vantrel", "&Upload Capture");
inline constexpr QStringView uploadToCloudShark = u"" QT_TRANSLATE_NOOP("vantrel", "To &CloudShark…");
inline constexpr QStringView uploadToMojoPackets = u"" QT_TRANSLATE_NOOP("vantrel", "To &Mojo Packets…");
inline constexpr QStringView configureServices = u"" QT_TRANSLATE_NOOP("vantrel", "Configure &Services…");

inline constexpr QStringView preferences = u"" QT_TRANSLATE_NOOP("vantrel", "&Preferences…");
inline constexpr QStringView launchAtLogin = u"" QT_TRANSLATE_NOOP("vantrel", "Launch at Log&in");
inline constexpr QStringView help = u"" QT_TRANSLATE_NOOP("vantrel", "&Help");
inline constexpr QStringView about = u"" QT_TRANSLATE_NOOP("vantrel", "A&bout Vantrel");
inline constexpr QStringView quit = u"" QT_TRANSLATE_NOOP("vantrel", "&Quit");

} // namespace vantrel::ui::texts
