// The texts of the program in the user's language.
//
// A text constant keeps the English text, marked for the translators with QT_TRANSLATE_NOOP("vantrel", "…"), to which
// an empty u"" gives its type where the constant is a QStringView; the place that shows it asks for its translation.
// Interface files are translated under their class's name instead. Any thread, once the translations are installed.
#pragma once

#include <QCoreApplication>
#include <QLatin1StringView>
#include <QString>
#include <QStringView>

namespace vantrel {

// The English text itself while there is no translation. The text is in UTF-8.
[[nodiscard]] inline QString translated(const char* text) { return QCoreApplication::translate("vantrel", text); }

// Of a constant that is a whole literal, so that its characters end with a 0.
[[nodiscard]] inline QString translated(QLatin1StringView text) { return translated(text.data()); }
[[nodiscard]] inline QString translated(QStringView text) {
    return text.isEmpty() ? QString() : translated(text.toUtf8().constData());
}

} // namespace vantrel
