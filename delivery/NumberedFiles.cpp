#include "delivery/NumberedFiles.h"

#include "delivery/FileMover.h"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace vantrel {

namespace {
constexpr char numberedName[] = "%s.%03lu.pcap";
}

NumberedFiles::NumberedFiles(const QString& location, QString prefix, std::int64_t maxFiles)
    : _folder(QDir(location).filePath(prefix)),
      _prefix(std::move(prefix)),
      _maxFiles(maxFiles) {}

QString NumberedFiles::path(std::int64_t number) const {
    return _folder.filePath(
        QString::asprintf(numberedName, qUtf8Printable(_prefix), static_cast<unsigned long>(number)));
}

Expected<void> NumberedFiles::makeFolder() const {
    if (!_folder.mkpath(QStringLiteral("."))) {
        return failure(_folder.path(), QStringLiteral("the folder cannot be made"));
    }
    return {};
}

// The files that have to make room are found by listing, not by counting down: the maximum may be any number the user
// typed.
Expected<void> NumberedFiles::makeRoom() const {
    std::vector<std::int64_t> numbers;
    for (const QString& name : _folder.entryList({_prefix + QStringLiteral(".*.pcap")}, QDir::Files | QDir::Hidden)) {
        const std::int64_t number = name.mid(_prefix.size() + 1).section(u'.', 0, 0).toLongLong();
        if (number >= 1 && number < _maxFiles && _folder.filePath(name) == path(number)) {
            numbers.push_back(number);
        }
    }
    std::ranges::sort(numbers, std::ranges::greater());
    for (const std::int64_t number : numbers) {
        if (auto moved = moveFile(path(number), path(number + 1)); !moved) {
            return moved;
        }
    }
    return {};
}

} // namespace vantrel
