// Moves a finished file to its place, also across file systems, without ever leaving a torn file there.
#pragma once

#include "base/Error.h"

#include <QString>

namespace vantrel {

// Any thread. Within one file system it is a rename. Across two the file is copied under a passing name beside the
// destination, brought to the disk, renamed, and only then removed at its source. After an error the source is whole
// and the destination as it was; an existing destination is replaced.
[[nodiscard]] Expected<void> moveFile(const QString& from, const QString& to);

} // namespace vantrel
