// Every text of the preferences that stands in no interface file, each in this one place; %1 and %2 are filled in.
#pragma once

#include <QCoreApplication>

namespace vantrel::preferences::texts {

inline constexpr char general[] = QT_TRANSLATE_NOOP("vantrel", "General");
inline constexpr char advanced[] = QT_TRANSLATE_NOOP("vantrel", "Advanced");
inline constexpr char services[] = QT_TRANSLATE_NOOP("vantrel", "Services");

inline constexpr char cloudShark[] = QT_TRANSLATE_NOOP("vantrel", "CloudShark");
inline constexpr char cloudSharkMissing[] = QT_TRANSLATE_NOOP("vantrel", "CloudShark (not configured)");
inline constexpr char mojoPackets[] = QT_TRANSLATE_NOOP("vantrel", "Mojo Packets");
inline constexpr char mojoPacketsMissing[] = QT_TRANSLATE_NOOP("vantrel", "Mojo Packets (not configured)");
inline constexpr char desktop[] = QT_TRANSLATE_NOOP("vantrel", "Desktop");
inline constexpr char askForEachCapture[] = QT_TRANSLATE_NOOP("vantrel", "Ask for each capture");
inline constexpr char other[] = QT_TRANSLATE_NOOP("vantrel", "Other...");
inline constexpr char none[] = QT_TRANSLATE_NOOP("vantrel", "None");
inline constexpr char select[] = QT_TRANSLATE_NOOP("vantrel", "Select");
inline constexpr char application[] = "%1 (%2)";
inline constexpr char notFound[] = QT_TRANSLATE_NOOP("vantrel", "not found");
inline constexpr char selectApplication[] = QT_TRANSLATE_NOOP("vantrel", "Select an Application");
inline constexpr char applications[] = QT_TRANSLATE_NOOP("vantrel", "Applications (*.desktop)");
inline constexpr char noApplication[] = QT_TRANSLATE_NOOP("vantrel", "This application cannot be used.");
inline constexpr char noApplicationInfo[] =
    QT_TRANSLATE_NOOP("vantrel", "%1 does not describe an application that is installed here.");

inline constexpr char showsFolder[] = QT_TRANSLATE_NOOP("vantrel", "Show the folder in the file viewer");
inline constexpr char showsService[] = QT_TRANSLATE_NOOP("vantrel", "Show the service in the browser");
inline constexpr char nothingToShow[] =
    QT_TRANSLATE_NOOP("vantrel", "The place is chosen anew for each capture, so there is none to show.");
inline constexpr char noAddressToShow[] =
    QT_TRANSLATE_NOOP("vantrel", "The address of the service is not one that a browser can open.");

inline constexpr char noCustomChannels[] = QT_TRANSLATE_NOOP("vantrel", "None chosen yet");

inline constexpr char notAnAddress[] = QT_TRANSLATE_NOOP("vantrel", "This is not an address.");
inline constexpr char noScheme[] = QT_TRANSLATE_NOOP("vantrel", "Begin the address with https:// or http://.");
inline constexpr char notWeb[] =
    QT_TRANSLATE_NOOP("vantrel", "Only addresses that begin with https:// or http:// can be used.");
inline constexpr char noHost[] = QT_TRANSLATE_NOOP("vantrel", "The address names no server.");
inline constexpr char noAddress[] = QT_TRANSLATE_NOOP("vantrel", "Without an address nothing can be uploaded.");
inline constexpr char reachesNobody[] = QT_TRANSLATE_NOOP(
    "vantrel", "This address is a placeholder and reaches nobody. Enter the address of the service you use.");
inline constexpr char notEncrypted[] =
    QT_TRANSLATE_NOOP("vantrel", "Captures travel unencrypted to this address. Use https:// if the service offers it.");

inline constexpr char lacksChannel[] = QT_TRANSLATE_NOOP("vantrel", "This adapter does not have channel %1.");
inline constexpr char lacksNarrowChannel[] =
    QT_TRANSLATE_NOOP("vantrel", "This adapter has channel %1 only at more than 20 MHz.");
inline constexpr char lacksSome[] =
    QT_TRANSLATE_NOOP("vantrel", "Channels shown in grey cannot be chosen: this adapter does not have them at 20 MHz.");
inline constexpr char lacksAll[] = QT_TRANSLATE_NOOP("vantrel", "There is no adapter, so no channel can be chosen.");
inline constexpr char channelName[] = QT_TRANSLATE_NOOP("vantrel", "Channel %1");
inline constexpr char tooFewChannels[] =
    QT_TRANSLATE_NOOP("vantrel", "Choose at least two: a capture that cannot hop records nothing.");
inline constexpr char channelsChosen[] = QT_TRANSLATE_NOOP("vantrel", "%1 channels are chosen.");

} // namespace vantrel::preferences::texts
