// The program's texts in the user's language.
//
// Main thread.
#pragma once

#include <QLocale>

namespace vantrel {

// Has all texts from now on translated into the first of the locale's languages that there is a translation for: the
// program's own, and those of Qt's dialogs where the system has them. Once, after the application object; English
// otherwise.
void installTranslations(const QLocale& locale);

} // namespace vantrel
