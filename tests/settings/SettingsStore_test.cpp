#include "settings/SettingsStore.h"

#include "SettingsFixture.h"
#include "settings/SettingsKeys.h"
#include "support/LogCapture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <atomic>
#include <limits>
#include <thread>

using namespace vantrel;

namespace {

using SettingsStoreTest = vantrel::testing::SettingsTest;

TEST_F(SettingsStoreTest, thePathFollowsTheConfigurationDirectory) {
    qputenv("XDG_CONFIG_HOME", _folder.path().toLocal8Bit());
    EXPECT_EQ(SettingsStore().path(), path());
    qunsetenv("XDG_CONFIG_HOME");
}

TEST_F(SettingsStoreTest, everyTypeComesBackAlsoInAnotherStore) {
    SettingsStore settings(path());
    const QStringList scripts{QStringLiteral("/a b/c.py"), QString(), QStringLiteral("\"")};
    const std::vector<std::int64_t> numbers{1, -1, std::numeric_limits<std::int64_t>::max()};
    settings.setBool(keys::DoNothing, true);
    settings.setBool(keys::RunScript, false);
    settings.setInteger(keys::DwellTime, std::numeric_limits<std::int64_t>::min());
    settings.setString(keys::LastUsedScript, QStringLiteral("sch\u00f6n"));
    settings.setStringArray(keys::ScriptList, scripts);
    settings.setIntegerArray(keys::CustomChannelList, numbers);
    SettingsStore other(path());
    for (const auto* store : {&settings, &other}) {
        EXPECT_TRUE(store->boolForKey(keys::DoNothing));
        EXPECT_FALSE(store->boolForKey(keys::RunScript));
        EXPECT_TRUE(store->objectForKey(keys::RunScript).isValid());
        EXPECT_EQ(store->integerForKey(keys::DwellTime), std::numeric_limits<std::int64_t>::min());
        EXPECT_EQ(store->stringForKey(keys::LastUsedScript), QStringLiteral("sch\u00f6n"));
        EXPECT_EQ(store->stringArrayForKey(keys::ScriptList), scripts);
        EXPECT_EQ(store->integerArrayForKey(keys::CustomChannelList), numbers);
    }
}

TEST_F(SettingsStoreTest, booleansAreKeptAsNumbersAndReadAsEither) {
    SettingsStore settings(path());
    settings.setBool(keys::DoNothing, true);
    EXPECT_EQ(QJsonDocument::fromJson(content()).object().value(keys::DoNothing), QJsonValue(1));
    overwrite("{\"DoNothing\": false, \"RunScript\": true, \"DisplayChannel\": \"YES\"}");
    EXPECT_FALSE(settings.boolForKey(keys::DoNothing));
    EXPECT_TRUE(settings.boolForKey(keys::RunScript));
    EXPECT_TRUE(settings.boolForKey(keys::DisplayChannel));
}

TEST_F(SettingsStoreTest, defaultsShowWhereTheFileSaysNothing) {
    SettingsStore settings(path());
    settings.registerDefaults({{keys::DwellTime, 250}, {keys::MaxCaptureFiles, 1}});
    settings.registerDefaults({{keys::MaxCaptureFiles, 4}});
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 250);
    EXPECT_EQ(settings.integerForKey(keys::MaxCaptureFiles), 4);
    overwrite("{\"DwellTime\": null}");
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 250);
    settings.setInteger(keys::DwellTime, 100);
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 100);
    settings.removeObjectForKey(keys::DwellTime);
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 250);
    EXPECT_FALSE(content().contains("DwellTime"));
    EXPECT_FALSE(settings.objectForKey(QLatin1StringView("Unheard")).isValid());
}

TEST_F(SettingsStoreTest, foreignKeysSurviveAWrite) {
    overwrite("{\"Newer\": {\"deep\": [1, {\"x\": null}]}, \"Big\": 9007199254740993, \"DwellTime\": 1}");
    SettingsStore settings(path());
    settings.setInteger(keys::DwellTime, 2);
    const auto object = QJsonDocument::fromJson(content()).object();
    EXPECT_EQ(QJsonDocument(object.value(QLatin1StringView("Newer")).toObject()).toJson(QJsonDocument::Compact),
              QByteArray("{\"deep\":[1,{\"x\":null}]}"));
    EXPECT_EQ(object.value(QLatin1StringView("Big")).toInteger(), 9007199254740993);
    EXPECT_EQ(object.value(keys::DwellTime).toInteger(), 2);
}

