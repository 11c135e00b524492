// A keeper over the scripted machine, with its record in a folder of its own.
#pragma once

#include "ScriptedControl.h"
#include "keeper/AdapterKeeper.h"
#include "support/LogCapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>

namespace vantrel::testing {

class KeeperTest : public ::testing::Test {
protected:
    using Calls = std::vector<std::string>;

    void start(const QString& name = {}) {
        keeper.reset();
        keeper = std::make_unique<AdapterKeeper>(control, DebtRecord(path()), name);
    }
    void joinNetwork(const CWChannel& channel = ScriptedControl::six) {
        control.join(channel);
        keeper->refresh(false);
    }
    [[nodiscard]] QString path() const { return folder.filePath(QStringLiteral("state/radio.json")); }
    [[nodiscard]] bool isRecorded() const { return QFile::exists(path()); }
    Calls takeCalls() { return std::exchange(control.calls, {}); }

    QTemporaryDir folder;
    ScriptedControl control;
    std::unique_ptr<AdapterKeeper> keeper;
};

inline void PrintTo(const CWChannel& channel, std::ostream* out) {
    *out << channel.channelNumber << '/' << channel.channelBand << '/' << channel.channelWidth;
}

} // namespace vantrel::testing
