// Moves a finished file to its place, also across file systems, without ever leaving a torn file there.
//
// Within one file system it is a rename. Across two the file is copied into a nameless file of the destination's folder
// (where the file system has such files; else under a passing name), brought to the disk, given its name, and only then
// removed at its source. After an error, or when the program is killed at any moment, the source is whole and the
// destination as it was, or the file has arrived.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

#include <QByteArray>
#include <QString>

namespace vantrel {

// A move in two steps, so that the long one can be done before others depend on it, or on another thread.
class FileMove {
public:
    // The folder is the one that the file will be given its name in.
    FileMove(const QString& from, const QString& toFolder);
    // Takes away a copy that was made in vain.
    ~FileMove();
    FileMove(const FileMove&) = delete;
    FileMove& operator=(const FileMove&) = delete;

    // Whether the folder is on another file system than the file. Without copy(), finish() makes the copy itself.
    [[nodiscard]] bool needsCopy() const;
    // Any thread. Takes as long as reading and writing the whole file does.
    [[nodiscard]] Expected<void> copy();
    // Quick when the copy is made or not needed. Replaces a file of that name.
    [[nodiscard]] Expected<void> finish(const QString& to);

private:
    [[nodiscard]] Expected<void> openCopy();
    [[nodiscard]] Expected<void> nameCopy(const QByteArray& to);
    void removePassingName();

    const QByteArray _from;
    const QByteArray _folder;
    FileDescriptor _copy;    // open once copy() has succeeded
    QByteArray _passingName; // of the copy, where a file system has no nameless files
};

// Any thread. Both steps at once; the destination must be a path with a folder.
[[nodiscard]] Expected<void> moveFile(const QString& from, const QString& to);

} // namespace vantrel
