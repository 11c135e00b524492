// The program's texts in the user's language.
//
// Main thread.
#pragma once

#include <QLocale>
#include <QStringList>

namespace vantrel {

// Has all texts from now on translated into the first of these languages that there is a translation for: the program's
// own, and with them those of Qt's dialogs where the system has them. The languages are names of BCP 47, the one that
// the user likes best comes first. Once, after the application object; English otherwise, and where English comes
// first.
void installTranslations(const QStringList& languages);

// Into the languages of the locale's user.
void installTranslations(const QLocale& locale);

} // namespace vantrel
