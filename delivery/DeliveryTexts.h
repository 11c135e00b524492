// Every text of the delivery of capture files that is shown, each in this one place.
#pragma once

#include "base/SizeText.h"
#include "base/Translated.h"

#include <QLoggingCategory>
#include <cstdint>

namespace vantrel {

Q_DECLARE_LOGGING_CATEGORY(lcDelivery)

namespace texts {

inline constexpr char saveFailed[] = QT_TRANSLATE_NOOP("vantrel", "Failed to save capture file.");
inline constexpr char saveFailedInfo[] = QT_TRANSLATE_NOOP("vantrel", "%1. The capture file is kept as %2");
inline constexpr char saveFailedWhileCapturing[] = QT_TRANSLATE_NOOP(
    "vantrel", "%1. The capture file is kept as %2. Frames are lost, and counted, until it can be saved.");
inline constexpr char isFolder[] = QT_TRANSLATE_NOOP("vantrel", "there is a folder of that name");

inline constexpr char completed[] = QT_TRANSLATE_NOOP("vantrel", "Capture completed");
inline constexpr char dismiss[] = QT_TRANSLATE_NOOP("vantrel", "Dismiss");
inline constexpr char framesAndSize[] = QT_TRANSLATE_NOOP("vantrel", "%lu frames (%s)");
inline constexpr char filesFramesAndSize[] = QT_TRANSLATE_NOOP("vantrel", "%lu %s, %lu frames (%s)");
inline constexpr char file[] = QT_TRANSLATE_NOOP("vantrel", "file");
inline constexpr char files[] = QT_TRANSLATE_NOOP("vantrel", "files");

inline constexpr char leftOver[] = QT_TRANSLATE_NOOP("vantrel", "A capture was not saved");
inline constexpr char leftOverSeveral[] = QT_TRANSLATE_NOOP("vantrel", "Captures were not saved");
inline constexpr char leftOverInfo[] = QT_TRANSLATE_NOOP("vantrel", "Left over from an earlier run (%1)");
inline constexpr char leftOverSeveralInfo[] =
    QT_TRANSLATE_NOOP("vantrel", "%1 files left over from an earlier run (%2)");

// Of a capture in one file.
[[nodiscard]] inline QString framesText(std::uint64_t frames, std::uint64_t bytes) {
    return QString::asprintf(translated(framesAndSize).toUtf8().constData(), static_cast<unsigned long>(frames),
                             qUtf8Printable(sizeText(bytes)));
}

// Of a capture in several.
[[nodiscard]] inline QString filesFramesText(std::uint64_t fileCount, std::uint64_t frames, std::uint64_t bytes) {
    return QString::asprintf(translated(filesFramesAndSize).toUtf8().constData(), static_cast<unsigned long>(fileCount),
                             qUtf8Printable(translated(fileCount < 2 ? file : files)),
                             static_cast<unsigned long>(frames), qUtf8Printable(sizeText(bytes)));
}

} // namespace texts
} // namespace vantrel
