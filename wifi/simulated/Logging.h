// The log category of the simulated radio.
#pragma once

#include <QLoggingCategory>

namespace vantrel {

Q_DECLARE_LOGGING_CATEGORY(lcSimulated)

} // namespace vantrel
