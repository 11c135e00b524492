#include "OpenInMenu.h"

#include "PreferencesTexts.h"
#include "base/Translated.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui/Alerts.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QIcon>

namespace vantrel::preferences {

namespace {
constexpr int pathRole = Qt::UserRole; // what choosing the entry writes; invalid for "Other..."
constexpr int longestName = 60;        // characters of an application's name that the menu shows

QIcon iconOf(const CaptureApplication& application) {
    const QIcon unknown = QIcon::fromTheme(QStringLiteral("application-x-executable"));
    if (QDir::isAbsolutePath(application.icon)) {
        return QFileInfo::exists(application.icon) ? QIcon(application.icon) : unknown;
    }
    return QIcon::fromTheme(application.icon, unknown);
}

QString shortened(const QString& name) {
    const QString line = name.simplified();
    return line.size() > longestName ? line.left(longestName - 1) + u'…' : line;
}

// The path of an application that the user picks; empty when there is none.
QString askForApplication(QWidget& parent, const QString& current) {
    QFileDialog panel(&parent, translated(texts::selectApplication));
    panel.setFileMode(QFileDialog::ExistingFile);
    panel.setNameFilter(translated(texts::applications));
    panel.setOption(QFileDialog::DontResolveSymlinks);
    const QString installed = QStringLiteral("/usr/share/applications");
    panel.setDirectory(QFileInfo::exists(current) ? QFileInfo(current).path() : installed);
    panel.setLabelText(QFileDialog::Accept, translated(texts::select));
    if (panel.exec() != QDialog::Accepted) {
        return {};
    }
    return panel.selectedFiles().value(0);
}
} // namespace

OpenInMenu::OpenInMenu(QComboBox& menu, const PreferencesSurroundings& surroundings)
    : _menu(menu),
      _around(surroundings) {
    connect(&_menu, &QComboBox::activated, this, &OpenInMenu::chosen);
}

void OpenInMenu::show() {
    _menu.clear();
    for (const CaptureApplication& application : _around.pcapApplications()) {
        add(application);
    }
    const QString current = _around.settings.stringForKey(keys::OpenInApplicationPath);
    if (!current.isEmpty() && _menu.findData(current, pathRole) < 0) {
        const CaptureApplication vanished{.path = current,
                                          .name = QFileInfo(current).completeBaseName(),
                                          .variant = translated(texts::notFound),
                                          .icon = {}};
        add(_around.applicationAt(current).value_or(vanished));
    }
    if (_menu.count() > 0) {
        _menu.insertSeparator(_menu.count());
    }
    _menu.addItem(translated(texts::none), QString());
    _menu.addItem(translated(texts::other));
    _menu.setCurrentIndex(_menu.findData(current, pathRole));
    _menu.setToolTip(current.toHtmlEscaped());
}

void OpenInMenu::add(const CaptureApplication& application) {
    _menu.addItem(
        iconOf(application),
        QString::fromLatin1(texts::application).arg(shortened(application.name), shortened(application.variant)),
        application.path);
    _menu.setItemData(_menu.count() - 1, application.path.toHtmlEscaped(), Qt::ToolTipRole);
}

void OpenInMenu::chosen(int index) {
    const QVariant path = _menu.itemData(index, pathRole);
    if (path.isValid()) {
        _around.settings.setString(keys::OpenInApplicationPath, path.toString());
    } else {
        chooseOther();
    }
    show();
}

void OpenInMenu::chooseOther() {
    const QString path = askForApplication(*_menu.window(), _around.settings.stringForKey(keys::OpenInApplicationPath));
    if (path.isEmpty()) {
        return;
    }
    if (_around.applicationAt(path)) {
        _around.settings.setString(keys::OpenInApplicationPath, path);
    } else {
        ui::showCriticalAlertWithInfo(translated(texts::noApplication), translated(texts::noApplicationInfo).arg(path));
    }
}

} // namespace vantrel::preferences