TEST_F(SettingsStoreTest, aChangeInPlaceOfTheSameSizeShowsAtTheNextRead) {
    overwrite("{\"DwellTime\": 000}");
    QFile file(path()); // stays open, so that several changes fall into one tick of the file system's clock
    ASSERT_TRUE(file.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    SettingsStore settings(path());
    for (int round = 100; round < 1000; ++round) {
        ASSERT_TRUE(file.seek(14));
        ASSERT_EQ(file.write(QByteArray::number(round)), 3);
        ASSERT_EQ(settings.integerForKey(keys::DwellTime), round);
    }
}

TEST_F(SettingsStoreTest, anotherStoresChangeShowsAtTheNextRead) {
    SettingsStore mine(path());
    SettingsStore theirs(path());
    for (int round = 0; round < 50; ++round) {
        theirs.setInteger(keys::DwellTime, round);
        ASSERT_EQ(mine.integerForKey(keys::DwellTime), round);
    }
    QFile::remove(path());
    EXPECT_FALSE(mine.objectForKey(keys::DwellTime).isValid());
}

TEST_F(SettingsStoreTest, theGenerationGrowsWithEveryChange) {
    SettingsStore settings(path());
    const auto first = settings.generation();
    settings.registerDefaults({{keys::DwellTime, 250}});
    const auto registered = settings.generation();
    EXPECT_GT(registered, first);
    settings.setInteger(keys::DwellTime, 100);
    const auto written = settings.generation();
    EXPECT_GT(written, registered);
    settings.refresh();
    EXPECT_EQ(settings.integerForKey(keys::DwellTime), 100);
    EXPECT_EQ(settings.generation(), written) << "nothing has changed";
    overwrite("{\"DwellTime\": 300}");
    EXPECT_EQ(settings.generation(), written) << "looks at no file";
    settings.refresh();
    EXPECT_GT(settings.generation(), written);
}

TEST_F(SettingsStoreTest, hostileTextsRoundTrip) {
    const QStringList texts{
        QString(10'000, u'x'),
        QStringLiteral("line\r\nline\u2028\ttab"),
        QStringLiteral("\"},{\\\"a\\\":\\u0000\\"),
        QStringLiteral("\u202eevil\u202c \u05e9\u05dc\u05d5\u05dd"),
        QStringLiteral("before") + QChar(u'\0') + QStringLiteral("after"),
        QString::fromUtf8("\xf0\x9f\x93\xb6 e\xcc\x81 \xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x94\xac"),
        QStringLiteral("\ufeff\ufffe\uffff\u007f\u0001"),
        QString(),
    };
    SettingsStore settings(path());
    settings.setStringArray(keys::ScriptList, texts);
    EXPECT_EQ(SettingsStore(path()).stringArrayForKey(keys::ScriptList), texts);
    for (const auto& text : texts) {
        settings.setString(keys::LastUsedScript, text);
        EXPECT_EQ(settings.stringForKey(keys::LastUsedScript), text);
        EXPECT_EQ(SettingsStore(path()).stringForKey(keys::LastUsedScript), text);
    }
}

TEST_F(SettingsStoreTest, halfASurrogatePairLeavesTheFileReadable) {
    SettingsStore settings(path());
    settings.setString(keys::LastUsedScript, QStringLiteral("a") + QChar(0xd83d));
    settings.setInteger(keys::DwellTime, 100);
    EXPECT_EQ(SettingsStore(path()).integerForKey(keys::DwellTime), 100);
    EXPECT_EQ(settings.stringForKey(keys::LastUsedScript), SettingsStore(path()).stringForKey(keys::LastUsedScript));
}

TEST_F(SettingsStoreTest, aValueThatCouldNotBeReadBackIsRefused) {
    const vantrel::testing::LogCapture log;
    SettingsStore settings(path());
    settings.setString(keys::CloudSharkApplianceAPIToken, QStringLiteral("token"));
    settings.setString(keys::CloudSharkApplianceAPIToken, QString(2 * 1024 * 1024, u's'));
    EXPECT_EQ(settings.stringForKey(keys::CloudSharkApplianceAPIToken), QStringLiteral("token"));
    ASSERT_EQ(log.warnings().size(), 1);
    EXPECT_EQ(
        log.warnings().front(),
        QStringLiteral("CloudSharkApplianceAPIToken was not changed: its new value is larger than 1048576 bytes"));
    EXPECT_TRUE(settings.synchronize());
}

TEST_F(SettingsStoreTest, threadsReadAndWriteTogether) {
    SettingsStore settings(path());
    settings.registerDefaults({{keys::DwellTime, 250}});
    std::atomic<bool> done = false;
    const auto write = [&settings](QLatin1StringView key) {
        for (int round = 1; round <= 50; ++round) {
            settings.setInteger(key, round);
            ASSERT_EQ(settings.integerForKey(key), round);
        }
    };
    std::atomic<bool> forwards = true;
    const auto read = [&] {
        std::int64_t last = 0;
        while (!done.load()) {
            const auto value = settings.integerForKey(keys::MaxCaptureFiles);
            if (value < last || settings.integerForKey(keys::DwellTime) != 250) {
                forwards.store(false);
            }
            last = value;
            settings.refresh();
            (void)settings.generation();
        }
    };
    std::thread first(write, keys::MaxCaptureFiles);
    std::thread second(write, keys::LimitCaptureFileValue);
    std::thread reader(read);
    std::thread another(read);
    first.join();
    second.join();
    done.store(true);
    reader.join();
    another.join();
    EXPECT_TRUE(forwards.load());
    EXPECT_EQ(SettingsStore(path()).integerForKey(keys::MaxCaptureFiles), 50);
    EXPECT_EQ(SettingsStore(path()).integerForKey(keys::LimitCaptureFileValue), 50);
}

} // namespace
