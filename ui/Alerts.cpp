#include "ui/Alerts.h"

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

bool showBetaNotice() {
    QMessageBox alert;
    alert.setIcon(QMessageBox::Information);
    setTexts(
        alert, QStringLiteral("This is a beta version of Vantrel."),
        QStringLiteral("This copy is provided \"AS IS\" without warranty of any kind, for testing purposes only."));
    QPushButton* accept = alert.addButton(QStringLiteral("Accept"), QMessageBox::AcceptRole);
    QPushButton* quit = alert.addButton(QStringLiteral("Quit"), QMessageBox::RejectRole);
    alert.setDefaultButton(accept);
    alert.setEscapeButton(quit);
    bringToFront(alert);
    alert.exec();
    return alert.clickedButton() == accept;
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
