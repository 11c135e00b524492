// The help document that is built into the program.
#pragma once

#include "base/Error.h"

#include <QString>

namespace vantrel {

// Writes the document and its pictures into the user's cache folder, where an application can open them, in place of
// what an earlier version left there. The absolute path of the document. Any thread.
[[nodiscard]] Expected<QString> unpackHelpDocument();

} // namespace vantrel
