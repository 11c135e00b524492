// The files of a multiple-file capture: <location>/<prefix>/<prefix>.NNN.pcap. 001 is always the newest, older ones
// move up by one, and the one beyond the maximum is replaced. A gap that somebody made moves along.
#pragma once

#include "base/Error.h"

#include <QDir>
#include <QString>
#include <cstdint>

namespace vantrel {

class NumberedFiles {
public:
    NumberedFiles(const QString& location, QString prefix, std::int64_t maxFiles);

    [[nodiscard]] QString folder() const { return _folder.path(); }
    // Where the next file goes.
    [[nodiscard]] QString newest() const { return path(1); }

    // Any thread, one at a time. Makes the folder, with those above it.
    [[nodiscard]] Expected<void> makeFolder() const;
    // Any thread, one at a time. Moves every file up by one. An error stops it: the files below it stay, since a
    // younger one would take the place of one that cannot move.
    [[nodiscard]] Expected<void> makeRoom() const;

private:
    [[nodiscard]] QString path(std::int64_t number) const;

    const QDir _folder;
    const QString _prefix;
    const std::int64_t _maxFiles;
};

} // namespace vantrel
