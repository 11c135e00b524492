#include "ui/VantrelScriptPanel.h"

#include "ActivityIndicator.h"
#include "Presenting.h"
#include "ScriptTexts.h"
#include "ScriptsPopUpButton.h"
#include "base/Translated.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui_VantrelScriptPanel.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDatabase>
#include <QMessageBox>
#include <QSaveFile>
#include <utility>

namespace vantrel::ui {

namespace {
constexpr std::chrono::milliseconds chooseDelay{500};
} // namespace

std::unique_ptr<VantrelScriptPanel> VantrelScriptPanel::initWithWindowNibName(const QString& name,
                                                                              const QString& capture,
                                                                              SettingsStore& settings,
                                                                              const QString& interpreter) {
    if (name != QStringLiteral("VantrelScriptPanel")) {
        qWarning("there is no interface file \"%s\"", qUtf8Printable(name));
        return nullptr;
    }
    return std::unique_ptr<VantrelScriptPanel>(new VantrelScriptPanel(capture, settings, interpreter));
}

VantrelScriptPanel::VantrelScriptPanel(QString capture, SettingsStore& settings, QString interpreter)
    : _nib(std::make_unique<Ui::VantrelScriptPanel>()),
      _capture(std::move(capture)),
      _settings(settings),
      _interpreter(std::move(interpreter)) {
    _nib->setupUi(this);
    windowDidLoad();
}

VantrelScriptPanel::~VantrelScriptPanel() = default;

void VantrelScriptPanel::windowDidLoad() {
    setWindowFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint |
                   Qt::WindowCloseButtonHint);
    outputTextView()->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    _chooseLater.setSingleShot(true);
    _chooseLater.setInterval(chooseDelay);
    connect(&_chooseLater, &QTimer::timeout, this, [this] {
        if (isVisible()) {
            onChoose();
        }
    });
    connect(runButton(), &QPushButton::clicked, this, [this] { _isRunning ? onStop() : onRun(); });
    connect(_nib->chooseButton, &QPushButton::clicked, this, &VantrelScriptPanel::onChoose);
    connect(scriptsPopUpButton(), &ScriptsPopUpButton::clearRequested, this, &VantrelScriptPanel::onClear);
    setRunning(false);
}

ScriptsPopUpButton* VantrelScriptPanel::scriptsPopUpButton() const { return _nib->scriptsPopUpButton; }
QPushButton* VantrelScriptPanel::runButton() const { return _nib->runButton; }
ActivityIndicator* VantrelScriptPanel::activityIndicator() const { return _nib->activityIndicator; }
QPlainTextEdit* VantrelScriptPanel::outputTextView() const { return _nib->outputTextView; }

void VantrelScriptPanel::showPanelWithTitle(const QString& title) {
    setWindowTitle(title);
    ui::center(*this);
    populatePopUpButton();
    scriptsPopUpButton()->selectScript(_settings.stringForKey(keys::LastUsedScript));
    ui::orderFront(*this);
    runButton()->setFocus();
    if (scriptsPopUpButton()->selectedScript().isEmpty()) {
        onChoose();
    }
}

QStringList VantrelScriptPanel::sanitizedScrips() const {
    QStringList existing;
    for (const QString& path : _settings.stringArrayForKey(keys::ScriptList)) {
        if (QFileInfo::exists(path)) {
            existing << path;
        }
    }
    return existing;
}

void VantrelScriptPanel::populatePopUpButton() {
    const QStringList scripts = sanitizedScrips();
    scriptsPopUpButton()->setScripts(scripts);
    refreshControls();
    if (scripts != _settings.stringArrayForKey(keys::ScriptList)) {
        _settings.setStringArray(keys::ScriptList, scripts);
    }
}

void VantrelScriptPanel::refreshControls() {
    const bool hasScripts = scriptsPopUpButton()->count() > 0;
    runButton()->setEnabled(hasScripts || _isRunning);
    scriptsPopUpButton()->setEnabled(hasScripts && !_isRunning);
    _nib->chooseButton->setEnabled(!_isRunning);
}

void VantrelScriptPanel::setRunning(bool running) {
    _isRunning = running;
    runButton()->setText(translated(running ? texts::stop : texts::launch));
    runButton()->setToolTip(translated(running ? texts::stopTip : texts::launchTip));
    running ? activityIndicator()->startAnimation() : activityIndicator()->stopAnimation();
    refreshControls();
}

