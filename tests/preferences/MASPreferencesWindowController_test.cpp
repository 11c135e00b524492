#include "preferences/MASPreferencesWindowController.h"

#include "PreferencesFixture.h"
#include "preferences/VantrelServicesPrefsViewController.h"
#include "settings/SettingsKeys.h"
#include "support/EventLoop.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QShortcut>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace vantrel::preferences {
namespace {

using vantrel::testing::runUntil;

class SamplePane : public PreferencesViewController {
public:
    SamplePane(QString identifier, QString label, QStringList& events)
        : _identifier(std::move(identifier)),
          _label(std::move(label)),
          _events(events) {
        auto* rows = new QVBoxLayout(this);
        rows->addWidget(new QLabel(_label));
    }

    [[nodiscard]] QString identifier() const override { return _identifier; }
    [[nodiscard]] QIcon toolbarItemImage() const override {
        QPixmap image(32, 32);
        image.fill(QApplication::palette().color(QPalette::WindowText));
        return image;
    }
    [[nodiscard]] QString toolbarItemLabel() const override { return _label; }
    void viewWillAppear() override { _events << _identifier + QStringLiteral(" appears"); }
    [[nodiscard]] bool commitEditing() override {
        _events << _identifier + QStringLiteral(" commits");
        return commits;
    }
    void windowDidResignKey() override { _events << _identifier + QStringLiteral(" resigns"); }

    bool commits = true;

private:
    const QString _identifier;
    const QString _label;
    QStringList& _events;
};

class Window : public PreferencesFixture {
protected:
    MASPreferencesWindowController& make(const QString& title = QStringLiteral("Vantrel Preferences")) {
        window.reset();
        MASPreferencesWindowController::ViewControllers panes;
        auto newFirst = std::make_unique<SamplePane>(QStringLiteral("First"), QStringLiteral("Erste"), events);
        auto newSecond = std::make_unique<SamplePane>(QStringLiteral("Second"), QStringLiteral("Zweite"), events);
        first = newFirst.get();
        second = newSecond.get();
        panes.push_back(std::move(newFirst));
        panes.push_back(std::move(newSecond));
        window = MASPreferencesWindowController::initWithViewControllers(std::move(panes), title, settings);
        QObject::connect(window.get(),
                         &MASPreferencesWindowController::MASPreferencesWindowControllerDidChangeViewNotification,
                         window.get(), [this] { events << QStringLiteral("notification"); });
        return *window;
    }
    void show() {
        window->showWindow();
        QApplication::setActiveWindow(window.get());
        settle();
    }
    [[nodiscard]] QToolButton& item(int at) const {
        auto& toolbar = part<QToolBar>(*window, "toolbar");
        return *qobject_cast<QToolButton*>(toolbar.widgetForAction(toolbar.actions()[at]));
    }
    // The platform tells shortcuts of keys; there is none here.
    void pressShortcut(const QKeySequence& key) {
        for (QShortcut* shortcut : window->findChildren<QShortcut*>()) {
            if (shortcut->key() == key) {
                Q_EMIT shortcut->activated();
            }
        }
    }
    void pressEscape() { pressShortcut(Qt::Key_Escape); }
    [[nodiscard]] QString text(const char* key) const { return stored().value(QString::fromLatin1(key)).toString(); }

