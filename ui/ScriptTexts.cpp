#include "ScriptTexts.h"
#include "base/Translated.h"

#include <algorithm>

namespace vantrel::ui {

namespace {
constexpr qsizetype shownCharacters = 1'000'000;
constexpr qsizetype alertCharacters = 2000;
constexpr qsizetype alertLines = 20;
const QString ellipsis = QStringLiteral("…\n");
} // namespace

QString shownOutput(const QString& output) {
    if (output.size() <= shownCharacters) {
        return output;
    }
    return output.left(shownCharacters) +
           translated(QT_TRANSLATE_NOOP("vantrel", "\n… and %1 characters more.")).arg(output.size() - shownCharacters);
}

QString endOfErrors(const QString& errors) {
    qsizetype start = errors.endsWith(u'\n') ? errors.size() - 1 : errors.size();
    for (qsizetype line = 0; line < alertLines && start > 0; ++line) {
        start = errors.lastIndexOf(u'\n', start - 1); // -1 in the first line
    }
    start = std::max(start + 1, errors.size() - alertCharacters);
    return start <= 0 ? errors : ellipsis + errors.mid(start);
}

} // namespace vantrel::ui
