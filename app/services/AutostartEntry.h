// The text of an autostart entry, as the freedesktop.org Desktop Entry document lays it down. Any thread.
#pragma once

#include <QByteArray>
#include <QString>

namespace vantrel {

// A complete entry that starts the program at the absolute path.
[[nodiscard]] QByteArray autostartEntry(const QString& executable);

// Whether a session that reads this text would start the program. Links and the search path are followed.
[[nodiscard]] bool entryLaunches(const QByteArray& text, const QString& executable);

} // namespace vantrel
