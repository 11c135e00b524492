#include "app/HelpDocument.h"

#include "base/Translated.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

// Resources of a static library stay out of the program unless someone asks for them, outside any namespace.
static void registerResources() { Q_INIT_RESOURCE(help); }

namespace vantrel {

namespace {

// A translation names the document in its language.
constexpr char documentName[] = QT_TRANSLATE_NOOP("vantrel", "Help.html");

Expected<void> copyFile(const QString& from, const QString& to) {
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly)) {
        return failure(QStringLiteral("open() of %1").arg(from), source.errorString());
    }
    QSaveFile copy(to);
    copy.open(QIODevice::WriteOnly);
    copy.write(source.readAll());
    if (!copy.commit()) {
        return failure(QStringLiteral("write() of %1").arg(to), copy.errorString());
    }
    return {};
}

} // namespace

Expected<QString> unpackHelpDocument() {
    registerResources();
    const QDir resources(QStringLiteral(":/vantrel/help"));
    const QDir folder(QDir(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation))
                          .filePath(QStringLiteral("vantrel/help")));
    if (!folder.mkpath(QStringLiteral("."))) {
        return failure(QStringLiteral("mkpath() of %1").arg(folder.path()), QStringLiteral("refused"));
    }
    for (const QString& name : resources.entryList(QDir::Files)) {
        if (const auto copied = copyFile(resources.filePath(name), folder.filePath(name)); !copied) {
            return tl::unexpected(copied.error());
        }
    }
    return folder.filePath(translated(documentName));
}

} // namespace vantrel
