#include "preferences/VantrelServicesPrefsViewController.h"

#include "PreferencesFixture.h"
#include "settings/SettingsKeys.h"
#include "support/LogCapture.h"

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <sys/stat.h>

namespace vantrel::preferences {
namespace {

struct Service {
    const char* field;
    QLatin1StringView key;
};
const std::vector<Service> services{{"cloudSharkApplianceURL", keys::CloudSharkApplianceURL},
                                    {"cloudSharkApplianceAPIToken", keys::CloudSharkApplianceAPIToken},
                                    {"mojoPacketsServiceURL", keys::MojoPacketsServiceURL},
                                    {"mojoPacketsEmail", keys::MojoPacketsEmail},
                                    {"mojoPacketsAPIKey", keys::MojoPacketsAPIKey}};

class ServicesPane : public PreferencesFixture {
protected:
    VantrelServicesPrefsViewController& pane() {
        if (!_pane) {
            _pane = std::make_unique<VantrelServicesPrefsViewController>(surroundings());
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
    QString verdict(const char* name) {
        auto& label = part<QLabel>(pane(), (QByteArray(name) + "Verdict").constData());
        return label.isVisible() ? label.text() : QString();
    }
    QLabel& mark(const char* name) { return part<QLabel>(pane(), (QByteArray(name) + "Mark").constData()); }
    bool isMarked(const char* name) { return mark(name).isVisible(); }

    int trayChanges = 0;
    std::unique_ptr<VantrelServicesPrefsViewController> _pane;
};

TEST_F(ServicesPane, NamesItself) {
    EXPECT_EQ(pane().identifier(), QStringLiteral("Services"));
    EXPECT_EQ(pane().toolbarItemLabel(), QStringLiteral("Services"));
    EXPECT_FALSE(pane().toolbarItemImage().isNull());
}

TEST_F(ServicesPane, ShowsWhatIsStoredAndMissingValuesAsEmpty) {
    EXPECT_EQ(field("cloudSharkApplianceURL").text(), QStringLiteral("https://cloudshark.example"));
    EXPECT_EQ(field("mojoPacketsServiceURL").text(), QStringLiteral("https://mojopackets.example/upload"));
    for (const char* name : {"cloudSharkApplianceAPIToken", "mojoPacketsEmail", "mojoPacketsAPIKey"}) {
        EXPECT_EQ(field(name).text(), QString()) << name;
    }
    EXPECT_TRUE(stored().isEmpty()) << "appearing writes nothing";
}

TEST_F(ServicesPane, TheEndOfAnEditWritesAllFive) {
    enter(field("mojoPacketsEmail"), QStringLiteral("me@mojo.test"));
    EXPECT_EQ(stored().size(), 5);
    EXPECT_EQ(stored(keys::MojoPacketsEmail).toString(), QStringLiteral("me@mojo.test"));
    EXPECT_EQ(stored(keys::CloudSharkApplianceAPIToken), QJsonValue(QString()));
    EXPECT_EQ(stored(keys::CloudSharkApplianceURL), QJsonValue(QStringLiteral("https://cloudshark.example")));
    EXPECT_EQ(trayChanges, 1) << "the upload commands depend on it";
}

TEST_F(ServicesPane, EachFieldWritesItsOwnKey) {
    for (const auto& [name, key] : services) {
        enter(field(name), QString::fromLatin1(name));
    }
    for (const auto& [name, key] : services) {
        EXPECT_EQ(stored(key).toString(), QString::fromLatin1(name));
    }
}

TEST_F(ServicesPane, AllFiveAreWrittenWhenTheWindowIsLeft) {
    focus(field("cloudSharkApplianceAPIToken"));
    type(QStringLiteral("secret"));
    EXPECT_TRUE(stored().isEmpty()) << "the edit has not ended";
    pane().windowDidResignKey();
    EXPECT_EQ(stored().size(), 5);
    EXPECT_EQ(stored(keys::CloudSharkApplianceAPIToken).toString(), QStringLiteral("secret"));
    settings.setString(keys::CloudSharkApplianceAPIToken, QStringLiteral("newer"));
    pane().viewWillAppear();
    EXPECT_EQ(field("cloudSharkApplianceAPIToken").text(), QStringLiteral("newer")) << "that edit has ended";
}

TEST_F(ServicesPane, AllFiveAreWrittenAlsoWhenNoneWasEdited) {
    pane().windowDidResignKey();
    EXPECT_EQ(stored().size(), 5);
    EXPECT_EQ(stored(keys::MojoPacketsEmail), QJsonValue(QString()));
}

TEST_F(ServicesPane, HostileTextsComeBackAsTheyWere) {
    for (const auto& [name, text] : hostileTexts()) {
        for (const auto& [fieldName, key] : services) {
            put(field(fieldName), text);
        }
        for (const auto& [fieldName, key] : services) {
            EXPECT_EQ(stored(key).toString(), text) << name << " in " << fieldName;
        }
        appearAnew();
        for (const auto& [fieldName, key] : services) {
            EXPECT_EQ(field(fieldName).text(), text) << name << " in " << fieldName;
        }
    }
}

TEST_F(ServicesPane, LongerThanAFieldUsuallyHoldsIsNotCut) {
    const QString token(100'000, u'k');
    settings.setString(keys::MojoPacketsAPIKey, token);
    pane().windowDidResignKey();
    EXPECT_EQ(stored(keys::MojoPacketsAPIKey).toString(), token);
}

TEST_F(ServicesPane, SecretsAreMaskedUntilRevealed) {
    const std::vector<std::pair<const char*, const char*>> secrets{
        {"cloudSharkApplianceAPIToken", "revealCloudSharkApplianceAPIToken"},
        {"mojoPacketsAPIKey", "revealMojoPacketsAPIKey"}};
    for (const auto& [name, button] : secrets) {
        EXPECT_EQ(field(name).echoMode(), QLineEdit::Password) << name;
        auto& reveal = part<QPushButton>(pane(), button);
        reveal.click();
        EXPECT_EQ(field(name).echoMode(), QLineEdit::Normal) << name;
        reveal.click();
        EXPECT_EQ(field(name).echoMode(), QLineEdit::Password) << name;
        reveal.click();
        pane().hide();
        EXPECT_EQ(field(name).echoMode(), QLineEdit::Password) << name << ": masked again once out of sight";
        pane().show();
    }
    EXPECT_EQ(field("mojoPacketsEmail").echoMode(), QLineEdit::Normal);
}

TEST_F(ServicesPane, NothingOfTheFieldsIsLogged) {
    const vantrel::testing::LogCapture log;
    for (const auto& [name, key] : services) {
        put(field(name), QStringLiteral("sesame-%1").arg(QString::fromLatin1(name)));
    }
    EXPECT_TRUE(log.warnings().filter(QStringLiteral("sesame")).isEmpty());
}

TEST_F(ServicesPane, TheFileOfTheSecretsIsTheUsersAlone) {
    put(field("cloudSharkApplianceAPIToken"), QStringLiteral("secret"));
    struct stat status {};
    ASSERT_EQ(::stat(QFile::encodeName(settings.path()).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(ServicesPane, AnAddressThatCannotWorkIsMarkedAndKept) {
    for (const char* name : {"cloudSharkApplianceURL", "mojoPacketsServiceURL"}) {
        for (const char* address : {"captures.test", "ftp://captures.test", "https://a b", "https://", ""}) {
            put(field(name), QString::fromLatin1(address));
            EXPECT_TRUE(isMarked(name)) << address;
            EXPECT_FALSE(verdict(name).isEmpty()) << address;
            EXPECT_EQ(field(name).accessibleDescription(), verdict(name)) << address;
            EXPECT_EQ(mark(name).accessibleName(), verdict(name)) << address;
            EXPECT_EQ(field(name).text(), QString::fromLatin1(address)) << "nothing is lost";
        }
        put(field(name), QStringLiteral("https://captures.test"));
        EXPECT_FALSE(isMarked(name));
        EXPECT_EQ(verdict(name), QString());
    }
}

TEST_F(ServicesPane, TheDefaultsAreSaidToReachNobody) {
    for (const char* name : {"cloudSharkApplianceURL", "mojoPacketsServiceURL"}) {
        EXPECT_FALSE(isMarked(name)) << "it is no mistake";
        EXPECT_EQ(verdict(name), QStringLiteral("This address is a placeholder and reaches nobody. Enter the address "
                                                "of the service you use."));
    }
}

TEST_F(ServicesPane, AnUnfinishedAddressIsNotBlamed) {
    const char* name = "cloudSharkApplianceURL";
    put(field(name), QStringLiteral("https://captures.test"));
    focus(field(name));
    field(name).selectAll();
    type(QStringLiteral("http"));
    EXPECT_FALSE(isMarked(name));
    press(Qt::Key_Return);
    EXPECT_TRUE(isMarked(name));
    type(QStringLiteral("s://captures.test"));
    EXPECT_FALSE(isMarked(name)) << "put right while typing";
}

TEST_F(ServicesPane, HelpOpensInTheBrowser) {
    part<QPushButton>(pane(), "cloudSharkHelp").click();
    part<QPushButton>(pane(), "mojoPacketsHelp").click();
    ASSERT_EQ(urls.size(), 2);
    EXPECT_TRUE(urls[0].startsWith(QStringLiteral("https://cloudshark.example/")));
    EXPECT_TRUE(urls[1].startsWith(QStringLiteral("https://mojopackets.example/")));
}

} // namespace
} // namespace vantrel::preferences
