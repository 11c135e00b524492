// What the script panel says.
#pragma once

#include <QCoreApplication>
#include <QString>

namespace vantrel::ui {

namespace texts {
inline constexpr char launch[] = QT_TRANSLATE_NOOP("vantrel", "&Launch");
inline constexpr char launchTip[] = QT_TRANSLATE_NOOP("vantrel", "Run the chosen script on the capture");
inline constexpr char stop[] = QT_TRANSLATE_NOOP("vantrel", "&Stop");
inline constexpr char stopTip[] = QT_TRANSLATE_NOOP("vantrel", "End the script; nothing more is told of it");
inline constexpr char chooserTitle[] = QT_TRANSLATE_NOOP("vantrel", "Choose a Script");
inline constexpr char chooserFilter[] = QT_TRANSLATE_NOOP("vantrel", "Python scripts (*.py)");
inline constexpr char chooserPrompt[] = QT_TRANSLATE_NOOP("vantrel", "Launch");
inline constexpr char missing[] = QT_TRANSLATE_NOOP("vantrel", "The script does not exist.");
inline constexpr char missingInfo[] = QT_TRANSLATE_NOOP("vantrel", "The script '%1' cannot be found.");
inline constexpr char noOutput[] = QT_TRANSLATE_NOOP("vantrel", "No output was produced.");
inline constexpr char noOutputInfo[] =
    QT_TRANSLATE_NOOP("vantrel", "The script terminated successfully but no output was produced.");
inline constexpr char failed[] = QT_TRANSLATE_NOOP("vantrel", "The script failed to run.");
inline const QString outputExtension = QStringLiteral(".out");
} // namespace texts

// As much of it as a text view takes at once; what is left out is said.
[[nodiscard]] QString shownOutput(const QString& output);

// The last lines of long errors, where a traceback says what is wrong, so that the alert fits on the screen; the whole
// of short ones.
[[nodiscard]] QString endOfErrors(const QString& errors);

} // namespace vantrel::ui
