#include "delivery/LeftoverCaptures.h"

#include "DeliveryTexts.h"
#include "base/SizeText.h"
#include "base/Translated.h"
#include "delivery/UserNotification.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <algorithm>

namespace vantrel {

namespace {

const QString listName = QStringLiteral(".offered");
const QString unfinishedLists = listName + QStringLiteral(".??????"); // as QSaveFile names what it writes
const QString captureNames = QStringLiteral("vantrel_*.pcap");
constexpr qint64 fileHeaderSize = 24; // of a pcap file (pcap-savefile(5)); frames come behind it

QStringList offeredBefore(const QDir& folder) {
    QFile list(folder.filePath(listName));
    if (!list.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(list.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

// Of a run that was killed while it wrote one.
void removeUnfinishedLists(const QDir& folder) {
    for (const QString& name : folder.entryList({unfinishedLists}, QDir::Files | QDir::Hidden)) {
        QFile::remove(folder.filePath(name));
    }
}

void remember(const QDir& folder, const QStringList& names) {
    QSaveFile list(folder.filePath(listName));
    if (!list.open(QIODevice::WriteOnly) || list.write(names.join(u'\n').toUtf8()) < 0 || !list.commit()) {
        qCWarning(lcDelivery, "%s: %s", qUtf8Printable(list.fileName()), qUtf8Printable(list.errorString()));
    }
}

// With frames in them, newest last.
QFileInfoList capturesIn(const QDir& folder) {
    QFileInfoList captures;
    for (const QFileInfo& file :
         folder.entryInfoList({captureNames}, QDir::Files | QDir::NoSymLinks, QDir::Time | QDir::Reversed)) {
        if (file.size() > fileHeaderSize) {
            captures << file;
        } else {
            QFile::remove(file.filePath());
        }
    }
    return captures;
}

UserNotification offer(const QDir& folder, const QFileInfoList& captures) {
    qint64 bytes = 0;
    for (const QFileInfo& capture : captures) {
        bytes += capture.size();
    }
    const QString size = sizeText(static_cast<std::uint64_t>(bytes));
    if (captures.size() == 1) {
        return {
            .title = translated(texts::leftOver),
            .subtitle = captures.first().fileName(),
            .informativeText = translated(texts::leftOverInfo).arg(size),
            .userInfo = {{userinfo::Uploader, userinfo::LocalSingle}, {userinfo::Path, captures.first().filePath()}},
            .otherButtonTitle = translated(texts::dismiss)};
    }
    return {.title = translated(texts::leftOverSeveral),
            .subtitle = folder.path(),
            .informativeText = translated(texts::leftOverSeveralInfo).arg(QString::number(captures.size()), size),
            .userInfo = {{userinfo::Uploader, userinfo::LocalMultiple}, {userinfo::Location, folder.path()}},
            .otherButtonTitle = translated(texts::dismiss)};
}

} // namespace

void offerLeftoverCaptures(const QString& temporaryFolder, UserNotificationCenter& notifications) {
    const QDir folder(temporaryFolder);
    if (temporaryFolder.isEmpty() || !folder.exists()) {
        return;
    }
    removeUnfinishedLists(folder);
    const QFileInfoList captures = capturesIn(folder);
    const QStringList before = offeredBefore(folder);
    QStringList names;
    QFileInfoList fresh;
    for (const QFileInfo& capture : captures) {
        names << capture.fileName();
        if (!before.contains(capture.fileName())) {
            fresh << capture;
        }
    }
    if (!fresh.isEmpty()) {
        notifications.deliverNotification(offer(folder, fresh));
    }
    if (names != before) {
        remember(folder, names);
    }
}

} // namespace vantrel
