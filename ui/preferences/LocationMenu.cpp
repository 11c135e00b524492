#include "LocationMenu.h"

#include "PaneParts.h"
#include "PreferencesTexts.h"
#include "base/Translated.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui/Alerts.h"

#include <QComboBox>
#include <QFileInfo>
#include <QStandardItemModel>
#include <QStyle>
#include <QUrl>

namespace vantrel::preferences {

namespace {
constexpr int locationRole = Qt::UserRole; // what choosing the entry writes; invalid for "Other..."
constexpr int pathInLetters = 34;          // how much of a path the menu shows
} // namespace

LocationMenu::LocationMenu(QComboBox& menu, SettingsStore& settings, QString desktopFolder)
    : _menu(menu),
      _settings(settings),
      _desktopFolder(std::move(desktopFolder)) {
    connect(&_menu, &QComboBox::activated, this, &LocationMenu::chosen);
}

QString LocationMenu::folderIn(const QString& location) {
    const QUrl url(location);
    return url.isLocalFile() ? url.toLocalFile() : location;
}

void LocationMenu::show() {
    repair();
    fill(_settings.stringForKey(keys::CaptureFilesLocation));
}

// Here as a file URL; the next capture puts the plain path in its place.
void LocationMenu::repair() {
    const QString location = _settings.stringForKey(keys::CaptureFilesLocation);
    const QString desktop = QUrl::fromLocalFile(_desktopFolder).toString(QUrl::FullyEncoded);
    if (!isSpecialLocation(location) && !QFileInfo::exists(location) && location != desktop) {
        _settings.setString(keys::CaptureFilesLocation, desktop);
    }
}

void LocationMenu::fill(const QString& location) {
    _menu.clear();
    const QString folder = folderIn(location);
    if (!isSpecialLocation(location) && folder != _desktopFolder) {
        addFolder(shownPath(folder, _menu, pathInLetters * _menu.fontMetrics().averageCharWidth()), location);
    }
    addFolder(translated(texts::desktop), _desktopFolder);
    _menu.insertSeparator(_menu.count());
    _menu.addItem(translated(texts::askForEachCapture), QString(locations::AskForEachCapture));
    _menu.insertSeparator(_menu.count());
    addService(translated(texts::cloudShark), translated(texts::cloudSharkMissing), locations::CloudShark,
               isCloudSharkConfigured(_settings));
    addService(translated(texts::mojoPackets), translated(texts::mojoPacketsMissing), locations::MojoPackets,
               isMojoPacketsConfigured(_settings));
    _menu.insertSeparator(_menu.count());
    _menu.addItem(translated(texts::other));
    _menu.setCurrentIndex(folder == _desktopFolder ? _menu.findData(_desktopFolder, locationRole)
                                                   : _menu.findData(location));
    const QString toolTip = _menu.currentData(Qt::ToolTipRole).toString();
    _menu.setToolTip(toolTip);
    _menu.setAccessibleDescription(toolTip);
}

void LocationMenu::addFolder(const QString& title, const QString& path) {
    _menu.addItem(_menu.style()->standardIcon(QStyle::SP_DirIcon), title, path);
    _menu.setItemData(_menu.count() - 1, folderIn(path).toHtmlEscaped(), Qt::ToolTipRole);
}

void LocationMenu::addService(const QString& title, const QString& titleWhenMissing, const QString& location,
                              bool isConfigured) {
    _menu.addItem(isConfigured ? title : titleWhenMissing, location);
    qobject_cast<QStandardItemModel*>(_menu.model())->item(_menu.count() - 1)->setEnabled(isConfigured);
}

void LocationMenu::chosen(int index) {
    const QVariant location = _menu.itemData(index, locationRole);
    if (location.isValid()) {
        write(location.toString());
    } else {
        chooseOther();
    }
}

void LocationMenu::write(const QString& location) {
    _settings.setString(keys::CaptureFilesLocation, location);
    show();
    Q_EMIT locationDidChange();
}

void LocationMenu::chooseOther() {
    if (const auto folder = ui::askForFolder()) {
        write(*folder);
    } else {
        show(); // what was chosen before
    }
}

} // namespace vantrel::preferences
