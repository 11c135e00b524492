#include "app/Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

namespace vantrel {

namespace {
// The application keeps it until its own end. False when there is none for this language.
bool install(const QString& language, const QString& name, const QString& folder) {
    auto* translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(QString(name + u'_' + language).replace(u'-', u'_'), folder)) {
        return QCoreApplication::installTranslator(translator);
    }
    delete translator;
    return false;
}
} // namespace

void installTranslations(const QStringList& languages) {
    for (const QString& language : languages) {
        // The sources are in English, so there is no file for it; a language that the user likes less may not take its
        // place.
        if (QLocale(language).language() == QLocale::English) {
            return;
        }
        if (install(language, QStringLiteral("vantrel"), QStringLiteral(":/vantrel/translations"))) {
            install(language, QStringLiteral("qtbase"), QLibraryInfo::path(QLibraryInfo::TranslationsPath));
            return;
        }
    }
}

void installTranslations(const QLocale& locale) { installTranslations(locale.uiLanguages()); }

} // namespace vantrel
