// Where capture files are written before they are delivered.
#pragma once

#include "base/Error.h"

#include <QString>
#include <QStringList>

namespace vantrel {

// The user's own folder for unfinished captures, made if it is missing: `vantrel-<uid>` in $TMPDIR, else in /var/tmp,
// which a restart does not empty. It is mode 0700, a real directory and the user's own; when somebody else has planted
// a link, a file or a folder of that name, that is logged and `vantrel/captures` in the user's cache directory is
// used instead. An error says what is wrong with both. Any thread.
[[nodiscard]] Expected<QString> temporaryFolder();

// Which of the two exist and are safe: an earlier run may have used the one that this run does not. Any thread.
[[nodiscard]] QStringList existingTemporaryFolders();

// Makes the folder (0700) if it is missing and checks it as above.
[[nodiscard]] Expected<void> preparePrivateFolder(const QString& path);

} // namespace vantrel
