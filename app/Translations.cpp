#include "app/Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

namespace vantrel {

namespace {
// The application keeps it until its own end.
void install(const QLocale& locale, const QString& name, const QString& folder) {
    auto* translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(locale, name, QStringLiteral("_"), folder)) {
        QCoreApplication::installTranslator(translator);
    } else {
        delete translator; // there is none for this language, such as for English
    }
}
} // namespace

void installTranslations(const QLocale& locale) {
    install(locale, QStringLiteral("qtbase"), QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    install(locale, QStringLiteral("vantrel"), QStringLiteral(":/vantrel/translations"));
}

} // namespace vantrel
