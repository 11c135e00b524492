#include "app/Translations.h"

#include "base/Translated.h"
#include "ui/AboutPanel.h"

#include <QApplication>
#include <QTextBrowser>
#include <QTranslator>
#include <gtest/gtest.h>

namespace vantrel::testing {
namespace {

class Translations : public ::testing::Test {
protected:
    void install(const QString& locale) {
        const auto before = qApp->findChildren<QTranslator*>();
        installTranslations(QLocale(locale));
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
}

TEST_F(Translations, OtherwiseTheTextsAreEnglish) {
    for (const auto& locale : {QStringLiteral("en_US"), QStringLiteral("C"), QStringLiteral("tlh")}) {
        install(locale);
        EXPECT_EQ(translated("Vantrel Preferences"), QStringLiteral("Vantrel Preferences")) << qPrintable(locale);
    }
    EXPECT_EQ(translated(QLatin1StringView("no such text")), QStringLiteral("no such text"));
}

TEST_F(Translations, CreditsAreGermanToo) {
    install(QStringLiteral("de"));
    const ui::AboutPanel panel(QStringLiteral("2.1"));
    EXPECT_TRUE(panel.findChild<QTextBrowser*>()->toPlainText().startsWith(QStringLiteral("Gemacht von")));
}

} // namespace
} // namespace vantrel::testing
