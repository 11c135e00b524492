#include "AutostartEntry.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QStandardPaths>

namespace vantrel {

namespace {

// In a value of type string a backslash begins an escape ("Possible value types").
QString escapedValue(QString value) {
    value.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    value.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    value.replace(QLatin1Char('\r'), QLatin1String("\\r"));
    value.replace(QLatin1Char('\t'), QLatin1String("\\t"));
    return value;
}

QString unescapedValue(const QString& value) {
    QString plain;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] != QLatin1Char('\\') || i + 1 == value.size()) {
            plain += value[i];
            continue;
        }
        switch (const auto escape = value[++i]; escape.unicode()) {
        case 's':
            plain += QLatin1Char(' ');
            break;
        case 'n':
            plain += QLatin1Char('\n');
            break;
        case 't':
            plain += QLatin1Char('\t');
            break;
        case 'r':
            plain += QLatin1Char('\r');
            break;
        case '\\':
            plain += escape;
            break;
        default: // none of the string type's own: the quoting of Exec may mean it
            plain += QLatin1Char('\\');
            plain += escape;
        }
    }
    return plain;
}

// One argument of Exec, always quoted ("The Exec key"); a percent sign alone would begin a field code.
QString quotedArgument(const QString& argument) {
    QString quoted(QLatin1Char('"'));
    for (const auto c : argument) {
        if (QLatin1StringView("\"`$\\").contains(c)) {
            quoted += QLatin1Char('\\');
        } else if (c == QLatin1Char('%')) {
            quoted += QLatin1Char('%');
        }
        quoted += c;
    }
    return quoted + QLatin1Char('"');
}

// The program that an Exec line runs: its first argument, without quotes and escapes.
QString programOf(const QString& exec) {
    QString program;
    bool quoted = false;
    const auto line = exec.trimmed();
    for (qsizetype i = 0; i < line.size(); ++i) {
        const auto c = line[i];
        const bool last = i + 1 == line.size();
        if (c == QLatin1Char('"')) {
            quoted = !quoted;
        } else if (c.isSpace() && !quoted) {
            break;
        } else if (!last &&
                   ((c == QLatin1Char('\\') && quoted) || (c == QLatin1Char('%') && line[i + 1] == QLatin1Char('%')))) {
            program += line[++i];
        } else {
            program += c;
        }
    }
    return program;
}

// The keys of the group "Desktop Entry".
QHash<QString, QString> entryKeys(const QByteArray& text) {
    QHash<QString, QString> keys;
    bool inEntry = false;
    for (const auto& rawLine : text.split('\n')) {
        const auto line = QString::fromUtf8(rawLine).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inEntry = line == QLatin1String("[Desktop Entry]");
        } else if (const auto equals = line.indexOf(QLatin1Char('='));
                   inEntry && equals > 0 && !line.startsWith(QLatin1Char('#'))) {
            keys.insert(line.left(equals).trimmed(), unescapedValue(line.mid(equals + 1).trimmed()));
        }
    }
    return keys;
}

bool sameProgram(const QString& program, const QString& executable) {
    const auto found =
        QDir::isAbsolutePath(program) ? QDir::cleanPath(program) : QStandardPaths::findExecutable(program);
    if (found.isEmpty()) {
        return false;
    }
    const auto real = QFileInfo(found).canonicalFilePath(); // empty when the file does not exist
    return found == QDir::cleanPath(executable) ||
           (!real.isEmpty() && real == QFileInfo(executable).canonicalFilePath());
}

} // namespace

QByteArray autostartEntry(const QString& executable) {
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Vantrel\n"
                          "Exec=%1\n"
                          "Icon=vantrel\n"
                          "X-GNOME-Autostart-enabled=true\n")
        .arg(escapedValue(quotedArgument(executable)))
        .toUtf8();
}

bool entryLaunches(const QByteArray& text, const QString& executable) {
    const auto keys = entryKeys(text);
    const QString yes = QStringLiteral("true");
    return keys.value(QStringLiteral("Hidden")) != yes &&
           keys.value(QStringLiteral("X-GNOME-Autostart-enabled"), yes) != QLatin1String("false") &&
           sameProgram(programOf(keys.value(QStringLiteral("Exec"))), executable);
}

} // namespace vantrel
