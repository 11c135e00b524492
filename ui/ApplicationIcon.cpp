#include "ui/ApplicationIcon.h"

#include "Drawing.h"

namespace vantrel::ui {

QIcon applicationIcon() { return drawnIcon(QStringLiteral("vantrel")); }

} // namespace vantrel::ui
