// The about panel: name, version, and the credits as styled text in the colours of the desktop's theme.
//
// Main thread, after the QApplication.
#pragma once

#include <QDialog>
#include <QString>

class QTextBrowser;

namespace vantrel::ui {

class AboutPanel : public QDialog {
    Q_OBJECT
public:
    explicit AboutPanel(const QString& version);

    // Shows it, or brings it to the front.
    void orderFront();

protected:
    void changeEvent(QEvent* event) override;

private:
    void showCredits();

    QTextBrowser* _credits; // a child
};

} // namespace vantrel::ui
