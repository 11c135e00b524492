#include "preferences/VantrelGeneralPrefsViewController.h"

#include "PreferencesFixture.h"
#include "settings/SettingsKeys.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

namespace vantrel::preferences {
namespace {

class GeneralPane : public PreferencesFixture {
protected:
    VantrelGeneralPrefsViewController& pane() {
        if (!_pane) {
            _pane = std::make_unique<VantrelGeneralPrefsViewController>(surroundings());
            _pane->viewWillAppear();
            _pane->show();
            QObject::connect(_pane.get(), &PreferencesViewController::preferencesDidChange, _pane.get(),
                             [this] { ++trayChanges; });
        }
        return *_pane;
    }
    void appearAnew() {
        _pane.reset();
        pane();
    }
    QLineEdit& field(const char* name) { return part<QLineEdit>(pane(), name); }
    QCheckBox& box(const char* name) { return part<QCheckBox>(pane(), name); }
    QRadioButton& radio(const char* name) { return part<QRadioButton>(pane(), name); }
    QPushButton& show() { return part<QPushButton>(pane(), "showButton"); }

    // The three actions in the file, as "DoNothing OpenInApplication RunScript".
    QString actions() {
        QString all;
        for (const auto key : {keys::DoNothing, keys::OpenInApplication, keys::RunScript}) {
            all += QString::number(stored(key).toInt(-1));
        }
        return all;
    }

