// What is built into the program: drawings and texts. Main thread.
#pragma once

#include <QByteArray>
#include <QIcon>
#include <QString>

namespace vantrel::ui {

// The file of this name; empty, and logged, when there is none.
[[nodiscard]] QByteArray resource(const QString& fileName);

// The SVG text of the drawing with this name, without ".svg".
[[nodiscard]] QByteArray drawing(const QString& name);

// The drawing as an icon of the usual sizes, 16 to 256 pixels.
[[nodiscard]] QIcon drawnIcon(const QString& name);

} // namespace vantrel::ui