void VantrelScriptPanel::onChoose() {
    if (auto* open = findChild<QFileDialog*>()) {
        open->raise();
        return;
    }
    auto* chooser = new QFileDialog(this);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    chooser->setWindowTitle(translated(texts::chooserTitle));
    chooser->setFileMode(QFileDialog::ExistingFile);
    chooser->setNameFilter(translated(texts::chooserFilter));
    chooser->setLabelText(QFileDialog::Accept, translated(texts::chooserPrompt));
    const QString last = _settings.stringForKey(keys::LastUsedScript);
    chooser->setDirectory(last.isEmpty() ? QDir::homePath() : QFileInfo(last).path());
    connect(chooser, &QFileDialog::fileSelected, this, &VantrelScriptPanel::scriptChosen);
    chooser->open();
}

void VantrelScriptPanel::scriptChosen(const QString& script) {
    QStringList scripts = _settings.stringArrayForKey(keys::ScriptList);
    if (!scripts.contains(script)) {
        _settings.setStringArray(keys::ScriptList, scripts << script);
    }
    populatePopUpButton();
    scriptsPopUpButton()->selectScript(script);
    onRun();
}

void VantrelScriptPanel::onRun() {
    const QString script = scriptsPopUpButton()->selectedScript();
    if (script.isEmpty()) {
        return;
    }
    if (!QFileInfo::exists(script)) {
        tellMissing(script);
        return;
    }
    startAnalyzer(script);
}

void VantrelScriptPanel::startAnalyzer(const QString& script) {
    if (_analyzer && _analyzer->isRunning()) {
        // It winds down by itself; waiting for it here would keep the window from the user.
        VantrelAnalyzer* former = _analyzer.release();
        former->setParent(this);
        connect(former, &VantrelAnalyzer::ended, former, &QObject::deleteLater);
        former->cancel();
    }
    _analyzer = std::make_unique<VantrelAnalyzer>(_interpreter);
    _analyzer->setDelegate(this);
    setRunning(true);
    outputTextView()->clear();
    _settings.setString(keys::LastUsedScript, script);
    _analyzer->analyzeCapture(_capture, script);
}

void VantrelScriptPanel::onStop() {
    if (_analyzer) {
        _analyzer->cancel();
    }
    setRunning(false);
}

void VantrelScriptPanel::onClear() {
    _settings.setStringArray(keys::ScriptList, {});
    populatePopUpButton();
}

void VantrelScriptPanel::tellMissing(const QString& script) {
    QMessageBox* alert = newWarningSheet(*this, translated(texts::missing), translated(texts::missingInfo).arg(script));
    connect(alert, &QDialog::finished, this, [this] {
        populatePopUpButton();
        if (scriptsPopUpButton()->selectedScript().isEmpty()) {
            _chooseLater.start();
        }
    });
    alert->open();
}

void VantrelScriptPanel::didTerminateWithOutput(VantrelAnalyzer& /*analyzer*/, const QString& output) {
    setRunning(false);
    if (output.isEmpty()) {
        tellNoOutput();
        return;
    }
    outputTextView()->setPlainText(shownOutput(output));
    writeOutput(output);
    closeIfWanted();
}

void VantrelScriptPanel::writeOutput(const QString& output) const {
    QSaveFile file(_capture + texts::outputExtension);
    if (!file.open(QIODevice::WriteOnly) || file.write(output.toUtf8()) < 0 || !file.commit()) {
        qWarning("writing %s failed: %s", qUtf8Printable(file.fileName()), qUtf8Printable(file.errorString()));
    }
}

void VantrelScriptPanel::tellNoOutput() {
    if (_settings.boolForKey(keys::SuppressNoOutputAlert)) {
        closeIfWanted();
        return;
    }
    QMessageBox* alert = newWarningSheet(*this, translated(texts::noOutput), translated(texts::noOutputInfo));
    const QCheckBox* suppression = addSuppression(*alert);
    connect(alert, &QDialog::finished, this, [this, suppression] {
        _settings.setBool(keys::SuppressNoOutputAlert, suppression->isChecked());
        closeIfWanted();
    });
    alert->open();
}

void VantrelScriptPanel::closeIfWanted() {
    if (_settings.boolForKey(keys::ScriptPanelAutoClose)) {
        QMetaObject::invokeMethod(this, &QWidget::hide, Qt::QueuedConnection);
    }
}

void VantrelScriptPanel::didTerminateWithError(VantrelAnalyzer& /*analyzer*/, const QString& error) {
    setRunning(false);
    outputTextView()->setPlainText(shownOutput(error));
    newWarningSheet(*this, translated(texts::failed), endOfErrors(error))->open();
}

} // namespace vantrel::ui
