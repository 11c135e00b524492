// The preferences window: a tool bar with one item per pane, and the selected pane under it. It remembers its place,
// the size of each pane and the selected one in the settings.
//
// Main thread. The window hides when it is closed and can be shown again. A pane that refuses to end its editing keeps
// the window open.
#pragma once

#include <QMainWindow>
#include <QTimer>
#include <memory>
#include <vector>

class QAction;

namespace vantrel {
class SettingsStore;
}

namespace vantrel::preferences {

namespace Ui { // NOLINT(readability-identifier-naming): uic calls it so
class MASPreferencesWindow;
}

class PreferencesViewController;

class MASPreferencesWindowController : public QMainWindow {
    Q_OBJECT
public:
    using ViewControllers = std::vector<std::unique_ptr<PreferencesViewController>>;

    // The panes in the order of the tool bar; the window becomes their owner. With an empty title the window takes the
    // label of the selected pane's item. The settings are borrowed.
    [[nodiscard]] static std::unique_ptr<MASPreferencesWindowController>
    initWithViewControllers(ViewControllers viewControllers, QString title, SettingsStore& settings);
    ~MASPreferencesWindowController() override;

    // Shows it with the pane that was selected last, at the first time of all the first one, or brings it to the front.
    void showWindow();

    // False when there is no such pane, or when the current one refuses to end its editing.
    bool selectControllerWithIdentifier(const QString& identifier);
    [[nodiscard]] PreferencesViewController* selectedViewController() const { return _selected; }

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    // Another pane was selected: the notification of this name.
    void MASPreferencesWindowControllerDidChangeViewNotification(); // NOLINT(readability-identifier-naming)
    // A pane has written a setting that shows in the tray or in its menu.
    void preferencesDidChange();

protected:
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    MASPreferencesWindowController(ViewControllers viewControllers, QString title, SettingsStore& settings);

    void addItem(std::unique_ptr<PreferencesViewController> pane);
    void takeColours();
    void onItem(PreferencesViewController& pane);
    void showSelection();
    bool select(PreferencesViewController& pane);
    void swapContent(PreferencesViewController& pane);
    [[nodiscard]] QByteArray frameKey() const;
    void keepRoomFor(PreferencesViewController& pane);
    void takeRememberedPlace();
    void rememberLater();
    void remember();
    void performClose();
    [[nodiscard]] PreferencesViewController* paneNamed(const QString& identifier) const;

    const std::unique_ptr<Ui::MASPreferencesWindow> _nib;
    SettingsStore& _settings; // borrowed
    const QString _title;
    std::vector<PreferencesViewController*> _panes; // children
    PreferencesViewController* _selected = nullptr; // one of them
    std::vector<QAction*> _items;                   // of the tool bar, one for each pane
    bool _isShowingSelection = false;               // the items change by themselves
    bool _isSwapping = false;                       // the window takes the size of another pane
    bool _hasMoved = false;                         // since it was remembered
    bool _hasResized = false;
    QTimer _rememberSoon; // once the user has stopped moving it
};

} // namespace vantrel::preferences