    int trayChanges = 0;
    std::unique_ptr<VantrelGeneralPrefsViewController> _pane;
};

TEST_F(GeneralPane, NamesItself) {
    EXPECT_EQ(pane().identifier(), QStringLiteral("General"));
    EXPECT_EQ(pane().toolbarItemLabel(), QStringLiteral("General"));
    EXPECT_FALSE(pane().toolbarItemImage().isNull());
}

TEST_F(GeneralPane, AppearingWritesNothing) {
    pane();
    settle();
    EXPECT_TRUE(stored().isEmpty());
}

TEST_F(GeneralPane, NumberOfFilesStaysWithin1And100) {
    settings.setBool(keys::LimitCaptureFile, true);
    const std::vector<std::pair<const char*, int>> entries{
        {"0", 1}, {"1", 1}, {"7", 7}, {"100", 100}, {"101", 100}, {"250", 100}, {"", 1}, {"99999999999999999999", 100}};
    for (const auto& [entered, kept] : entries) {
        enter(field("maxCaptureFiles"), QString::fromLatin1(entered));
        EXPECT_EQ(field("maxCaptureFiles").text(), QString::number(kept)) << entered;
        EXPECT_EQ(stored(keys::MaxCaptureFiles).toInt(), kept) << entered;
    }
}

TEST_F(GeneralPane, TheLimitIsAtLeast1AndHasNoUpperBound) {
    settings.setBool(keys::LimitCaptureFile, true);
    const std::vector<std::pair<const char*, qint64>> entries{
        {"0", 1}, {"", 1}, {"1", 1}, {"5000", 5000}, {"4000000000", 4'000'000'000}, {"007", 7}};
    for (const auto& [entered, kept] : entries) {
        enter(field("limitCaptureFileValue"), QString::fromLatin1(entered));
        EXPECT_EQ(field("limitCaptureFileValue").text(), QString::number(kept)) << entered;
        EXPECT_EQ(stored(keys::LimitCaptureFileValue).toInteger(), kept) << entered;
    }
    focus(field("maxCaptureFiles"));
    put(field("limitCaptureFileValue"), QString(10'000, u'9'));
    EXPECT_EQ(settings.integerForKey(keys::LimitCaptureFileValue), std::numeric_limits<std::int64_t>::max());
}

TEST_F(GeneralPane, ALetterIsRefusedAsItIsTyped) {
    settings.setBool(keys::LimitCaptureFile, true);
    for (const char* name : {"limitCaptureFileValue", "maxCaptureFiles"}) {
        focus(field(name));
        field(name).selectAll();
        type(QStringLiteral("1a2-3.4 5e"));
        EXPECT_EQ(field(name).text(), QStringLiteral("12345")) << name;
    }
}

TEST_F(GeneralPane, AnEditEndsWhenTheFocusLeaves) {
    settings.setBool(keys::LimitCaptureFile, true);
    focus(field("maxCaptureFiles"));
    field("maxCaptureFiles").selectAll();
    type(QStringLiteral("250"));
    EXPECT_FALSE(stored().contains(keys::MaxCaptureFiles)) << "while it is edited";
    focus(field("limitCaptureFileValue"));
    EXPECT_EQ(stored(keys::MaxCaptureFiles).toInt(), 100);
}

TEST_F(GeneralPane, PassingThroughAFieldWritesNothing) {
    settings.setBool(keys::LimitCaptureFile, true);
    const auto before = stored();
    focus(field("maxCaptureFiles"));
    focus(field("limitCaptureFileValue"));
    press(Qt::Key_Return);
    EXPECT_EQ(stored(), before);
}

TEST_F(GeneralPane, ATextPutInWithoutTheKeyboardEndsItsEdit) {
    settings.setBool(keys::LimitCaptureFile, true);
    pane();
    put(field("maxCaptureFiles"), QStringLiteral("250"));
    EXPECT_EQ(field("maxCaptureFiles").text(), QStringLiteral("100"));
    EXPECT_EQ(stored(keys::MaxCaptureFiles).toInt(), 100);
    for (const auto& [name, text] : hostileTexts()) {
        for (const auto& [fieldName, key] : {std::pair("limitCaptureFileValue", keys::LimitCaptureFileValue),
                                             std::pair("maxCaptureFiles", keys::MaxCaptureFiles)}) {
            put(field(fieldName), text);
            EXPECT_EQ(field(fieldName).text(), QStringLiteral("1")) << name << " in " << fieldName;
            EXPECT_EQ(stored(key).toInt(), 1) << name << " in " << fieldName;
        }
    }
}

TEST_F(GeneralPane, CommitEndsAnEdit) {
    settings.setBool(keys::LimitCaptureFile, true);
    focus(field("maxCaptureFiles"));
    field("maxCaptureFiles").selectAll();
    type(QStringLiteral("12"));
    EXPECT_TRUE(pane().commitEditing());
    EXPECT_EQ(stored(keys::MaxCaptureFiles).toInt(), 12);
}

TEST_F(GeneralPane, AppearingAgainShowsNewValuesButSparesAnEdit) {
    settings.setBool(keys::LimitCaptureFile, true);
    focus(field("maxCaptureFiles"));
    field("maxCaptureFiles").selectAll();
    type(QStringLiteral("12"));
    settings.setInteger(keys::LimitCaptureFileValue, 77);
    settings.setInteger(keys::MaxCaptureFiles, 3);
    pane().viewWillAppear();
    EXPECT_EQ(field("limitCaptureFileValue").text(), QStringLiteral("77"));
    EXPECT_EQ(field("maxCaptureFiles").text(), QStringLiteral("12"));
}

TEST_F(GeneralPane, SingleFileUnlessLimitedAndMoreThanOne) {
    EXPECT_TRUE(pane().isSingleFile());
    box("limitCaptureFile").click();
    EXPECT_EQ(stored(keys::LimitCaptureFile).toInt(), 1);
    EXPECT_TRUE(pane().isSingleFile()) << "one file";
    enter(field("maxCaptureFiles"), QStringLiteral("2"));
    EXPECT_FALSE(pane().isSingleFile());
    EXPECT_FALSE(radio("DoNothing").isEnabled()) << "what happens after saving is for single files";
    EXPECT_TRUE(part<QLabel>(pane(), "severalFilesNote").isVisible());
    EXPECT_TRUE(box("rotateCaptureFiles").isEnabled());
    box("limitCaptureFile").click();
    EXPECT_TRUE(pane().isSingleFile());
    EXPECT_TRUE(radio("DoNothing").isEnabled());
    EXPECT_FALSE(part<QLabel>(pane(), "severalFilesNote").isVisible());
    EXPECT_FALSE(box("rotateCaptureFiles").isEnabled());
    box("limitCaptureFile").click();
    EXPECT_FALSE(pane().isSingleFile());
    enter(field("maxCaptureFiles"), QString());
    EXPECT_TRUE(pane().isSingleFile());
}

TEST_F(GeneralPane, SingleFileStateIsTakenFromTheSettings) {
    settings.setBool(keys::LimitCaptureFile, true);
    settings.setInteger(keys::MaxCaptureFiles, 5);
    EXPECT_FALSE(pane().isSingleFile());
}

TEST_F(GeneralPane, UnitsAreKeptByTheirCode) {
    settings.setBool(keys::LimitCaptureFile, true);
    auto& units = part<QComboBox>(pane(), "limitCaptureFileUnits");
    QStringList titles;
    for (int unit = 0; unit < units.count(); ++unit) {
        titles << units.itemText(unit);
    }
    EXPECT_EQ(titles.join(u' '), QStringLiteral("kilobytes megabytes seconds minutes frames"));
    focus(units);
    press(Qt::Key_End);
    EXPECT_EQ(stored(keys::LimitCaptureFileUnits).toInt(), 4);
    press(Qt::Key_Up);
    EXPECT_EQ(stored(keys::LimitCaptureFileUnits).toInt(), 3);
    appearAnew();
    EXPECT_EQ(part<QComboBox>(pane(), "limitCaptureFileUnits").currentText(), QStringLiteral("minutes"));
    settings.setInteger(keys::LimitCaptureFileUnits, 17);
    appearAnew();
    EXPECT_EQ(part<QComboBox>(pane(), "limitCaptureFileUnits").currentIndex(), -1) << "none that we know";
}

TEST_F(GeneralPane, AfterSavingActionsExcludeEachOther) {
    EXPECT_TRUE(radio("DoNothing").isChecked());
    radio("OpenInApplication").click();
    EXPECT_EQ(actions(), QStringLiteral("010"));
    radio("RunScript").click();
    EXPECT_EQ(actions(), QStringLiteral("001"));
    radio("DoNothing").click();
    EXPECT_EQ(actions(), QStringLiteral("100"));
    EXPECT_TRUE(radio("DoNothing").isChecked());
    EXPECT_FALSE(radio("RunScript").isChecked());
}

TEST_F(GeneralPane, TheApplicationCanBeChosenWhereCapturesAreOpened) {
    auto& menu = part<QComboBox>(pane(), "openInMenu");
    EXPECT_FALSE(menu.isEnabled());
    radio("OpenInApplication").click();
    EXPECT_TRUE(menu.isEnabled());
    radio("RunScript").click();
    EXPECT_FALSE(menu.isEnabled());
}

TEST_F(GeneralPane, TheLimitsCanBeEnteredWhereFilesAreLimited) {
    const auto areEnabled = [this] {
        const bool isEnabled = field("maxCaptureFiles").isEnabled();
        EXPECT_EQ(field("limitCaptureFileValue").isEnabled(), isEnabled);
        EXPECT_EQ(part<QComboBox>(pane(), "limitCaptureFileUnits").isEnabled(), isEnabled);
        return isEnabled;
    };
    EXPECT_FALSE(areEnabled());
    box("limitCaptureFile").click();
    EXPECT_TRUE(areEnabled());
    box("limitCaptureFile").click();
    EXPECT_FALSE(areEnabled());
}

TEST_F(GeneralPane, AssistiveProgramsToggleWithoutClicking) {
    box("displayChannel").toggle();
    EXPECT_EQ(stored(keys::DisplayChannel).toInt(), 1);
    radio("RunScript").toggle();
    EXPECT_EQ(actions(), QStringLiteral("001"));
    box("warnOfNoOutput").toggle();
    EXPECT_EQ(stored(keys::SuppressNoOutputAlert).toInt(), 1);
    box("limitCaptureFile").toggle();
    EXPECT_TRUE(field("maxCaptureFiles").isEnabled());
}

TEST_F(GeneralPane, AfterSavingActionIsShown) {
    for (const auto key : {keys::RunScript, keys::OpenInApplication, keys::DoNothing}) {
        for (const auto other : {keys::RunScript, keys::OpenInApplication, keys::DoNothing}) {
            settings.setBool(other, other == key);
        }
        appearAnew();
        EXPECT_TRUE(radio(key.data()).isChecked()) << key.data();
        EXPECT_EQ(part<QComboBox>(pane(), "openInMenu").isEnabled(), key == keys::OpenInApplication);
    }
    for (const auto key : {keys::RunScript, keys::OpenInApplication}) {
        settings.setBool(key, true);
        pane().viewWillAppear();
        EXPECT_TRUE(radio(key.data()).isChecked()) << "of several, the one that the next capture heeds";
        EXPECT_FALSE(radio("DoNothing").isChecked());
    }
}

TEST_F(GeneralPane, TrayBoxesTellTheTray) {
    box("displayChannel").click();
    EXPECT_EQ(stored(keys::DisplayChannel).toInt(), 1);
    EXPECT_EQ(trayChanges, 1);
    box("displayChannelWidth").click();
    EXPECT_EQ(stored(keys::DisplayChannelWidth).toInt(), 1);
    EXPECT_EQ(trayChanges, 2);
    appearAnew();
    EXPECT_TRUE(box("displayChannel").isChecked());
    EXPECT_TRUE(box("displayChannelWidth").isChecked());
    box("displayChannel").click();
    EXPECT_EQ(stored(keys::DisplayChannel).toInt(-1), 0);
}

TEST_F(GeneralPane, PlainBoxesWriteTheirSettings) {
    settings.setBool(keys::LimitCaptureFile, true);
    settings.setInteger(keys::MaxCaptureFiles, 3);
    const std::vector<std::pair<const char*, QLatin1StringView>> boxes{
        {"rotateCaptureFiles", keys::RotateCaptureFiles},
        {"scriptPanelAutoClose", keys::ScriptPanelAutoClose},
        {"showCaptureCompleteNotification", keys::ShowCaptureCompleteNotification}};
    for (const auto& [name, key] : boxes) {
        EXPECT_TRUE(box(name).isChecked()) << name << ": its default is on";
        box(name).click();
        EXPECT_EQ(stored(key).toInt(-1), 0) << name;
        box(name).click();
        EXPECT_EQ(stored(key).toInt(-1), 1) << name;
        EXPECT_FALSE(box(name).accessibleDescription().isEmpty()) << name;
    }
    EXPECT_EQ(trayChanges, 0);
}

TEST_F(GeneralPane, TheWarningOfScriptsIsItsSettingTurnedRound) {
    EXPECT_TRUE(box("warnOfNoOutput").isChecked());
    box("warnOfNoOutput").click();
    EXPECT_EQ(stored(keys::SuppressNoOutputAlert).toInt(-1), 1);
    appearAnew();
    EXPECT_FALSE(box("warnOfNoOutput").isChecked());
    box("warnOfNoOutput").click();
    EXPECT_EQ(stored(keys::SuppressNoOutputAlert).toInt(-1), 0);
}

TEST_F(GeneralPane, ShowOpensTheFolder) {
    show().click();
    EXPECT_EQ(folders, QStringList{desktop()});
    settings.setString(keys::CaptureFilesLocation, QStringLiteral("/gone"));
    appearAnew();
    show().click();
    EXPECT_EQ(folders, (QStringList{desktop(), desktop()})) << "also where it is kept as a file URL";
    EXPECT_TRUE(urls.isEmpty());
}

TEST_F(GeneralPane, ShowOpensTheServices) {
    settings.setString(keys::CloudSharkApplianceURL, QStringLiteral("https://captures.test/"));
    settings.setString(keys::CaptureFilesLocation, locations::CloudShark);
    appearAnew();
    show().click();
    settings.setString(keys::MojoPacketsServiceURL, QStringLiteral("https://mojo.test/upload"));
    settings.setString(keys::CaptureFilesLocation, locations::MojoPackets);
    appearAnew();
    show().click();
    EXPECT_EQ(urls, (QStringList{QStringLiteral("https://captures.test/captures"),
                                 QStringLiteral("https://mojo.test/upload")}));
    EXPECT_TRUE(folders.isEmpty());
}

TEST_F(GeneralPane, ShowSaysWhyThereIsNothingToShow) {
    settings.setString(keys::CaptureFilesLocation, locations::AskForEachCapture);
    appearAnew();
    EXPECT_FALSE(show().isEnabled());
    EXPECT_EQ(show().toolTip(), QStringLiteral("The place is chosen anew for each capture, so there is none to show."));
    settings.setString(keys::CaptureFilesLocation, locations::CloudShark);
    settings.setString(keys::CloudSharkApplianceURL, QStringLiteral("file:///etc/passwd"));
    appearAnew();
    EXPECT_FALSE(show().isEnabled());
    EXPECT_EQ(show().toolTip(), QStringLiteral("The address of the service is not one that a browser can open."));
}

TEST_F(GeneralPane, ShowFollowsTheChosenLocation) {
    auto& menu = part<QComboBox>(pane(), "locationMenu");
    for (const auto& [title, canShow] :
         {std::pair(QStringLiteral("Ask for each capture"), false), std::pair(QStringLiteral("Desktop"), true)}) {
        const int index = menu.findText(title);
        menu.setCurrentIndex(index);
        Q_EMIT menu.activated(index);
        EXPECT_EQ(show().isEnabled(), canShow) << qPrintable(title);
    }
}

} // namespace
} // namespace vantrel::preferences
