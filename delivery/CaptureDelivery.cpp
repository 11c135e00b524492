#include "delivery/CaptureDelivery.h"

#include "delivery/FileMover.h"

#include <QDir>
#include <algorithm>
#include <functional>
#include <vector>

namespace vantrel {

namespace {

QString numberedPath(const QDir& folder, const QString& prefix, std::int64_t number) {
    return folder.filePath(
        QString::asprintf("%s.%03lu.pcap", qUtf8Printable(prefix), static_cast<unsigned long>(number)));
}

// The numbers of the files that have to make room, highest first. Found by listing, not by counting down: the maximum
// may be any number the user typed.
std::vector<std::int64_t> numbersToShift(const QDir& folder, const QString& prefix, std::int64_t maxFiles) {
    std::vector<std::int64_t> numbers;
    const QStringList names = folder.entryList({prefix + QStringLiteral(".*.pcap")}, QDir::Files | QDir::Hidden);
    for (const QString& name : names) {
        const std::int64_t number = name.mid(prefix.size() + 1).section(QLatin1Char('.'), 0, 0).toLongLong();
        if (number >= 1 && number < maxFiles && folder.filePath(name) == numberedPath(folder, prefix, number)) {
            numbers.push_back(number);
        }
    }
    std::ranges::sort(numbers, std::ranges::greater());
    return numbers;
}

void shiftNumberedFiles(const QDir& folder, const QString& prefix, std::int64_t maxFiles) {
    for (const std::int64_t number : numbersToShift(folder, prefix, maxFiles)) {
        // Errors are left to the move that follows, which keeps the new file where it is.
        static_cast<void>(moveFile(numberedPath(folder, prefix, number), numberedPath(folder, prefix, number + 1)));
    }
}

} // namespace

Expected<QString> deliverCaptureFile(const CaptureToDeliver& capture) {
    if (!capture.isMultipleFileCapture) {
        return capture.path;
    }
    const QDir folder(QDir(capture.location).filePath(capture.prefix));
    if (!folder.mkpath(QStringLiteral("."))) {
        return failure(folder.path(), QStringLiteral("the folder cannot be made"));
    }
    shiftNumberedFiles(folder, capture.prefix, capture.maxCaptureFiles);
    const QString newest = numberedPath(folder, capture.prefix, 1);
    if (const auto moved = moveFile(capture.path, newest); !moved) {
        return tl::unexpected(moved.error());
    }
    return newest;
}

} // namespace vantrel
