// A folder of its own for each test, and the settings file in it as another program would write and read it.
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace vantrel::testing {

class SettingsTest : public ::testing::Test {
protected:
    [[nodiscard]] QString folder() const { return _folder.path() + QStringLiteral("/vantrel"); }
    [[nodiscard]] QString path() const { return folder() + QStringLiteral("/settings.json"); }

    // In place: the file stays the same one.
    void overwrite(const QByteArray& text) const { overwrite(path(), text); }
    static void overwrite(const QString& file, const QByteArray& text) {
        QDir().mkpath(QFileInfo(file).path());
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(out.write(text), text.size());
    }

    [[nodiscard]] QByteArray content() const { return contentOf(path()); }
    static QByteArray contentOf(const QString& file) {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }

    [[nodiscard]] QStringList namesLike(const QString& pattern) const {
        return QDir(folder()).entryList({pattern}, QDir::Files | QDir::Hidden);
    }

    static unsigned modeOf(const QString& file) {
        struct stat status {};
        return ::stat(QFile::encodeName(file).constData(), &status) == 0 ? status.st_mode & 07777U : ~0U;
    }

    QTemporaryDir _folder;
};

} // namespace vantrel::testing
