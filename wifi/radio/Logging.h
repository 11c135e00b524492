// The log category of the client of vantrel-radio.
#pragma once

#include <QLoggingCategory>

namespace vantrel {

Q_DECLARE_LOGGING_CATEGORY(lcRadio)

} // namespace vantrel
