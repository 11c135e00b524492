// At most one process drives the adapter of a user: the lock that says so. One thread.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"

namespace vantrel {

// Held as long as the result lives. A predecessor that is still putting the adapter back is waited for, some seconds.
[[nodiscard]] Expected<FileDescriptor> becomeOwner(const QString& lockPath);

} // namespace vantrel
