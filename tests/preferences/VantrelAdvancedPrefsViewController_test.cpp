#include "preferences/VantrelAdvancedPrefsViewController.h"

#include "PreferencesFixture.h"
#include "preferences/VantrelCustomChannelsPanel.h"
#include "settings/SettingsKeys.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

namespace vantrel::preferences {
namespace {

class AdvancedPane : public PreferencesFixture {
protected:
    VantrelAdvancedPrefsViewController& pane() {
        if (!_pane) {
            _pane = std::make_unique<VantrelAdvancedPrefsViewController>(surroundings());
            _pane->viewWillAppear();
            _pane->show();
        }
        return *_pane;
    }
    QLineEdit& dwell() { return part<QLineEdit>(pane(), "dwellTime"); }
    QString custom() { return part<QLabel>(pane(), "customChannels").text(); }

    std::unique_ptr<VantrelAdvancedPrefsViewController> _pane;
};

TEST_F(AdvancedPane, NamesItself) {
    EXPECT_EQ(pane().identifier(), QStringLiteral("Advanced"));
    EXPECT_EQ(pane().toolbarItemLabel(), QStringLiteral("Advanced"));
    EXPECT_FALSE(pane().toolbarItemImage().isNull());
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(AdvancedPane, DwellTimeIsAtLeast100) {
    EXPECT_EQ(dwell().text(), QStringLiteral("250"));
    const std::vector<std::pair<const char*, qint64>> entries{
        {"50", 100}, {"99", 100}, {"100", 100}, {"101", 101}, {"", 100}, {"0", 100}, {"86400000", 86'400'000}};
    for (const auto& [entered, kept] : entries) {
        enter(dwell(), QString::fromLatin1(entered));
        EXPECT_EQ(dwell().text(), QString::number(kept)) << entered;
        EXPECT_EQ(stored(keys::DwellTime).toInteger(), kept) << entered;
    }
}

TEST_F(AdvancedPane, DwellTimeTakesDigitsAlone) {
    focus(dwell());
    dwell().selectAll();
    type(QStringLiteral("3x0-0"));
    EXPECT_EQ(dwell().text(), QStringLiteral("300"));
    press(Qt::Key_Return);
    pane().setFocus();
    for (const auto& [name, text] : hostileTexts()) {
        put(dwell(), text);
        EXPECT_EQ(dwell().text(), QStringLiteral("100")) << name;
        EXPECT_EQ(stored(keys::DwellTime).toInt(), 100) << name;
    }
}

TEST_F(AdvancedPane, EachBoxWritesItsSetting) {
    const std::vector<std::tuple<const char*, QLatin1StringView, bool>> boxes{
        {"captureUNII1", keys::CaptureUNII1, true},
        {"captureUNII2", keys::CaptureUNII2, false},
        {"captureUNII2e", keys::CaptureUNII2e, false},
        {"captureUNII3", keys::CaptureUNII3, true},
        {"showDisconnectAlert", keys::ShowDisconnectAlert, true},
        {"alwaysDisconnect", keys::AlwaysDisconnect, false},
        {"enableAdaptivePacketSlicing", keys::EnableAdaptivePacketSlicing, false}};
    for (const auto& [name, key, isOn] : boxes) {
        auto& box = part<QCheckBox>(pane(), name);
        EXPECT_EQ(box.isChecked(), isOn) << name << ": its default";
        box.toggle(); // as assistive programs do, without a click
        EXPECT_EQ(stored(key).toInt(-1), isOn ? 0 : 1) << name;
        EXPECT_EQ(stored().size(), 1) << name << " writes nothing else";
        pane().viewWillAppear();
        EXPECT_EQ(box.isChecked(), !isOn) << name;
        settings.removeObjectForKey(key);
        pane().viewWillAppear();
    }
    for (const char* name : {"showDisconnectAlert", "alwaysDisconnect", "enableAdaptivePacketSlicing"}) {
        EXPECT_FALSE(part<QCheckBox>(pane(), name).accessibleDescription().isEmpty()) << name;
    }
}

TEST_F(AdvancedPane, CustomChannelsAreJoined) {
    EXPECT_EQ(custom(), QStringLiteral("None chosen yet"));
    settings.setIntegerArray(keys::CustomChannelList, {1, 6, 11, 165});
    pane().viewWillAppear();
    EXPECT_EQ(custom(), QStringLiteral("1, 6, 11, 165"));
}

TEST_F(AdvancedPane, ChooseOpensThePanel) {
    channels = {{1, bandTwoDotFourGHz, width20MHz}, {6, bandTwoDotFourGHz, width20MHz}};
    pane();
    QTimer::singleShot(0, &pane(), [] {
        auto* panel = qobject_cast<VantrelCustomChannelsPanel*>(QApplication::activeModalWidget());
        ASSERT_NE(panel, nullptr);
        part<QPushButton>(*panel, "selectAll").click();
        part<QDialogButtonBox>(*panel, "confirm").button(QDialogButtonBox::Ok)->click();
    });
    part<QPushButton>(pane(), "chooseCustomChannels").click();
    EXPECT_EQ(custom(), QStringLiteral("1, 6"));
}

} // namespace
} // namespace vantrel::preferences
