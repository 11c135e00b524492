#include "ui/StatusMenu.h"

#include "MenuTexts.h"
#include "base/Translated.h"
#include "ui/MenuOutlets.h"
#include "wifi/ChannelTitle.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <algorithm>
#include <array>
#include <set>

namespace vantrel::ui {

namespace {
constexpr int highest2Dot4GHzChannel = 14;
constexpr double secondaryText = 0.62; // of the text's colour over the menu's own: a contrast of more than 4.5 to 1

// Empty for a code that has no title.
QStringView widthTitle(int channelWidth) {
    switch (channelWidth) {
    case width20MHz:
        return texts::width20MHz;
    case width40MHz:
        return texts::width40MHz;
    case width80MHz:
        return texts::width80MHz;
    case width160MHz:
        return texts::width160MHz;
    default:
        return {};
    }
}

// A name from outside in the title of a menu that Qt draws: there "&" marks a key, and "&&" is the character.
QString forWidget(QString name) { return name.replace(u'&', QStringLiteral("&&")); }

// The same in a menu that travels over D-Bus. com.canonical.dbusmenu marks the key with "_", and "__" is the character.
// Qt turns the first "&" of a title into that mark and sends the others as they are, so a title whose name holds one
// gets a key of its own at the front.
QString forDBus(const QString& title, QString name) {
    const bool marksKey = name.contains(u'&');
    name.replace(u'_', QStringLiteral("__"));
    return (marksKey ? QStringLiteral("&") : QString()) + title.arg(name);
}

QColor blend(const QColor& text, const QColor& ground) {
    const auto part = [](int of, int over) { return qRound(of * secondaryText + over * (1 - secondaryText)); };
    return {part(text.red(), ground.red()), part(text.green(), ground.green()), part(text.blue(), ground.blue())};
}

void checkOnly(const QMenu& menu, int value) {
    for (QAction* item : menu.actions()) {
        if (item->isCheckable()) {
            item->setChecked(item->data().toInt() == value);
        }
    }
}

void removeCheckables(const QMenu& menu) {
    for (QAction* item : menu.actions()) {
        if (item->isCheckable()) {
            delete item;
        }
    }
}
} // namespace

StatusMenu::StatusMenu() {
    build();
    _menu.installEventFilter(this);
    connect(&_menu, &QMenu::aboutToShow, this, &StatusMenu::aboutToShow);
    populateChannelSubmenuWithChannels({});
    populateCaptureOtherSubmenus({});
    populateLinkLayerHeaderSubmenu({}, 0);
    validate(false, false);
    updateStatusMenu({});
}

StatusMenu::~StatusMenu() = default;

QAction* StatusMenu::item(QLatin1StringView outlet) const { return _items.value(QString(outlet)); }

void StatusMenu::populateChannelSubmenuWithChannels(const std::vector<CWChannel>& channels) {
    removeCheckables(*_channels);
    std::set<int> numbers;
    for (const CWChannel& channel : channels) {
        numbers.insert(channel.channelNumber);
    }
    for (const int number : numbers) {
        QAction* channel = newChoice(*_channels, QString::number(number), number);
        const bool low = number <= highest2Dot4GHzChannel;
        _channels->insertAction(low ? _band5GHzHeading.front() : nullptr, channel);
        connect(channel, &QAction::triggered, this, [this, number] {
            checkOnly(*_channels, _channel.channelNumber); // where the adapter is, which a click does not change
            Q_EMIT channelRequested(number, number == _channel.channelNumber);
        });
    }
    checkOnly(*_channels, _channel.channelNumber);
    const bool has2Dot4GHz = !numbers.empty() && *numbers.begin() <= highest2Dot4GHzChannel;
    const bool has5GHz = !numbers.empty() && *numbers.rbegin() > highest2Dot4GHzChannel;
    _band2Dot4GHzHeading->setVisible(has2Dot4GHz);
    _band5GHzHeading.front()->setVisible(has2Dot4GHz && has5GHz);
    _band5GHzHeading.back()->setVisible(has5GHz);
}

void StatusMenu::populateChannelWidthSubmenuWithChannels(const std::vector<CWChannel>& channels) {
    removeCheckables(*_channelWidths);
    std::set<int> widths;
    for (const CWChannel& channel : channels) {
        widths.insert(channel.channelWidth);
    }
    for (const int width : widths) {
        QAction* item = newChoice(*_channelWidths, widthTitle(width).toString(), width);
        _channelWidths->addAction(item);
        connect(item, &QAction::triggered, this, [this, width] {
            checkOnly(*_channelWidths, _channel.channelWidth);
            Q_EMIT channelWidthRequested(width, width == _channel.channelWidth);
        });
    }
    checkOnly(*_channelWidths, _channel.channelWidth);
}

void StatusMenu::populateCaptureOtherSubmenus(const std::vector<CWChannel>& channels) {
    std::vector<CWChannel> sorted = channels;
    std::stable_sort(sorted.begin(), sorted.end(), [](const CWChannel& one, const CWChannel& other) {
        return std::pair(one.channelWidth, one.channelNumber) < std::pair(other.channelWidth, other.channelNumber);
    });
    fillCaptureOther(*_captureOther2Dot4GHz, bandTwoDotFourGHz, sorted);
    fillCaptureOther(*_captureOther5GHz, bandFiveGHz, sorted);
}

void StatusMenu::fillCaptureOther(QMenu& menu, int band, const std::vector<CWChannel>& sorted) {
    menu.clear();
    addLine(menu, texts::width20MHz);
    std::set<int> headed;
    bool empty = true;
    for (const CWChannel& channel : sorted) {
        if (channel.channelBand != band) {
            continue;
        }
        empty = false;
        const int width = channel.channelWidth;
        if (width > width20MHz && !widthTitle(width).isEmpty() && headed.insert(width).second) {
            menu.addSeparator();
            addLine(menu, widthTitle(width));
        }
        QAction* item = menu.addAction(QString::number(channel.channelNumber));
        item->setData(QVariant::fromValue(channel));
        item->setToolTip(channelTitle(channel)); // a long menu takes several columns, away from its headings
        connect(item, &QAction::triggered, this, [this, channel] { Q_EMIT captureOtherRequested(channel); });
    }
    setUnavailable(*menu.menuAction(), empty ? translated(texts::noChannels) : QString());
}

void StatusMenu::populateLinkLayerHeaderSubmenu(const std::vector<LinkLayerHeader>& offered, int chosenDlt) {
    _linkLayerHeaders->clear();
    for (const LinkLayerHeader& type : offered) {
        const QString title = type.description.isEmpty()
                                  ? translated(texts::unnamedLinkLayerHeader).arg(QString::number(type.dlt))
                                  : forWidget(type.description);
        QAction* item = newChoice(*_linkLayerHeaders, title, type.dlt);
        _linkLayerHeaders->addAction(item);
        connect(item, &QAction::triggered, this, [this, dlt = type.dlt] {
            setLinkLayerHeader(dlt);
            Q_EMIT linkLayerHeaderRequested(dlt);
        });
    }
    setLinkLayerHeader(chosenDlt);
    setItemEnabled(_linkLayerHeaders->menuAction(), !offered.empty());
}

void StatusMenu::setLinkLayerHeader(int dlt) { checkOnly(*_linkLayerHeaders, dlt); }

void StatusMenu::setLaunchAtLogin(bool launch) { item(outlets::launchAtLoginMenuItem)->setChecked(launch); }

void StatusMenu::updateStatusMenu(const MenuState& state) {
    const bool associated = state.powerOn && state.associated;
    showItems(state.powerOn);
    item(outlets::statusMenuItem)
        ->setText(translated(!state.powerOn ? texts::off
                             : associated   ? texts::associated
                                            : texts::notAssociated));
    item(outlets::turnOnOffMenuItem)->setText(translated(state.powerOn ? texts::turnOff : texts::turnOn));
    item(outlets::disassociateMenuItem)->setVisible(associated);
    if (associated) {
        _ssid = state.ssid;
        updateDisconnectTitle();
    }
    const QString band =
        translated(state.channel.channelBand == bandTwoDotFourGHz ? texts::band2Dot4GHz : texts::band5GHz);
    item(outlets::channelMenuItem)
        ->setText(translated(texts::channelLine).arg(QString::number(state.channel.channelNumber), band));
    item(outlets::channelWidthMenuItem)
        ->setText(translated(texts::channelWidthLine).arg(QString::number(state.channelWidthMHz)));
    _channel = state.channel;
    checkOnly(*_channels, _channel.channelNumber);
    checkOnly(*_channelWidths, _channel.channelWidth);
}

void StatusMenu::showItems(bool powerOn) {
    using namespace outlets;
    static constexpr std::array onlyWithPower{channelMenuItem,
                                              channelWidthMenuItem,
                                              sepMenuItem1,
                                              channelSubmenuMenuItem,
                                              channelWidthSubmenuMenuItem,
                                              linkLayerHeaderSubmenuMenuItem,
                                              sepMenuItem2,
                                              singleChannelCaptureMenuItem,
                                              captureMenuItem,
                                              captureOther2Dot4GHzSubmenuItem,
                                              captureOther5GHzSubmenuItem,
                                              sepMenuItem3,
                                              multipleChannelCaptureMenuItem,
                                              captureAll2Dot4GHzMenuItem,
                                              captureAll5GHzMenuItem,
                                              captureAllMenuItem,
                                              captureCustomMenuItem,
                                              sepMenuItem4,
                                              uploadCaptureSubmenuMenuItem,
                                              sepMenuItem5};
    for (const QLatin1StringView outlet : onlyWithPower) {
        item(outlet)->setVisible(powerOn);
    }
}

void StatusMenu::validate(bool isCloudSharkConfigured, bool isMojoPacketsConfigured) {
    setItemEnabled(item(outlets::uploadToCloudSharkMenuItem), isCloudSharkConfigured);
    setItemEnabled(item(outlets::uploadToMojoPacketsMenuItem), isMojoPacketsConfigured);
}

void StatusMenu::setCapturesEnabled(bool enabled) {
    using namespace outlets;
    for (const QLatin1StringView outlet :
         {captureMenuItem, captureOther2Dot4GHzSubmenuItem, captureOther5GHzSubmenuItem, captureAllMenuItem,
          captureAll2Dot4GHzMenuItem, captureAll5GHzMenuItem, captureCustomMenuItem, quitMenuItem}) {
        setItemEnabled(item(outlet), enabled);
    }
}

void StatusMenu::setUnavailable(QAction& item, const QString& reason) {
    item.setToolTip(reason);
    if (reason.isEmpty()) {
        _unavailable.remove(&item);
    } else {
        _unavailable.insert(&item);
    }
    setItemEnabled(&item, !_disabled.contains(&item));
}

void StatusMenu::setItemEnabled(QAction* item, bool enabled) {
    if (enabled) {
        _disabled.remove(item);
    } else {
        _disabled.insert(item);
    }
    item->setEnabled(enabled && !_unavailable.contains(item));
}

void StatusMenu::updateDisconnectTitle() {
    item(outlets::disassociateMenuItem)
        ->setText(_menu.isVisible() ? translated(texts::disconnectFrom).arg(forWidget(_ssid))
                                    : forDBus(translated(texts::disconnectFrom), _ssid));
}

// The lines that only tell something are disabled, and many styles draw such text too faint to be read.
void StatusMenu::improveContrast() {
    QPalette palette = QApplication::palette(&_menu);
    const QColor ground = palette.color(QPalette::Active, QPalette::Base);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, blend(palette.color(QPalette::Active, role), ground));
    }
    palette.setColor(QPalette::Disabled, QPalette::Light, Qt::transparent); // of a shadow that blurs the text
    if (qGray(ground.rgb()) < qGray(palette.color(QPalette::Active, QPalette::Text).rgb())) {
        // The frames of check boxes are drawn darker than this, which on a dark menu leaves nothing to see.
        palette.setColor(QPalette::Window, blend(palette.color(QPalette::Active, QPalette::Text), ground));
    }
    _menu.setPalette(palette);
    for (QMenu* submenu : _menu.findChildren<QMenu*>()) {
        submenu->setPalette(palette);
    }
}

bool StatusMenu::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &_menu && event->type() == QEvent::Show) {
        improveContrast();
    }
    if (watched == &_menu && (event->type() == QEvent::Show || event->type() == QEvent::Hide)) {
        updateDisconnectTitle();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace vantrel::ui
