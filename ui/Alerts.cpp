#include "ui/Alerts.h"

#include "Presenting.h"
#include "base/Translated.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

namespace vantrel::ui {

void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) {
    QMessageBox alert;
    alert.setIcon(QMessageBox::Critical);
    setTexts(alert, messageText, informativeText);
    alert.setStandardButtons(QMessageBox::Ok);
    alert.setDefaultButton(QMessageBox::Ok);
    orderFrontModally(alert);
    alert.exec();
}

Answer ask(const Question& question) {
    QMessageBox alert;
    alert.setIcon(question.style == Question::Style::Critical ? QMessageBox::Critical : QMessageBox::Information);
    setTexts(alert, question.messageText, question.informativeText);
    QPushButton* first = alert.addButton(question.firstButton, QMessageBox::AcceptRole);
    QPushButton* second = alert.addButton(question.secondButton, QMessageBox::RejectRole);
    alert.setDefaultButton(first);
    alert.setEscapeButton(second);
    QCheckBox* suppression = nullptr;
    if (question.hasSuppression) {
        suppression = addSuppression(alert);
    }
    orderFrontModally(alert);
    alert.exec();
    return {.isFirstButton = alert.clickedButton() == first,
            .isSuppressed = suppression != nullptr && suppression->isChecked()};
}

bool showBetaNotice() {
    return ask({.style = Question::Style::Informational,
                .messageText = translated(QT_TRANSLATE_NOOP("vantrel", "This is a beta version of Vantrel.")),
                .informativeText = translated(QT_TRANSLATE_NOOP(
                    "vantrel",
                    "This copy is provided \"AS IS\" without warranty of any kind, for testing purposes only.")),
                .firstButton = translated(QT_TRANSLATE_NOOP("vantrel", "Accept")),
                .secondButton = translated(QT_TRANSLATE_NOOP("vantrel", "Quit"))})
        .isFirstButton;
}

std::optional<QString> askForFolder() {
    QFileDialog panel;
    panel.setWindowTitle(translated(QT_TRANSLATE_NOOP("vantrel", "Select a Folder")));
    panel.setFileMode(QFileDialog::Directory);
    panel.setOption(QFileDialog::ShowDirsOnly);
    panel.setDirectory(QDir::homePath());
    panel.setLabelText(QFileDialog::Accept, translated(QT_TRANSLATE_NOOP("vantrel", "Select")));
    orderFrontModally(panel);
    if (panel.exec() != QDialog::Accepted || panel.selectedFiles().isEmpty()) {
        return std::nullopt;
    }
    return panel.selectedFiles().constFirst();
}

} // namespace vantrel::ui
