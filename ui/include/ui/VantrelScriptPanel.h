// The panel in which the user runs an analysis script on a saved capture: the list of scripts, what the chosen one
// printed, and a button that launches it, or stops it while it runs.
//
// Closing the panel, with the Escape key too, only hides it; a script that runs goes on, and what became of it is told.
// Destroying the panel ends the script first, which takes up to 3 s when it does not want to. Main thread.
#pragma once

#include "delivery/VantrelAnalyzer.h"

#include <QDialog>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <memory>

QT_BEGIN_NAMESPACE
class QPlainTextEdit;
class QPushButton;
QT_END_NAMESPACE

namespace vantrel {
class SettingsStore;
}

namespace vantrel::ui {

class ActivityIndicator;
class ScriptsPopUpButton;

// The name is given by Qt's interface compiler.
namespace Ui { // NOLINT(readability-identifier-naming)
class VantrelScriptPanel;
}

class VantrelScriptPanel : public QDialog, public VantrelAnalyzerDelegate {
    Q_OBJECT
public:
    // The panel from the interface file of that name, for the capture with this full path; empty, and logged, when
    // there is no such file. The settings are borrowed.
    [[nodiscard]] static std::unique_ptr<VantrelScriptPanel>
    initWithWindowNibName(const QString& name, const QString& capture, SettingsStore& settings,
                          const QString& interpreter = VantrelAnalyzer::systemInterpreter());
    ~VantrelScriptPanel() override;

    [[nodiscard]] QString capture() const { return _capture; }
    void setCapture(const QString& capture) { _capture = capture; }
    // Of the current or last run; null before the first.
    [[nodiscard]] VantrelAnalyzer* analyzer() const { return _analyzer.get(); }
    [[nodiscard]] ScriptsPopUpButton* scriptsPopUpButton() const;
    [[nodiscard]] QPushButton* runButton() const;
    [[nodiscard]] ActivityIndicator* activityIndicator() const;
    [[nodiscard]] QPlainTextEdit* outputTextView() const;

    // Shows the panel in the middle of the screen, with the keyboard, and asks for a script when it knows none.
    void showPanelWithTitle(const QString& title);
    // Rebuilds the list, and forgets the scripts that are gone.
    void populatePopUpButton();
    // The stored scripts that still exist.
    [[nodiscard]] QStringList sanitizedScrips() const;

    // Asks for a script, adds it to the list and runs it.
    void onChoose();
    void onRun();
    void onStop();
    void onClear();

    [[nodiscard]] bool respondsToDidTerminateWithOutput() const override { return true; }
    void didTerminateWithOutput(VantrelAnalyzer& analyzer, const QString& output) override;
    [[nodiscard]] bool respondsToDidTerminateWithError() const override { return true; }
    void didTerminateWithError(VantrelAnalyzer& analyzer, const QString& error) override;

private:
    VantrelScriptPanel(QString capture, SettingsStore& settings, QString interpreter);
    void windowDidLoad();
    void refreshControls();
    void setRunning(bool running);
    void tellMissing(const QString& script);
    void tellNoOutput();
    void scriptChosen(const QString& script);
    void startAnalyzer(const QString& script);
    void writeOutput(const QString& output) const;
    void closeIfWanted();

    std::unique_ptr<Ui::VantrelScriptPanel> _nib;
    QString _capture;
    SettingsStore& _settings; // borrowed
    const QString _interpreter;
    bool _isRunning = false;
    QTimer _chooseLater;
    std::unique_ptr<VantrelAnalyzer> _analyzer;
};

} // namespace vantrel::ui
