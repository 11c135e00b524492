// The modal questions and messages of the program. Each brings itself to the front, waits for the user in an event
// loop of its own, and takes its texts literally: names that come from outside are never read as markup.
//
// Main thread.
#pragma once

#include <QString>
#include <optional>

namespace vantrel::ui {

struct Question {
    enum class Style { Critical, Informational };
    Style style = Style::Informational;
    QString messageText;
    QString informativeText;
    QString firstButton; // the default
    QString secondButton;
    bool hasSuppression = false; // with a check box, unticked, to ask no more
};
struct Answer {
    bool isFirstButton = false; // the Escape key and a closed alert count as the second
    bool isSuppressed = false;  // the box was ticked, whichever button was chosen
};

// A question with two buttons.
[[nodiscard]] Answer ask(const Question& question);

// A critical message with one button, "OK".
void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText);

// Tells that this is a beta version. True for "Accept"; false for "Quit" and for a closed alert.
[[nodiscard]] bool showBetaNotice();

// Asks for one folder, which may be made on the spot; its absolute path, or nothing when the user cancels.
[[nodiscard]] std::optional<QString> askForFolder();

} // namespace vantrel::ui
