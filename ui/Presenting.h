// How the program's windows come before the user: in front, centred, and with literal texts. Main thread.
#pragma once

#include <QString>

QT_BEGIN_NAMESPACE
class QCheckBox;
class QMessageBox;
class QWidget;
QT_END_NAMESPACE

namespace vantrel::ui {

// Shows the window above the others, with the keyboard. A modal one shuts out the program's other windows.
void orderFront(QWidget& window);
void orderFrontModally(QWidget& window);

// In the middle of the screen where the pointer is.
void center(QWidget& window);

// The texts are taken literally: names that come from outside are never read as markup.
void setTexts(QMessageBox& alert, const QString& messageText, const QString& informativeText);

// A check box, unticked, to show the alert no more; the alert becomes its owner.
QCheckBox* addSuppression(QMessageBox& alert);

// A warning with one button, "OK", on this window alone, which is shown for it. It deletes itself when it is answered;
// until then its signals tell what the user does.
[[nodiscard]] QMessageBox* newWarningSheet(QWidget& window, const QString& messageText, const QString& informativeText);

} // namespace vantrel::ui
