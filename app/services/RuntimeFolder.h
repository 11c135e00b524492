// The user's own folder for what lives as long as the session: sockets and locks.
#pragma once

#include "base/Error.h"

#include <QString>

namespace vantrel {

// The path of `vantrel` in $XDG_RUNTIME_DIR, or of `vantrel-<user id>` in the folder for temporary files when the
// session has no runtime folder. Made when missing, mode 0700. An error when it is not a real folder of this user: in
// a place where everybody may write, somebody else may have put it there.
[[nodiscard]] Expected<QString> runtimeFolder();

} // namespace vantrel
