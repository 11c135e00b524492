// A script panel with settings and scripts of its own, and what a user does with it.
#pragma once

#include "ActivityIndicator.h"
#include "ScriptsPopUpButton.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"
#include "ui/VantrelScriptPanel.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <gmock/gmock.h>

namespace vantrel::ui {

using vantrel::testing::runUntil;

class VantrelScriptPanelTest : public ::testing::Test {
protected:
    VantrelScriptPanelTest() {
        settings.registerDefaults({{keys::ScriptPanelAutoClose, false}});
        newPanel();
    }
    void newPanel() {
        panel = VantrelScriptPanel::initWithWindowNibName(QStringLiteral("VantrelScriptPanel"), capture, settings,
                                                          QStringLiteral("/usr/bin/python3"));
    }
    [[nodiscard]] QString path(const QString& name) const { return QDir(folder.path()).filePath(name); }
    QString script(const QString& name, const char* text) {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    }
    // The panel with these scripts in its list, shown.
    void show(const QStringList& scripts) {
        settings.setStringArray(keys::ScriptList, scripts);
        panel->showPanelWithTitle(QStringLiteral("Launch script for ") + capture);
    }
    [[nodiscard]] ScriptsPopUpButton& popUp() const { return *panel->scriptsPopUpButton(); }
    [[nodiscard]] QPushButton& run() const { return *panel->runButton(); }
    [[nodiscard]] QString runTitle() const { return run().text().remove(u'&'); }
    [[nodiscard]] QString output() const { return panel->outputTextView()->toPlainText(); }
    [[nodiscard]] bool isIdle() const {
        return runTitle() == QStringLiteral("Launch") && !panel->activityIndicator()->isAnimating();
    }
    [[nodiscard]] bool isRunning() const {
        return runTitle() == QStringLiteral("Stop") && panel->activityIndicator()->isAnimating();
    }
    [[nodiscard]] QFileDialog* chooser() const {
        auto* found = panel->findChild<QFileDialog*>();
        return found != nullptr && found->isVisible() ? found : nullptr;
    }
    [[nodiscard]] QMessageBox* alert() const {
        auto* found = panel->findChild<QMessageBox*>();
        return found != nullptr && found->isVisible() ? found : nullptr;
    }
    void choose(const QString& file) const {
        QFileDialog* dialog = chooser();
        ASSERT_NE(dialog, nullptr);
        dialog->findChild<QLineEdit*>()->setText(file);
        QMetaObject::invokeMethod(dialog, "accept");
    }
    [[nodiscard]] bool alertCame() const {
        return runUntil([this] { return alert() != nullptr; });
    }
    [[nodiscard]] bool outputCame() const {
        return runUntil([this] { return !output().isEmpty(); });
    }
    static void settle() {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    [[nodiscard]] QByteArray outFile() const {
        QFile file(capture + QStringLiteral(".out"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] bool hasOutFile() const { return QFile::exists(capture + QStringLiteral(".out")); }

    QTemporaryDir folder;
    SettingsStore settings{path(QStringLiteral("settings.json"))};
    const QString capture = path(QStringLiteral("b.pcap"));
    std::unique_ptr<VantrelScriptPanel> panel;
};

inline void expectTexts(const QMessageBox& alert, const char* message, const std::string& information) {
    EXPECT_EQ(alert.icon(), QMessageBox::Warning);
    EXPECT_EQ(alert.text().toStdString(), message);
    EXPECT_EQ(alert.informativeText().toStdString(), information);
    EXPECT_EQ(alert.windowModality(), Qt::WindowModal);
    EXPECT_EQ(alert.buttons().size(), 1);
    for (const QLabel* label : alert.findChildren<QLabel*>()) {
        EXPECT_EQ(label->textFormat(), Qt::PlainText) << qPrintable(label->text());
    }
}

inline void choose(QComboBox& popUp, const QString& title) {
    const int index = popUp.findText(title);
    ASSERT_GE(index, 0);
    popUp.setCurrentIndex(index);
    Q_EMIT popUp.activated(index);
}

} // namespace vantrel::ui
