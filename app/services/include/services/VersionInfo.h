// What a version number says about the copy that carries it.
#pragma once

#include <QString>

namespace vantrel {

// Whether the version's short text, such as "2.1b3", marks a beta: it holds a "b" of either case.
[[nodiscard]] bool isBetaVersion(const QString& shortVersion);

} // namespace vantrel
