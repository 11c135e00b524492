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

Expected<void> shiftNumberedFiles(const QDir& folder, const QString& prefix, std::int64_t maxFiles) {
    for (const std::int64_t number : numbersToShift(folder, prefix, maxFiles)) {
        auto moved = moveFile(numberedPath(folder, prefix, number), numberedPath(folder, prefix, number + 1));
        if (!moved) {
            return moved; // going on would put a younger file in this one's place
        }
    }
    return {};
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
    // The new file is brought over first, under a passing name: when the destination is full, no older file has moved.
    const QString arriving = folder.filePath(capture.prefix + QStringLiteral(".arriving"));
    const QString newest = numberedPath(folder, capture.prefix, 1);
    auto moved = moveFile(capture.path, arriving);
    if (moved) {
        moved = shiftNumberedFiles(folder, capture.prefix, capture.maxCaptureFiles);
        if (moved) {
            moved = moveFile(arriving, newest);
        }
        if (!moved) {
            static_cast<void>(moveFile(arriving, capture.path));
        }
    }
    if (!moved) {
        return tl::unexpected(moved.error());
    }
    return newest;
}

} // namespace vantrel
