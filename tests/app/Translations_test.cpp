#include "app/Translations.h"

#include "base/Translated.h"
#include "ui/AboutPanel.h"

#include <QApplication>
#include <QFile>
#include <QLibraryInfo>
#include <QTextBrowser>
#include <QTranslator>
#include <gtest/gtest.h>

namespace vantrel::testing {
namespace {

class Translations : public ::testing::Test {
protected:
    void install(const QString& locale) { install(QLocale(locale).uiLanguages()); }
    void install(const QStringList& languages) {
        const auto before = qApp->findChildren<QTranslator*>();
        installTranslations(languages);
        for (QTranslator* translator : qApp->findChildren<QTranslator*>()) {
            if (!before.contains(translator)) {
                _installed << translator;
            }
        }
    }
    ~Translations() override {
        for (QTranslator* translator : _installed) {
            QApplication::removeTranslator(translator);
            delete translator;
        }
    }

    QList<QTranslator*> _installed;
};

TEST_F(Translations, GermanIsGermanInEveryCountry) {
    for (const auto& locale : {QStringLiteral("de_DE"), QStringLiteral("de_AT"), QStringLiteral("de")}) {
        install(locale);
        EXPECT_EQ(translated("Vantrel Preferences"), QStringLiteral("Vantrel-Einstellungen")) << qPrintable(locale);
    }
    EXPECT_EQ(QCoreApplication::translate("vantrel::ui::VantrelProgressPanel", "&Stop"), QStringLiteral("&Stopp"));
    if (QFile::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) + QStringLiteral("/qtbase_de.qm"))) {
        EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Abbrechen"));
    }
}

TEST_F(Translations, OtherwiseTheTextsAreEnglish) {
    for (const auto& locale : {QStringLiteral("en_US"), QStringLiteral("C"), QStringLiteral("tlh")}) {
        install(locale);
        EXPECT_EQ(translated("Vantrel Preferences"), QStringLiteral("Vantrel Preferences")) << qPrintable(locale);
    }
    EXPECT_EQ(translated(QLatin1StringView("no such text")), QStringLiteral("no such text"));
}

TEST_F(Translations, TheLanguageThatIsLikedBestOfThoseThereAre) {
    for (const auto& languages : {"en-US en de", "en-GB de-AT", "fr-FR en de"}) {
        install(QString::fromLatin1(languages).split(u' '));
        EXPECT_TRUE(_installed.isEmpty()) << languages;
        EXPECT_EQ(translated("Vantrel Preferences"), QStringLiteral("Vantrel Preferences")) << languages;
    }
    install(QStringList{QStringLiteral("fr-FR"), QStringLiteral("fr"), QStringLiteral("de-AT"), QStringLiteral("en")});
    EXPECT_EQ(translated("Vantrel Preferences"), QStringLiteral("Vantrel-Einstellungen"));
}

TEST_F(Translations, CreditsAreGermanToo) {
    install(QStringLiteral("de"));
    const ui::AboutPanel panel(QStringLiteral("2.1"));
    EXPECT_TRUE(panel.findChild<QTextBrowser*>()->toPlainText().startsWith(QStringLiteral("Gemacht von")));
}

} // namespace
} // namespace vantrel::testing
