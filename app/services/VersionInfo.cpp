#include "services/VersionInfo.h"

namespace vantrel {

bool isBetaVersion(const QString& shortVersion) { return shortVersion.toLower().contains(QLatin1Char('b')); }

} // namespace vantrel
