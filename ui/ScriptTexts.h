// What the script panel says.
#pragma once

#include <QString>

namespace vantrel::ui {

namespace texts {
inline const QString launch = QStringLiteral("&Launch");
inline const QString launchTip = QStringLiteral("Run the chosen script on the capture");
inline const QString stop = QStringLiteral("&Stop");
inline const QString stopTip = QStringLiteral("End the script; nothing more is told of it");
inline const QString chooserTitle = QStringLiteral("Choose a Script");
inline const QString chooserFilter = QStringLiteral("Python scripts (*.py)");
inline const QString chooserPrompt = QStringLiteral("Launch");
inline const QString missing = QStringLiteral("The script does not exist.");
inline const QString missingInfo = QStringLiteral("The script '%1' cannot be found.");
inline const QString noOutput = QStringLiteral("No output was produced.");
inline const QString noOutputInfo = QStringLiteral("The script terminated successfully but no output was produced.");
inline const QString failed = QStringLiteral("The script failed to run.");
inline const QString outputExtension = QStringLiteral(".out");
} // namespace texts

// As much of it as a text view takes at once; what is left out is said.
[[nodiscard]] QString shownOutput(const QString& output);

// The last lines of long errors, where a traceback says what is wrong, so that the alert fits on the screen; the whole
// of short ones.
[[nodiscard]] QString endOfErrors(const QString& errors);

} // namespace vantrel::ui
