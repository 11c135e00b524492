#include "ui/ProgressTexts.h"

#include "base/SizeText.h"
#include "base/Translated.h"

#include <QStringList>

#include <QStringList>

namespace vantrel::ui {

namespace {
constexpr char capturingOn[] = QT_TRANSLATE_NOOP("vantrel", "Capturing on Channel %ld (%ld MHz)");
constexpr char singleFile[] = QT_TRANSLATE_NOOP("vantrel", "Frames: %1 (%2)");
constexpr char severalFiles[] = QT_TRANSLATE_NOOP("vantrel", "File %1 out of %2, frames: %3 (%4)");
constexpr char droppedFrame[] =
    QT_TRANSLATE_NOOP("vantrel", "1 frame lost: it came faster than this computer could take it.");
constexpr char droppedFrames[] =
    QT_TRANSLATE_NOOP("vantrel", "%1 frames lost: they came faster than this computer could take them.");
constexpr char unwrittenFrame[] = QT_TRANSLATE_NOOP("vantrel", "1 frame lost: there is no file to write it to.");
constexpr char unwrittenFrames[] = QT_TRANSLATE_NOOP("vantrel", "%1 frames lost: there is no file to write them to.");

constexpr double indeterminate = -1;

double percent(double part, double whole) { return whole > 0 ? part * 100 / whole : indeterminate; }
} // namespace

QString windowTitle(long channelNumber, long channelWidthMHz) {
    return QString::asprintf(translated(capturingOn).toUtf8().constData(), channelNumber, channelWidthMHz);
}

QString messageText(std::uint64_t frames, std::uint64_t bytes) {
    return translated(singleFile).arg(QString::number(frames), sizeText(bytes));
}

QString messageText(std::uint64_t file, std::uint64_t files, std::uint64_t frames, std::uint64_t bytes) {
    return translated(severalFiles)
        .arg(QString::number(file), QString::number(files), QString::number(frames), sizeText(bytes));
}

QString droppedFramesText(std::uint64_t frames, std::uint64_t notWritten) {
    QStringList lines;
    if (frames > 0) {
        lines << (frames == 1 ? translated(droppedFrame) : translated(droppedFrames).arg(QString::number(frames)));
    }
    if (notWritten > 0) {
        lines << (notWritten == 1 ? translated(unwrittenFrame)
                                  : translated(unwrittenFrames).arg(QString::number(notWritten)));
    }
    return lines.join(u'\n');
}

double progressValue(const FileProgress& file) {
    if (!file.limitCaptureFile) {
        return indeterminate;
    }
    switch (file.units) { // codes of the settings, which may hold any number
    case 0:
    case 1:
        return percent(static_cast<double>(file.size), static_cast<double>(file.maxCaptureFileSize));
    case 2:
        return percent(file.elapsed, static_cast<double>(file.value));
    case 3:
        return percent(file.elapsed, static_cast<double>(file.value) * 60);
    case 4:
        return percent(static_cast<double>(file.frames), static_cast<double>(file.maxCaptureFileFrames));
    default:
        return indeterminate;
    }
}

} // namespace vantrel::ui