    QStringList events;
    SamplePane* first = nullptr;
    SamplePane* second = nullptr;
    std::unique_ptr<MASPreferencesWindowController> window;
};

TEST_F(Window, ItemsInOrderTheFirstSelected) {
    make();
    show();
    EXPECT_EQ(item(0).text(), QStringLiteral("Erste"));
    EXPECT_EQ(item(1).text(), QStringLiteral("Zweite"));
    EXPECT_TRUE(item(0).isChecked());
    EXPECT_EQ(window->selectedViewController(), first);
    EXPECT_TRUE(first->isVisible());
    EXPECT_FALSE(second->isVisible());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Vantrel Preferences"));
    for (int at = 0; at < 2; ++at) {
        EXPECT_EQ(item(at).defaultAction()->shortcut(), QKeySequence(QStringLiteral("Ctrl+%1").arg(at + 1)));
    }
}

TEST_F(Window, TheImagesTakeTheColoursOfTheDesktop) {
    make();
    show();
    const QPalette before = QApplication::palette();
    QPalette other = before;
    other.setColor(QPalette::WindowText, QColor(1, 200, 3));
    QApplication::setPalette(other);
    settle();
    EXPECT_EQ(item(1).icon().pixmap(16, 16).toImage().pixelColor(8, 8), QColor(1, 200, 3));
    QApplication::setPalette(before);
}

TEST_F(Window, WithoutATitleItIsTheSelectedPanes) {
    make(QString());
    show();
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Erste"));
    item(1).click();
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Zweite"));
}

TEST_F(Window, SelectingCommitsSwapsRecordsAndTells) {
    make();
    show();
    events.clear();
    item(1).click();
    EXPECT_EQ(events, (QStringList{QStringLiteral("First commits"), QStringLiteral("Second appears"),
                                   QStringLiteral("notification")}));
    EXPECT_EQ(window->selectedViewController(), second);
    EXPECT_TRUE(second->isVisible());
    EXPECT_FALSE(first->isVisible());
    EXPECT_EQ(text("MASPreferences Selected Identifier View"), QStringLiteral("Second"));
    events.clear();
    item(1).click();
    EXPECT_TRUE(events.isEmpty()) << "it was selected already";
}

TEST_F(Window, APaneThatRefusesStays) {
    make();
    show();
    first->commits = false;
    events.clear();
    item(1).click();
    EXPECT_EQ(events, QStringList{QStringLiteral("First commits")});
    EXPECT_EQ(window->selectedViewController(), first);
    EXPECT_TRUE(first->isVisible());
    EXPECT_TRUE(item(0).isChecked()) << "its item is selected again";
    EXPECT_FALSE(item(1).isChecked());
    EXPECT_EQ(text("MASPreferences Selected Identifier View"), QStringLiteral("First"));
    EXPECT_FALSE(window->selectControllerWithIdentifier(QStringLiteral("Second")));
}

TEST_F(Window, AssistiveProgramsSelectToo) {
    make();
    show();
    item(1).toggle();
    EXPECT_EQ(window->selectedViewController(), second);
    EXPECT_TRUE(item(1).isChecked());
    EXPECT_FALSE(item(0).isChecked());
    item(1).toggle();
    EXPECT_EQ(window->selectedViewController(), second);
    EXPECT_TRUE(item(1).isChecked()) << "one is always selected";
    second->commits = false;
    item(0).toggle();
    EXPECT_EQ(window->selectedViewController(), second);
    EXPECT_FALSE(item(0).isChecked());
    EXPECT_TRUE(item(1).isChecked());
}

TEST_F(Window, SelectsByIdentifier) {
    make();
    show();
    EXPECT_TRUE(window->selectControllerWithIdentifier(QStringLiteral("Second")));
    EXPECT_TRUE(item(1).isChecked());
    EXPECT_FALSE(window->selectControllerWithIdentifier(QStringLiteral("Third")));
    EXPECT_EQ(window->selectedViewController(), second);
}

TEST_F(Window, TheSelectedPaneIsRemembered) {
    settings.setString(keys::MASPreferencesSelectedIdentifierView, QStringLiteral("Second"));
    make();
    show();
    EXPECT_EQ(window->selectedViewController(), second);
    settings.setString(keys::MASPreferencesSelectedIdentifierView, QStringLiteral("Gone"));
    make();
    show();
    EXPECT_EQ(window->selectedViewController(), first);
}

TEST_F(Window, SizesAreKeptPerPane) {
    make();
    show();
    EXPECT_FALSE(stored().contains(QStringLiteral("MASPreferences First Frame"))) << "not before the user resizes";
    window->resize(700, 450);
    ASSERT_TRUE(runUntil([this] { return !text("MASPreferences First Frame").isEmpty(); }));
    const QSize firstSize = first->size();
    EXPECT_EQ(text("MASPreferences First Frame"),
              QStringLiteral("{{0, 0}, {%1, %2}}").arg(firstSize.width()).arg(firstSize.height()));
    item(1).click();
    settle();
    EXPECT_FALSE(stored().contains(QStringLiteral("MASPreferences Second Frame")));
    EXPECT_NE(second->size(), firstSize) << "it has its own size";
    window->resize(760, 500);
    ASSERT_TRUE(runUntil([this] { return !text("MASPreferences Second Frame").isEmpty(); }));
    const QSize secondSize = second->size();
    item(0).click();
    settle();
    EXPECT_EQ(first->size(), firstSize);
    make();
    show();
    EXPECT_EQ(first->size(), firstSize) << "after a restart";
    item(1).click();
    settle();
    EXPECT_EQ(second->size(), secondSize);
}

TEST_F(Window, SelectingAPaneIsNoResizingOfIt) {
    make();
    show();
    window->resize(700, 450);
    settle();
    const QSize size = first->size();
    item(1).click();
    settle();
    EXPECT_EQ(text("MASPreferences First Frame"),
              QStringLiteral("{{0, 0}, {%1, %2}}").arg(size.width()).arg(size.height()))
        << "it is remembered at the latest when it goes";
    window.reset();
    EXPECT_FALSE(stored().contains(QStringLiteral("MASPreferences Second Frame")));
}

TEST_F(Window, ARememberedSizeThatNoScreenHasIsNotTaken) {
    for (const auto& remembered :
         {QStringLiteral("{{0, 0}, {90000, 90000}}"), QStringLiteral("{{0, 0}, {1, 1}}"),
          QStringLiteral("{{0, 0}, {-5, -5}}"), QStringLiteral("nonsense"), QString(10'000, u'{')}) {
        settings.setString(QLatin1StringView("MASPreferences First Frame"), remembered);
        make();
        show();
        EXPECT_TRUE(window->screen()->availableSize().expandedTo(window->size()) == window->screen()->availableSize())
            << qPrintable(remembered.left(30));
        EXPECT_GE(first->width(), 200) << qPrintable(remembered.left(30));
        EXPECT_GE(first->height(), 10) << qPrintable(remembered.left(30));
    }
}

TEST_F(Window, ThePlaceIsKept) {
    make();
    show();
    window->move(123, 77);
    ASSERT_TRUE(runUntil([this] {
        return text("MASPreferences Frame Top Left") ==
               QStringLiteral("{%1, %2}").arg(window->frameGeometry().x()).arg(window->frameGeometry().y());
    })) << qPrintable(text("MASPreferences Frame Top Left"));
    EXPECT_EQ(window->frameGeometry().topLeft(), QPoint(123, 77));
    make();
    show();
    EXPECT_EQ(window->frameGeometry().topLeft(), QPoint(123, 77));
}

TEST_F(Window, ThePlaceIsTakenAlsoWhenAPaneWasSelectedBefore) {
    settings.setString(keys::MASPreferencesFrameTopLeft, QStringLiteral("{123, 77}"));
    make();
    EXPECT_TRUE(window->selectControllerWithIdentifier(QStringLiteral("Second")));
    show();
    EXPECT_EQ(window->frameGeometry().topLeft(), QPoint(123, 77));
    EXPECT_EQ(window->selectedViewController(), second);
}

TEST_F(Window, ComesBackFromTheTaskBar) {
    make();
    show();
    window->showMinimized();
    settle();
    show();
    EXPECT_FALSE(window->isMinimized());
}

TEST_F(Window, AMoveIsRememberedAlsoWhenTheWindowGoesAtOnce) {
    make();
    show();
    window->move(90, 60);
    settle();
    window.reset();
    EXPECT_EQ(text("MASPreferences Frame Top Left"), QStringLiteral("{90, 60}"));
}

TEST_F(Window, APlaceOffTheScreenIsBroughtBack) {
    for (const auto& remembered : {QStringLiteral("{90000, 90000}"), QStringLiteral("{-90000, -90000}")}) {
        settings.setString(keys::MASPreferencesFrameTopLeft, remembered);
        make();
        show();
        EXPECT_TRUE(window->screen()->availableGeometry().intersects(window->frameGeometry()))
            << qPrintable(remembered);
        EXPECT_GE(window->frameGeometry().top(), 0);
    }
}

TEST_F(Window, ReadsTheSettingsWheneverItComesToTheFront) {
    make();
    show();
    EXPECT_TRUE(events.contains(QStringLiteral("First appears")));
    QWidget other;
    other.show();
    events.clear();
    QApplication::setActiveWindow(&other);
    settle();
    EXPECT_EQ(events, QStringList{QStringLiteral("First resigns")});
    QApplication::setActiveWindow(window.get());
    settle();
    EXPECT_EQ(events.constLast(), QStringLiteral("First appears"));
    window->hide();
    events.clear();
    window->showWindow();
    EXPECT_EQ(events.value(0), QStringLiteral("First appears"));
}

TEST_F(Window, ClosingEndsTheEditingAndHides) {
    make();
    show();
    events.clear();
    pressEscape();
    EXPECT_TRUE(events.contains(QStringLiteral("First commits")));
    EXPECT_FALSE(window->isVisible());
    show();
    EXPECT_TRUE(window->isVisible());
    pressShortcut(QKeySequence::Close);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(Window, ARefusingPaneKeepsItOpenExceptWhenTheProgramLeaves) {
    make();
    show();
    first->commits = false;
    pressEscape();
    EXPECT_TRUE(window->isVisible());
    events.clear();
    EXPECT_TRUE(window->close()) << "as QApplication::quit() closes it";
    EXPECT_EQ(events.value(0), QStringLiteral("First commits"));
}

TEST_F(Window, GoesInTheMiddleOfAnEdit) {
    MASPreferencesWindowController::ViewControllers panes;
    panes.push_back(std::make_unique<VantrelServicesPrefsViewController>(surroundings()));
    window = MASPreferencesWindowController::initWithViewControllers(std::move(panes), QString(), settings);
    show();
    focus(part<QLineEdit>(*window, "mojoPacketsAPIKey"));
    type(QStringLiteral("key"));
    window.reset();
}

TEST_F(Window, ServicesAreWrittenWhenAnotherWindowIsUsed) {
    MASPreferencesWindowController::ViewControllers panes;
    panes.push_back(std::make_unique<VantrelServicesPrefsViewController>(surroundings()));
    window = MASPreferencesWindowController::initWithViewControllers(std::move(panes), QString(), settings);
    int changes = 0;
    QObject::connect(window.get(), &MASPreferencesWindowController::preferencesDidChange, window.get(),
                     [&changes] { ++changes; });
    show();
    focus(part<QLineEdit>(*window, "mojoPacketsAPIKey"));
    type(QStringLiteral("key"));
    EXPECT_FALSE(stored().contains(keys::MojoPacketsAPIKey));
    QWidget other;
    other.show();
    QApplication::setActiveWindow(&other);
    settle();
    EXPECT_EQ(stored(keys::MojoPacketsAPIKey).toString(), QStringLiteral("key"));
    EXPECT_GE(changes, 1) << "what a pane tells, the window passes on";
}

TEST_F(Window, ServicesAreWrittenWhenTheWindowIsClosed) {
    MASPreferencesWindowController::ViewControllers panes;
    panes.push_back(std::make_unique<VantrelServicesPrefsViewController>(surroundings()));
    window = MASPreferencesWindowController::initWithViewControllers(std::move(panes), QString(), settings);
    show();
    EXPECT_FALSE(stored().contains(keys::MojoPacketsEmail));
    window->close();
    QApplication::setActiveWindow(nullptr);
    settle();
    EXPECT_TRUE(stored().contains(keys::MojoPacketsEmail));
    EXPECT_TRUE(stored().contains(keys::CloudSharkApplianceURL));
}

} // namespace
} // namespace vantrel::preferences
