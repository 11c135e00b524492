// The menu of the tray item. It holds every command, shows the state that it is told, and announces what was chosen;
// it knows nothing of captures or adapters.
//
// Items are found by their names of MenuOutlets.h. All submenus are filled when they are populated, not when they open,
// because a tray host on D-Bus reads the whole menu at once. Main thread, after the QApplication.
#pragma once

#include "wifi/CWChannel.h"

#include <QHash>
#include <QLatin1StringView>
#include <QMenu>
#include <QObject>
#include <QSet>
#include <QString>
#include <vector>

namespace vantrel::ui {

// What the menu shows of the adapter.
struct MenuState {
    bool powerOn = false;
    bool associated = false;
    QString ssid; // shown literally
    CWChannel channel;
    int channelWidthMHz = -1; // of the channel; -1 for an unknown width
};

// One link-layer header type that the device offers: a libpcap DLT value and its description.
struct LinkLayerHeader {
    int dlt = 0;
    QString description;
};

class StatusMenu : public QObject {
    Q_OBJECT
public:
    // Without channels and header types, in the state "Off".
    StatusMenu();
    ~StatusMenu() override;

    // The menu to give to the tray; stays this object's own.
    [[nodiscard]] QMenu* menu() { return &_menu; }
    // The item of that name, owned by the menu.
    [[nodiscard]] QAction* item(QLatin1StringView outlet) const;

    // Each replaces what it put into its submenus before.
    void populateChannelSubmenuWithChannels(const std::vector<CWChannel>& channels);
    void populateChannelWidthSubmenuWithChannels(const std::vector<CWChannel>& channels);
    void populateCaptureOtherSubmenus(const std::vector<CWChannel>& channels);
    // An empty list disables the submenu.
    void populateLinkLayerHeaderSubmenu(const std::vector<LinkLayerHeader>& offered, int chosenDlt);

    // Titles, visibility and check marks for this state.
    void updateStatusMenu(const MenuState& state);
    // Checks this type alone.
    void setLinkLayerHeader(int dlt);
    void setLaunchAtLogin(bool launch);

    // The capture commands and Quit: a capture that runs must not be lost by leaving.
    void enableCaptures() { setCapturesEnabled(true); }
    void disableCaptures() { setCapturesEnabled(false); }
    // The upload commands.
    void validate(bool isCloudSharkConfigured, bool isMojoPacketsConfigured);

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    // The menu is about to be shown: the time for updateStatusMenu(). Hosts on D-Bus may ask early.
    void aboutToShow();

    // The item keeps its check mark until updateStatusMenu(); alreadyChecked tells whether it had one.
    void channelRequested(int channelNumber, bool alreadyChecked);
    void channelWidthRequested(int channelWidth, bool alreadyChecked); // a width code, as in CWChannel
    void linkLayerHeaderRequested(int dlt);                            // the check mark has moved to it already

    void captureRequested();
    void captureOtherRequested(const vantrel::CWChannel& channel);
    void captureAll2Dot4GHzRequested();
    void captureAll5GHzRequested();
    void captureAllRequested();
    void captureCustomRequested();

    void uploadToCloudSharkRequested();
    void uploadToMojoPacketsRequested();
    void configureServicesRequested();

    void disassociateRequested();
    void turnOnOffRequested();

    void preferencesRequested();
    void launchAtLoginRequested(bool launch); // the check mark has changed already; setLaunchAtLogin() can take it back
    void helpRequested();
    void aboutRequested();
    void quitRequested();

private:
    using Command = void (StatusMenu::*)();

    void build();
    void addStatusLines();
    void addTuning();
    void addCaptures();
    void addUpload();
    void addWiFiCommands();
    void addApplicationCommands();
    QAction* addLine(QMenu& menu, QStringView title);
    QAction* addLine(QLatin1StringView outlet, QStringView title);
    void addSeparator(QLatin1StringView outlet);
    QMenu* addSubmenu(QLatin1StringView outlet, QStringView title);
    void addCommand(QMenu& menu, QLatin1StringView outlet, QStringView title, Command announce);
    QAction* newChoice(QMenu& menu, const QString& title, int value);
    void fillCaptureOther(QMenu& menu, int band, const std::vector<CWChannel>& sorted);

    // Keeps an item disabled, whatever else would enable it, with the reason as its tool tip; an empty reason lifts
    // that.
    void setUnavailable(QAction& item, const QString& reason);
    void setItemEnabled(QAction* item, bool enabled);
    void setCapturesEnabled(bool enabled);
    void showItems(bool powerOn);
    void updateDisconnectTitle();
    void improveContrast();

    QMenu _menu;
    QMenu* _channels = nullptr; // the submenus are children of the menu
    QMenu* _channelWidths = nullptr;
    QMenu* _linkLayerHeaders = nullptr;
    QMenu* _captureOther2Dot4GHz = nullptr;
    QMenu* _captureOther5GHz = nullptr;
    QAction* _band2Dot4GHzHeading = nullptr;
    std::vector<QAction*> _band5GHzHeading; // with the separator before it
    QHash<QString, QAction*> _items;        // by outlet
    QSet<QAction*> _disabled;
    QSet<QAction*> _unavailable;
    QString _ssid;
    CWChannel _channel; // as last told
};

} // namespace vantrel::ui
