#include "base/SizeText.h"

#include "base/Translated.h"

namespace vantrel {

namespace {
constexpr char sizeInBytes[] = QT_TRANSLATE_NOOP("vantrel", "%lu bytes");
constexpr char sizeInKB[] = QT_TRANSLATE_NOOP("vantrel", "%lu KB");
constexpr char sizeInMB[] = QT_TRANSLATE_NOOP("vantrel", "%.2f MB");

constexpr std::uint64_t kilobyte = 1024;
constexpr std::uint64_t megabyte = 1024 * kilobyte;
constexpr std::uint64_t gigabyte = 1024 * megabyte;
} // namespace

QString sizeText(std::uint64_t bytes) {
    if (bytes < kilobyte) {
        return QString::asprintf(translated(sizeInBytes).toUtf8().constData(), static_cast<unsigned long>(bytes));
    }
    if (bytes < megabyte) {
        return QString::asprintf(translated(sizeInKB).toUtf8().constData(),
                                 static_cast<unsigned long>(bytes / kilobyte));
    }
    return bytes < gigabyte ? QString::asprintf(translated(sizeInMB).toUtf8().constData(),
                                                static_cast<double>(bytes) / kilobyte / kilobyte)
                            : QString();
}

} // namespace vantrel
