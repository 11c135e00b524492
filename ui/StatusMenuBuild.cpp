// The layout of the menu: what stands in it before the adapter is known, and in which order.
#include "MenuTexts.h"
#include "base/Translated.h"
#include "ui/MenuOutlets.h"
#include "ui/StatusMenu.h"

#include <QAction>
#include <QActionGroup>

namespace vantrel::ui {

namespace {
constexpr int heading2Dot4GHzTag = 1000; // larger than every channel number

void nameItem(QAction& item, QLatin1StringView outlet) { item.setObjectName(QString(outlet)); }
} // namespace

void StatusMenu::build() {
    _menu.setObjectName(QString(outlets::statusItemMenu));
    _menu.setAccessibleName(texts::menuName.toString());
    _menu.setToolTipsVisible(true);
    addStatusLines();
    addTuning();
    addCaptures();
    addUpload();
    addWiFiCommands();
    addApplicationCommands();
}

// Without power only the first line, the power command and what follows it stay visible. So the separators of the
// groups between them go too, and the unnamed one after the power command stays.
void StatusMenu::addStatusLines() {
    addLine(outlets::statusMenuItem, texts::off);
    addLine(outlets::channelMenuItem, {});
    addLine(outlets::channelWidthMenuItem, {});
    addSeparator(outlets::sepMenuItem1);
}

void StatusMenu::addTuning() {
    _channels = addSubmenu(outlets::channelSubmenuMenuItem, texts::channelSubmenu);
    _band2Dot4GHzHeading = addLine(*_channels, texts::band2Dot4GHz);
    _band2Dot4GHzHeading->setData(heading2Dot4GHzTag);
    _band5GHzHeading = {_channels->addSeparator(), addLine(*_channels, texts::band5GHz)};
    _channelWidths = addSubmenu(outlets::channelWidthSubmenuMenuItem, texts::channelWidthSubmenu);
    _linkLayerHeaders = addSubmenu(outlets::linkLayerHeaderSubmenuMenuItem, texts::linkLayerHeaderSubmenu);
    addSeparator(outlets::sepMenuItem2);
}

void StatusMenu::addCaptures() {
    addLine(outlets::singleChannelCaptureMenuItem, texts::singleChannelHeading);
    addCommand(_menu, outlets::captureMenuItem, texts::capture, &StatusMenu::captureRequested);
    _captureOther2Dot4GHz = addSubmenu(outlets::captureOther2Dot4GHzSubmenuItem, texts::captureOther2Dot4GHz);
    _captureOther5GHz = addSubmenu(outlets::captureOther5GHzSubmenuItem, texts::captureOther5GHz);
    addSeparator(outlets::sepMenuItem3);

    addLine(outlets::multipleChannelCaptureMenuItem, texts::multipleChannelsHeading);
    addCommand(_menu, outlets::captureAll2Dot4GHzMenuItem, texts::captureAll2Dot4GHz,
               &StatusMenu::captureAll2Dot4GHzRequested);
    addCommand(_menu, outlets::captureAll5GHzMenuItem, texts::captureAll5GHz, &StatusMenu::captureAll5GHzRequested);
    addCommand(_menu, outlets::captureAllMenuItem, texts::captureAll, &StatusMenu::captureAllRequested);
    addCommand(_menu, outlets::captureCustomMenuItem, texts::captureCustom, &StatusMenu::captureCustomRequested);
    addSeparator(outlets::sepMenuItem4);
}

void StatusMenu::addUpload() {
    QMenu& upload = *addSubmenu(outlets::uploadCaptureSubmenuMenuItem, texts::upload);
    addCommand(upload, outlets::uploadToCloudSharkMenuItem, texts::uploadToCloudShark,
               &StatusMenu::uploadToCloudSharkRequested);
    addCommand(upload, outlets::uploadToMojoPacketsMenuItem, texts::uploadToMojoPackets,
               &StatusMenu::uploadToMojoPacketsRequested);
    upload.addSeparator();
    // Where a service that is not set up is noticed.
    addCommand(upload, outlets::configureServicesMenuItem, texts::configureServices,
               &StatusMenu::configureServicesRequested);
    addSeparator(outlets::sepMenuItem5);
}

void StatusMenu::addWiFiCommands() {
    addCommand(_menu, outlets::disassociateMenuItem, {}, &StatusMenu::disassociateRequested);
    addCommand(_menu, outlets::turnOnOffMenuItem, texts::turnOn, &StatusMenu::turnOnOffRequested);
    _menu.addSeparator();
}

void StatusMenu::addApplicationCommands() {
    addCommand(_menu, outlets::preferencesMenuItem, texts::preferences, &StatusMenu::preferencesRequested);
    QAction* launch = _menu.addAction(translated(texts::launchAtLogin));
    nameItem(*launch, outlets::launchAtLoginMenuItem);
    _items.insert(launch->objectName(), launch);
    launch->setCheckable(true);
    connect(launch, &QAction::triggered, this, &StatusMenu::launchAtLoginRequested);
    _menu.addSeparator();
    addCommand(_menu, outlets::helpMenuItem, texts::help, &StatusMenu::helpRequested);
    addCommand(_menu, outlets::aboutMenuItem, texts::about, &StatusMenu::aboutRequested);
    _menu.addSeparator();
    addCommand(_menu, outlets::quitMenuItem, texts::quit, &StatusMenu::quitRequested);
}

// A line that only tells something. A host on D-Bus shows no titles on separators, so headings are such lines too.
QAction* StatusMenu::addLine(QMenu& menu, QStringView title) {
    QAction* line = menu.addAction(translated(title));
    line->setEnabled(false);
    return line;
}

QAction* StatusMenu::addLine(QLatin1StringView outlet, QStringView title) {
    QAction* line = addLine(_menu, title);
    nameItem(*line, outlet);
    _items.insert(line->objectName(), line);
    return line;
}

void StatusMenu::addSeparator(QLatin1StringView outlet) {
    QAction* separator = _menu.addSeparator();
    nameItem(*separator, outlet);
    _items.insert(separator->objectName(), separator);
}

QMenu* StatusMenu::addSubmenu(QLatin1StringView outlet, QStringView title) {
    QMenu* submenu = _menu.addMenu(translated(title));
    submenu->setObjectName(QString(outlet));
    submenu->setToolTipsVisible(true);
    nameItem(*submenu->menuAction(), outlet);
    _items.insert(submenu->objectName(), submenu->menuAction());
    return submenu;
}

void StatusMenu::addCommand(QMenu& menu, QLatin1StringView outlet, QStringView title, Command announce) {
    QAction* command = menu.addAction(translated(title));
    nameItem(*command, outlet);
    _items.insert(command->objectName(), command);
    connect(command, &QAction::triggered, this, announce);
}

// One of a submenu's items of which one is chosen. Its mark is no wish of the user's, but tells what is.
QAction* StatusMenu::newChoice(QMenu& menu, const QString& title, int value) {
    auto* choices = menu.findChild<QActionGroup*>(QString(), Qt::FindDirectChildrenOnly);
    if (choices == nullptr) {
        choices = new QActionGroup(&menu);
    }
    auto* item = new QAction(title, &menu);
    item->setCheckable(true);
    item->setData(value);
    choices->addAction(item);
    return item;
}

} // namespace vantrel::ui
