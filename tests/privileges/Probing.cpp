#include "Probing.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vantrel::testing {

QString whyNoProbing() {
    if (::geteuid() != 0) {
        return QStringLiteral("only root can give capabilities away");
    }
    return QStandardPaths::findExecutable(QStringLiteral("setpriv")).isEmpty()
               ? QStringLiteral("setpriv is not installed")
               : QString();
}

PublicFolder::PublicFolder(const QStringList& programs)
    : _path(QStringLiteral("/var/tmp/vantrel-probe-%1").arg(::getpid())) {
    const auto everybody = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup |
                           QFile::ReadOther | QFile::ExeOther;
    QDir().mkpath(_path);
    QFile::setPermissions(_path, everybody);
    for (const QString& program : programs) {
        const QString copy = _path + QLatin1Char('/') + QFileInfo(program).fileName();
        EXPECT_TRUE(QFile::copy(program, copy));
        QFile::setPermissions(copy, everybody);
    }
}

PublicFolder::~PublicFolder() { QDir(_path).removeRecursively(); }

QStringList linesOf(const PublicFolder& folder, const QStringList& command, const QString& ambient,
                    const QStringList& environment) {
    QStringList words{QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                      QStringLiteral("--clear-groups")};
    if (!ambient.isEmpty()) {
        words << QStringLiteral("--inh-caps=") + ambient << QStringLiteral("--ambient-caps=") + ambient;
    }
    // The variables come last: those of the dynamic linker are not meant for setpriv.
    words << QStringLiteral("/usr/bin/env");
    words += environment;
    words += command;
    QProcess process;
    process.setWorkingDirectory(folder.path());
    process.start(QStringLiteral("setpriv"), words);
    EXPECT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    return QString::fromLocal8Bit(process.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString setsOf(const QStringList& lines, const QString& who) {
    for (const QString& line : lines) {
        QStringList words = line.split(QLatin1Char(' '));
        if (words.takeFirst() == who && words.size() == 4) {
            for (QString& word : words) {
                word = QString::number(word.toULongLong(nullptr, 16), 16);
            }
            return words.join(QLatin1Char(' '));
        }
    }
    return {};
}

} // namespace vantrel::testing
