#include "settings/Defaults.h"

#include "SettingsFixture.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"

#include <QUrl>
#include <QVariantList>

using namespace vantrel;

namespace {

using DefaultsTest = vantrel::testing::SettingsTest;

const QString desktop = QStringLiteral("/home/u/Desktop");
const QString viewer = QStringLiteral("/usr/share/applications/viewer.desktop");

struct Row {
    const char* key;
    QVariant value;
};

// The names and values as other programs and older files know them: spelled out once more, on purpose.
const Row table[] = {
    {"CaptureFilesLocation", desktop},
    {"CaptureUNII1", true},
    {"CaptureUNII2", false},
    {"CaptureUNII2e", false},
    {"CaptureUNII3", true},
    {"CustomChannelList", QVariantList()},
    {"DisplayChannel", false},
    {"DisplayChannelWidth", false},
    {"DwellTime", 250},
    {"FirstTimeCapture", true},
    {"LimitCaptureFile", false},
    {"LimitCaptureFileUnits", 0},
    {"LimitCaptureFileValue", 2048},
    {"LinkLayerHeader", 127},
    {"MaxCaptureFiles", 1},
    {"RotateCaptureFiles", true},
    {"RunScript", false},
    {"ScriptList", QVariantList()},
    {"ScriptPanelAutoClose", true},
    {"ShowCaptureCompleteNotification", true},
    {"ShowDisconnectAlert", true},
};

QVariantMap expected(bool found) {
    QVariantMap all;
    for (const auto& row : table) {
        all.insert(QLatin1StringView(row.key), row.value);
    }
    all.insert(QStringLiteral("DoNothing"), !found);
    all.insert(QStringLiteral("OpenInApplication"), found);
    if (found) {
        all.insert(QStringLiteral("OpenInApplicationPath"), viewer);
    }
    return all;
}

void expectTable(QVariantMap defaults, bool found) {
    EXPECT_TRUE(defaults.remove(QStringLiteral("CloudSharkApplianceURL")));
    EXPECT_TRUE(defaults.remove(QStringLiteral("MojoPacketsServiceURL")));
    const auto wanted = expected(found);
    EXPECT_EQ(defaults.keys(), wanted.keys());
    for (auto entry = wanted.begin(); entry != wanted.end(); ++entry) {
        const auto value = defaults.value(entry.key());
        EXPECT_EQ(value.typeId(), entry.value().typeId()) << qPrintable(entry.key());
        EXPECT_EQ(value, entry.value()) << qPrintable(entry.key());
    }
}

TEST_F(DefaultsTest, tableWithAnApplication) { expectTable(registeredDefaults(viewer, desktop), true); }

TEST_F(DefaultsTest, tableWithoutAnApplication) { expectTable(registeredDefaults({}, desktop), false); }

TEST_F(DefaultsTest, uploadAddressesBelongToNobody) {
    const auto defaults = registeredDefaults({}, desktop);
    for (const auto key : {keys::CloudSharkApplianceURL, keys::MojoPacketsServiceURL}) {
        const QUrl url(defaults.value(key).toString(), QUrl::StrictMode);
        EXPECT_TRUE(url.isValid());
        EXPECT_EQ(url.scheme(), QStringLiteral("https"));
        EXPECT_TRUE(url.host().endsWith(QStringLiteral(".example")));
    }
}

TEST_F(DefaultsTest, locationsAndUnregisteredKeysAreSpelledAsStored) {
    EXPECT_STREQ(locations::AskForEachCapture.data(), "AskForEachCapture");
    EXPECT_STREQ(locations::CloudShark.data(), "CloudShark");
    EXPECT_STREQ(locations::MojoPackets.data(), "MojoPackets");
    EXPECT_STREQ(keys::CloudSharkApplianceAPIToken.data(), "CloudSharkApplianceAPIToken");
    EXPECT_STREQ(keys::MojoPacketsEmail.data(), "MojoPacketsEmail");
    EXPECT_STREQ(keys::MojoPacketsAPIKey.data(), "MojoPacketsAPIKey");
    EXPECT_STREQ(keys::AlwaysDisconnect.data(), "AlwaysDisconnect");
    EXPECT_STREQ(keys::LastUsedScript.data(), "LastUsedScript");
    EXPECT_STREQ(keys::SuppressNoOutputAlert.data(), "SuppressNoOutputAlert");
    EXPECT_STREQ(keys::EnableAdaptivePacketSlicing.data(), "EnableAdaptivePacketSlicing");
    EXPECT_STREQ(keys::MASPreferencesFrameTopLeft.data(), "MASPreferences Frame Top Left");
    EXPECT_EQ(QString(keys::MASPreferencesPaneFrame).arg(QStringLiteral("General")),
              QStringLiteral("MASPreferences General Frame"));
    EXPECT_STREQ(keys::MASPreferencesSelectedIdentifierView.data(), "MASPreferences Selected Identifier View");
}

TEST_F(DefaultsTest, freshStoreWithoutAnApplication) {
    SettingsStore settings(path());
    settings.registerDefaults(registeredDefaults({}, desktop));
    repairAfterCaptureAction(settings);
    removeVanishedApplication(settings);
    EXPECT_TRUE(settings.boolForKey(keys::DoNothing));
    EXPECT_FALSE(settings.boolForKey(keys::OpenInApplication));
    EXPECT_FALSE(settings.objectForKey(keys::OpenInApplicationPath).isValid());
    EXPECT_FALSE(QFile::exists(path())) << "defaults are never written";
}

TEST_F(DefaultsTest, neverRegisteredKeysReadAsNothing) {
    SettingsStore settings(path());
    settings.registerDefaults(registeredDefaults(viewer, desktop));
    EXPECT_FALSE(settings.boolForKey(keys::EnableAdaptivePacketSlicing));
    EXPECT_FALSE(settings.boolForKey(keys::AlwaysDisconnect));
    EXPECT_FALSE(settings.boolForKey(keys::SuppressNoOutputAlert));
    for (const auto key :
         {keys::CloudSharkApplianceAPIToken, keys::MojoPacketsEmail, keys::MojoPacketsAPIKey, keys::LastUsedScript}) {
        EXPECT_TRUE(settings.stringForKey(key).isEmpty());
        EXPECT_FALSE(settings.objectForKey(key).isValid());
    }
}

TEST_F(DefaultsTest, allActionsSwitchedOffAreRepaired) {
    overwrite("{\"DoNothing\": 0, \"OpenInApplication\": 0, \"RunScript\": 0}");
    SettingsStore settings(path());
    settings.registerDefaults(registeredDefaults(viewer, desktop));
    repairAfterCaptureAction(settings);
    EXPECT_TRUE(settings.boolForKey(keys::DoNothing));
    EXPECT_FALSE(settings.boolForKey(keys::OpenInApplication));
    EXPECT_TRUE(SettingsStore(path()).boolForKey(keys::DoNothing)) << "stored, not only shown";
}

TEST_F(DefaultsTest, anyChosenActionIsLeftAlone) {
    for (const auto key : {keys::OpenInApplication, keys::DoNothing, keys::RunScript}) {
        QFile::remove(path());
        SettingsStore settings(path());
        settings.registerDefaults(registeredDefaults({}, desktop));
        settings.setBool(keys::DoNothing, false);
        settings.setBool(key, true);
        const auto before = content();
        repairAfterCaptureAction(settings);
        EXPECT_EQ(content(), before) << key.data();
    }
}

TEST_F(DefaultsTest, vanishedApplicationIsRemoved) {
    const auto installed = _folder.filePath(QStringLiteral("viewer.desktop"));
    overwrite(installed, "[Desktop Entry]\n");
    SettingsStore settings(path());
    settings.registerDefaults(registeredDefaults(viewer, desktop));
    settings.setString(keys::OpenInApplicationPath, installed);
    removeVanishedApplication(settings);
    EXPECT_EQ(settings.stringForKey(keys::OpenInApplicationPath), installed);

    QFile::remove(installed);
    removeVanishedApplication(settings);
    EXPECT_EQ(settings.stringForKey(keys::OpenInApplicationPath), viewer) << "the registered default shows again";
    EXPECT_FALSE(SettingsStore(path()).objectForKey(keys::OpenInApplicationPath).isValid());
}

TEST_F(DefaultsTest, theChoiceOfNoApplicationIsKept) {
    SettingsStore settings(path());
    settings.registerDefaults(registeredDefaults(viewer, desktop));
    settings.setString(keys::OpenInApplicationPath, {});
    removeVanishedApplication(settings);
    EXPECT_EQ(settings.stringForKey(keys::OpenInApplicationPath), QString());
    EXPECT_TRUE(SettingsStore(path()).objectForKey(keys::OpenInApplicationPath).isValid());
}

TEST_F(DefaultsTest, anUploadServiceNeedsBothItsTexts) {
    SettingsStore settings(path());
    settings.registerDefaults(registeredDefaults({}, desktop));
    EXPECT_FALSE(isCloudSharkConfigured(settings));
    settings.setString(keys::CloudSharkApplianceAPIToken, QStringLiteral("t"));
    EXPECT_TRUE(isCloudSharkConfigured(settings));
    settings.setString(keys::CloudSharkApplianceURL, {});
    EXPECT_FALSE(isCloudSharkConfigured(settings));

    EXPECT_FALSE(isMojoPacketsConfigured(settings));
    settings.setString(keys::MojoPacketsEmail, QStringLiteral("a@b.example"));
    EXPECT_FALSE(isMojoPacketsConfigured(settings));
    settings.setString(keys::MojoPacketsAPIKey, QStringLiteral("k"));
    EXPECT_TRUE(isMojoPacketsConfigured(settings));
    settings.removeObjectForKey(keys::MojoPacketsEmail);
    EXPECT_FALSE(isMojoPacketsConfigured(settings));
}

} // namespace
