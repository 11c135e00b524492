#include "base/SizeText.h"

namespace vantrel {

namespace {
constexpr char sizeInBytes[] = "%lu bytes";
constexpr char sizeInKB[] = "%lu KB";
constexpr char sizeInMB[] = "%.2f MB";

constexpr std::uint64_t kilobyte = 1024;
constexpr std::uint64_t megabyte = 1024 * kilobyte;
constexpr std::uint64_t gigabyte = 1024 * megabyte;
} // namespace

QString sizeText(std::uint64_t bytes) {
    if (bytes < kilobyte) {
        return QString::asprintf(sizeInBytes, static_cast<unsigned long>(bytes));
    }
    if (bytes < megabyte) {
        return QString::asprintf(sizeInKB, static_cast<unsigned long>(bytes / kilobyte));
    }
    return bytes < gigabyte ? QString::asprintf(sizeInMB, static_cast<double>(bytes) / kilobyte / kilobyte) : QString();
}

} // namespace vantrel
