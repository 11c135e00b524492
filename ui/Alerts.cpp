#include "ui/Alerts.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

namespace vantrel::ui {

namespace {
void bringToFront(QWidget& window) {
    window.setWindowModality(Qt::ApplicationModal);
    window.show();
    window.raise();
    window.activateWindow();
}

void setTexts(QMessageBox& alert, const QString& messageText, const QString& informativeText) {
    alert.setWindowTitle(QStringLiteral("Vantrel"));
    alert.setText(messageText);
    alert.setInformativeText(informativeText);
    alert.setTextFormat(Qt::PlainText);
    // The call above leaves the informative text to guess its format.
    for (QLabel* label : alert.findChildren<QLabel*>()) {
        label->setTextFormat(Qt::PlainText);
    }
}
} // namespace

void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) {
    QMessageBox alert;
    alert.setIcon(QMessageBox::Critical);
    setTexts(alert, messageText, informativeText);
    alert.setStandardButtons(QMessageBox::Ok);
    alert.setDefaultButton(QMessageBox::Ok);
    bringToFront(alert);
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
        suppression = new QCheckBox(QStringLiteral("Do not show this message again"));
        alert.setCheckBox(suppression); // which becomes its owner
    }
    bringToFront(alert);
    alert.exec();
    return {.isFirstButton = alert.clickedButton() == first,
            .isSuppressed = suppression != nullptr && suppression->isChecked()};
}

bool showBetaNotice() {
    return ask({.style = Question::Style::Informational,
                .messageText = QStringLiteral("This is a beta version of Vantrel."),
                .informativeText = QStringLiteral(
                    "This copy is provided \"AS IS\" without warranty of any kind, for testing purposes only."),
                .firstButton = QStringLiteral("Accept"),
                .secondButton = QStringLiteral("Quit")})
        .isFirstButton;
}

std::optional<QString> askForFolder() {
    QFileDialog panel;
    panel.setWindowTitle(QStringLiteral("Select a Folder"));
    panel.setFileMode(QFileDialog::Directory);
    panel.setOption(QFileDialog::ShowDirsOnly);
    panel.setDirectory(QDir::homePath());
    panel.setLabelText(QFileDialog::Accept, QStringLiteral("Select"));
    bringToFront(panel);
    if (panel.exec() != QDialog::Accepted || panel.selectedFiles().isEmpty()) {
        return std::nullopt;
    }
    return panel.selectedFiles().constFirst();
}

} // namespace vantrel::ui
