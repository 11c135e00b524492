// An adapter, settings and an application that answers its questions as the test wants, all of which note what is asked
// of them in one list, in order.
#pragma once

#include "ScriptedInterface.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "wifi/AdapterRestore.h"
#include "wifi/Association.h"
#include "wifi/WiFiSurroundings.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vantrel::testing {

class CommandFixture : public ::testing::Test,
                       protected WiFiDialogs,
                       protected WiFiView,
                       protected CaptureStarter,
                       protected CustomChannelsPanel {
protected:
    CommandFixture() {
        settings.registerDefaults({{keys::ShowDisconnectAlert, true},
                                   {keys::FirstTimeCapture, false},
                                   {keys::CaptureFilesLocation, QStringLiteral("/home/u/Captures")},
                                   {keys::DwellTime, 250},
                                   {keys::CaptureUNII1, true},
                                   {keys::CaptureUNII2, false},
                                   {keys::CaptureUNII2e, false},
                                   {keys::CaptureUNII3, true}});
    }

    // A member of "home" on this channel.
    void associate(const CWChannel& channel) {
        airport.mode = CWInterfaceMode::Station;
        airport.network = QStringLiteral("home");
        airport.channel = channel;
    }
    // So that the first capture is told where files go.
    void expectNotice() {
        settings.setBool(keys::FirstTimeCapture, true);
        settings.setString(keys::CaptureFilesLocation, QStringLiteral("/home/u/Desktop"));
    }
    [[nodiscard]] std::vector<std::string>& calls() { return airport.calls; }

    Answer ask(const Question& question) override {
        questions.push_back(question);
        airport.note("ask " + question.firstButton.toStdString());
        if (whileAsking) {
            whileAsking();
        }
        return answer;
    }
    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override {
        airport.note("alert " + messageText.toStdString() + " | " + informativeText.toStdString());
    }
    bool prepareCapture() override {
        airport.note("prepare");
        return prepares;
    }
    bool startCapture(CaptureMode mode) override {
        airport.note("start " + std::to_string(static_cast<int>(mode)));
        return starts;
    }
    std::optional<std::vector<int>> chooseChannels() override {
        airport.note("panel");
        return chosen;
    }
    void updateStatusItem() override { airport.note("updateStatusItem"); }
    void updateStatusMenu() override { airport.note("updateStatusMenu"); }
    void updateProgress() override { airport.note("updateProgress"); }

    QTemporaryDir folder;
    SettingsStore settings{QDir(folder.path()).filePath(QStringLiteral("settings.json"))};
    ScriptedInterface airport;
    AdapterRestore restore;
    CaptureFlags flags;
    Answer answer{.isFirstButton = true};
    bool prepares = true;
    bool starts = true;
    std::optional<std::vector<int>> chosen;
    std::function<void()> whileAsking;
    std::vector<Question> questions;
    Association association{{.settings = settings, .airport = airport, .restore = restore, .dialogs = *this},
                            [this](std::chrono::milliseconds time) {
                                airport.note("sleep " + std::to_string(time.count()));
                                if (whileSleeping) {
                                    whileSleeping();
                                }
                            }};
    std::function<void()> whileSleeping;
};

} // namespace vantrel::testing
