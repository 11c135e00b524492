#include "preferences/MASPreferencesWindowController.h"

#include "PaneParts.h"
#include "WindowState.h"
#include "preferences/PreferencesViewController.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "ui_MASPreferencesWindow.h"

#include <QCloseEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QScopedValueRollback>
#include <QScreen>
#include <QShortcut>
#include <QToolButton>
#include <algorithm>
#include <chrono>

namespace vantrel::preferences {

namespace {
constexpr int imageSize = 32;
constexpr std::chrono::milliseconds restingTime{150};
constexpr int paneWidthInLetters = 84; // of a pane, at least: the sentences of help read well at this length
constexpr int reachable = 48;          // pixels of the window that a screen must show, so that the user can move it

const QScreen& screenFor(const QPoint& point) {
    const QScreen* at = QGuiApplication::screenAt(point);
    return at != nullptr ? *at : *QGuiApplication::primaryScreen();
}
} // namespace

std::unique_ptr<MASPreferencesWindowController>
MASPreferencesWindowController::initWithViewControllers(ViewControllers viewControllers, QString title,
                                                        SettingsStore& settings) {
    return std::unique_ptr<MASPreferencesWindowController>(
        new MASPreferencesWindowController(std::move(viewControllers), std::move(title), settings));
}

MASPreferencesWindowController::MASPreferencesWindowController(ViewControllers viewControllers, QString title,
                                                               SettingsStore& settings)
    : _nib(std::make_unique<Ui::MASPreferencesWindow>()),
      _settings(settings),
      _title(std::move(title)) {
    _nib->setupUi(this);
    _nib->toolbar->setIconSize({imageSize, imageSize});
    setWindowTitle(_title);
    for (auto& pane : viewControllers) {
        addItem(std::move(pane));
    }
    takeColours();
    for (const QKeySequence& key : {QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)}) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, &MASPreferencesWindowController::performClose);
    }
    _rememberSoon.setSingleShot(true);
    _rememberSoon.setInterval(restingTime);
    connect(&_rememberSoon, &QTimer::timeout, this, &MASPreferencesWindowController::remember);
}

MASPreferencesWindowController::~MASPreferencesWindowController() {
    remember();
    // A field that has the focus ends its edit when the window goes, and its pane tells of it when nobody is left here.
    for (PreferencesViewController* pane : _panes) {
        pane->disconnect(this);
    }
}

void MASPreferencesWindowController::addItem(std::unique_ptr<PreferencesViewController> pane) {
    PreferencesViewController* added = pane.release();
    added->setParent(this);
    added->hide();
    added->installEventFilter(this);
    _panes.push_back(added);
    QAction* item = _nib->toolbar->addAction(added->toolbarItemLabel());
    item->setCheckable(true);
    item->setShortcut(QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_0 + static_cast<int>(_panes.size()))));
    _items.push_back(item);
    // Not the item's own signal: assistive programs toggle the button, which tells the item nothing.
    if (auto* button = qobject_cast<QToolButton*>(_nib->toolbar->widgetForAction(item)); button != nullptr) {
        connect(button, &QToolButton::toggled, this, [this, added] { onItem(*added); });
    }
    connect(added, &PreferencesViewController::preferencesDidChange, this,
            &MASPreferencesWindowController::preferencesDidChange);
}

void MASPreferencesWindowController::takeColours() {
    for (std::size_t at = 0; at < _panes.size(); ++at) {
        _items[at]->setIcon(_panes[at]->toolbarItemImage());
        improveContrast(*_panes[at]);
    }
}

void MASPreferencesWindowController::onItem(PreferencesViewController& pane) {
    if (!_isShowingSelection) {
        select(pane);
        showSelection();
    }
}

// Whatever became of the items when they were clicked or toggled: the one of the selected pane alone is selected.
void MASPreferencesWindowController::showSelection() {
    const QScopedValueRollback showing(_isShowingSelection, true);
    for (std::size_t at = 0; at < _panes.size(); ++at) {
        const bool isSelected = _panes[at] == _selected;
        _items[at]->setChecked(isSelected);
        if (auto* button = qobject_cast<QToolButton*>(_nib->toolbar->widgetForAction(_items[at])); button != nullptr) {
            button->setChecked(isSelected);
        }
    }
}

PreferencesViewController* MASPreferencesWindowController::paneNamed(const QString& identifier) const {
    const auto found = std::find_if(_panes.begin(), _panes.end(), [&](const PreferencesViewController* pane) {
        return pane->identifier() == identifier;
    });
    return found != _panes.end() ? *found : nullptr;
}

