// The picture of the program in the title bars, switchers and alerts of the desktop.
//
// Main thread, after the application object.
#pragma once

#include <QIcon>

namespace vantrel::ui {

// In the sizes from 16 to 256 pixels that desktops use.
[[nodiscard]] QIcon applicationIcon();

} // namespace vantrel::ui
