// The installed applications that open capture files, and which of them the user prefers.
//
// Each call asks the desktop's application database (GIO) anew, for the content type that it gives to an empty sample
// file. Main thread; a call reads .desktop files and may take some milliseconds.
#pragma once

#include <QString>
#include <optional>
#include <vector>

namespace vantrel {

struct PcapApplication {
    QString path; // of its .desktop file
    QString name; // as shown to the user, in the user's language
    // Tells it from others of that name: its version where the .desktop file says one (AppImages do), else the name of
    // that file without its suffix. The file's "Version" is the one of its format.
    QString variant;
    QString icon; // a name in the icon theme or an absolute path; empty when it has none
};

// Applications registered for the type itself; ones for any file at all, such as hex editors, are not among them.
[[nodiscard]] std::vector<PcapApplication> pcapApplications();

// What a .desktop file describes; nothing when it is none, or describes nothing that can be started here.
[[nodiscard]] std::optional<PcapApplication> applicationAt(const QString& path);

// The path of the default one of these, else of the first; empty when there is none.
[[nodiscard]] QString defaultPcapApplication();

} // namespace vantrel
