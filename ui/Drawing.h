// The drawings that are built into the program. Main thread.
#pragma once

#include <QByteArray>
#include <QString>

namespace vantrel::ui {

// The SVG text of the drawing with this name, without ".svg"; empty, and logged, when there is none.
[[nodiscard]] QByteArray drawing(const QString& name);

} // namespace vantrel::ui
