// Every text of a capture that is logged or shown, each in this one place.
#pragma once

#include "engine/DeviceTexts.h"

#include <QCoreApplication>
#include <QLatin1StringView>
#include <QLoggingCategory>

namespace vantrel {

Q_DECLARE_LOGGING_CATEGORY(lcCapture)

namespace texts {

inline constexpr char pcapOpenActivateFailed[] = "pcap_open_activate() failed for device %s: %s";
inline constexpr char pcapOpenDeadFailed[] = "pcap_open_dead() failed for file %s";
inline constexpr char pcapDumpOpenFailed[] = "pcap_dump_open() failed for file %s: %s";

inline constexpr QLatin1StringView noPermission{
    QT_TRANSLATE_NOOP("vantrel", "You don't have permission to capture on this device.")};
inline constexpr QLatin1StringView noPermissionInfo{QT_TRANSLATE_NOOP(
    "vantrel",
    "Go to System Preferences > Users & Groups and make sure you are a member of the group 'access_bpf'. You will need "
    "to log out and then log back in after making any changes.")};
inline constexpr QLatin1StringView noFrames{QT_TRANSLATE_NOOP("vantrel", "No frames were captured.")};
inline constexpr QLatin1StringView noFramesInfo{
    QT_TRANSLATE_NOOP("vantrel", "Make sure you set the correct Link-Layer Header type before starting a capture.")};

inline constexpr QLatin1StringView writeFailed{
    QT_TRANSLATE_NOOP("vantrel", "The capture was stopped because its file cannot be written.")};
inline constexpr QLatin1StringView writeFailedInfo{
    QT_TRANSLATE_NOOP("vantrel", "%1: %2. The %3 frames written before that are kept.")};
inline constexpr QLatin1StringView noFile{QT_TRANSLATE_NOOP("vantrel", "The capture has no file.")};
inline constexpr QLatin1StringView noFileInfo{
    QT_TRANSLATE_NOOP("vantrel", "The file %1 cannot be made. Frames are lost, and counted, without it.")};
inline constexpr QLatin1StringView noFolder{
    QT_TRANSLATE_NOOP("vantrel", "There is no safe place to write the capture file.")};

inline constexpr QLatin1StringView stillSaving{QT_TRANSLATE_NOOP("vantrel", "The last capture is still being saved.")};
inline constexpr QLatin1StringView stillSavingInfo{
    QT_TRANSLATE_NOOP("vantrel", "Start the next one when it is saved.")};
inline constexpr char framesNotWritten[] = "%lu frames were lost while there was no file to write them to";

inline constexpr QLatin1StringView prefix{"vantrel_%1"};
inline constexpr QLatin1StringView prefixTime{"yyyy-MM-dd_hh.mm.ss.AP"}; // a 12-hour clock with its marker
inline constexpr QLatin1StringView fileName{"%1.pcap"};

} // namespace texts
} // namespace vantrel
