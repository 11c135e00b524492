// What is built into the program: drawings and texts. Main thread.
#pragma once

#include <QByteArray>
#include <QString>

namespace vantrel::ui {

// The file of this name; empty, and logged, when there is none.
[[nodiscard]] QByteArray resource(const QString& fileName);

// The SVG text of the drawing with this name, without ".svg".
[[nodiscard]] QByteArray drawing(const QString& name);

} // namespace vantrel::ui