void MASPreferencesWindowController::showWindow() {
    if (_selected == nullptr && !_panes.empty()) {
        auto* remembered = paneNamed(_settings.stringForKey(keys::MASPreferencesSelectedIdentifierView));
        select(remembered != nullptr ? *remembered : *_panes.front());
    }
    if (!testAttribute(Qt::WA_Moved)) { // it has no place yet
        takeRememberedPlace();
    }
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

bool MASPreferencesWindowController::selectControllerWithIdentifier(const QString& identifier) {
    PreferencesViewController* pane = paneNamed(identifier);
    return pane != nullptr && select(*pane);
}

bool MASPreferencesWindowController::select(PreferencesViewController& pane) {
    if (&pane == _selected) {
        return true;
    }
    if (_selected != nullptr && !_selected->commitEditing()) {
        return false;
    }
    remember();
    swapContent(pane);
    showSelection();
    if (_title.isEmpty()) {
        setWindowTitle(pane.toolbarItemLabel());
    }
    _settings.setString(keys::MASPreferencesSelectedIdentifierView, pane.identifier());
    Q_EMIT MASPreferencesWindowControllerDidChangeViewNotification();
    return true;
}

void MASPreferencesWindowController::swapContent(PreferencesViewController& pane) {
    const QScopedValueRollback swapping(_isSwapping, true);
    QScrollArea& content = *_nib->content;
    if (QWidget* former = content.takeWidget(); former != nullptr) {
        former->setParent(this);
        former->hide();
    }
    _selected = &pane;
    pane.viewWillAppear();
    pane.show();
    content.setWidget(&pane);
    keepRoomFor(pane);
    const QSize smallest = pane.minimumSize();
    const QSize toolbar(0, _nib->toolbar->sizeHint().height());
    const QSize most = screen()->availableSize() - toolbar;
    const auto remembered = rectangleIn(_settings.stringForKey(QLatin1StringView(frameKey())));
    const QSize size = (remembered ? remembered->size() : smallest).expandedTo(smallest).boundedTo(most);
    resize(size + toolbar);
}

void MASPreferencesWindowController::keepRoomFor(PreferencesViewController& pane) {
    const QSize smallest = smallestSize(pane, paneWidthInLetters);
    pane.setMinimumSize(smallest);
    // On a screen that is smaller the pane scrolls.
    const QSize most = screen()->availableSize() - QSize(reachable, 2 * reachable + _nib->toolbar->height());
    _nib->content->setMinimumSize(smallest.boundedTo(most));
}

// A pane shows more of itself than it did.
bool MASPreferencesWindowController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == _selected && event->type() == QEvent::LayoutRequest && !_isSwapping) {
        keepRoomFor(*_selected);
    }
    return QMainWindow::eventFilter(watched, event);
}

QByteArray MASPreferencesWindowController::frameKey() const {
    return QString(keys::MASPreferencesPaneFrame).arg(_selected->identifier()).toLatin1();
}

void MASPreferencesWindowController::takeRememberedPlace() {
    const auto remembered = pointIn(_settings.stringForKey(keys::MASPreferencesFrameTopLeft));
    if (!remembered) {
        move(screenFor(QCursor::pos()).availableGeometry().center() - rect().center());
        return;
    }
    const QRect free = screenFor(*remembered).availableGeometry();
    move(std::clamp(remembered->x(), free.left() + reachable - width(), free.right() - reachable),
         std::clamp(remembered->y(), free.top(), free.bottom() - reachable));
}

void MASPreferencesWindowController::rememberLater() { _rememberSoon.start(); }

void MASPreferencesWindowController::remember() {
    _rememberSoon.stop();
    if (_hasMoved) {
        // The corner itself: y counts downwards here.
        _settings.setString(keys::MASPreferencesFrameTopLeft, textOf(frameGeometry().topLeft()));
    }
    if (_hasResized && _selected != nullptr) {
        _settings.setString(QLatin1StringView(frameKey()), textOf(_selected->rect()));
    }
    _hasMoved = _hasResized = false;
}

void MASPreferencesWindowController::moveEvent(QMoveEvent* event) {
    QMainWindow::moveEvent(event);
    if (isVisible()) {
        _hasMoved = true;
        rememberLater();
    }
}

void MASPreferencesWindowController::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    if (isVisible() && !_isSwapping) {
        _hasResized = true;
        rememberLater();
    }
}

void MASPreferencesWindowController::showEvent(QShowEvent* event) {
    if (!event->spontaneous() && _selected != nullptr) {
        _selected->viewWillAppear();
    }
    QMainWindow::showEvent(event);
}

void MASPreferencesWindowController::performClose() {
    if (_selected == nullptr || _selected->commitEditing()) {
        close();
    }
}

void MASPreferencesWindowController::closeEvent(QCloseEvent* event) {
    const bool mayClose = _selected == nullptr || _selected->commitEditing();
    remember();
    // Leaving the program must not fail because of what stands in a field.
    event->setAccepted(mayClose || !event->spontaneous());
}

void MASPreferencesWindowController::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        takeColours();
    } else if (event->type() == QEvent::ActivationChange && _selected != nullptr && isVisible()) {
        isActiveWindow() ? _selected->viewWillAppear() : _selected->windowDidResignKey();
    }
}

} // namespace vantrel::preferences
