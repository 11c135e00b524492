// What every pane owes its user: nothing is cut off, also in a language that needs half as much room again; every
// control has a key or a label with one, a name for screen readers, and its turn in the order of the Tab key.
#include "PreferencesFixture.h"
#include "preferences/VantrelAdvancedPrefsViewController.h"
#include "preferences/VantrelCustomChannelsPanel.h"
#include "preferences/VantrelGeneralPrefsViewController.h"
#include "preferences/VantrelServicesPrefsViewController.h"

#include "settings/SettingsKeys.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QScrollArea>
#include <QTranslator>

namespace vantrel::preferences {
namespace {

// Says everything half as long again.
class Wordy : public QTranslator {
public:
    [[nodiscard]] QString translate(const char* /*context*/, const char* text, const char* /*comment*/,
                                    int /*number*/) const override {
        const QString english = QString::fromUtf8(text);
        QString longer = english;
        while (longer.size() * 2 < english.size() * 3) {
            longer += longer.size() % 7 == 0 ? u' ' : u'ä';
        }
        return longer;
    }
    [[nodiscard]] bool isEmpty() const override { return false; }
};

struct NamedWindow {
    const char* name;
    std::unique_ptr<QWidget> widget;
};

class Layout : public PreferencesFixture {
protected:
    template <typename Pane>
    std::unique_ptr<QWidget> window() {
        MASPreferencesWindowController::ViewControllers panes;
        panes.push_back(std::make_unique<Pane>(surroundings()));
        auto made = MASPreferencesWindowController::initWithViewControllers(std::move(panes), QString(), settings);
        made->showWindow();
        return made;
    }
    std::vector<NamedWindow> windows() {
        std::vector<NamedWindow> all;
        all.push_back({"General", window<VantrelGeneralPrefsViewController>()});
        all.push_back({"Advanced", window<VantrelAdvancedPrefsViewController>()});
        all.push_back({"Services", window<VantrelServicesPrefsViewController>()});
        auto panel = std::make_unique<VantrelCustomChannelsPanel>(settings, channels);
        panel->show();
        all.push_back({"Channels", std::move(panel)});
        settle();
        return all;
    }
    static void expectNothingCutOff(const QWidget& window) {
        for (const QWidget* part : window.findChildren<QWidget*>()) {
            const auto* label = qobject_cast<const QLabel*>(part);
            const bool isText = label != nullptr || qobject_cast<const QAbstractButton*>(part) != nullptr;
            if (!part->isVisible() || !isText) {
                continue;
            }
            const QString text = label != nullptr ? label->text() : part->property("text").toString();
            const bool wraps = label != nullptr && label->wordWrap();
            EXPECT_GE(part->height(), wraps ? part->heightForWidth(part->width()) : part->minimumSizeHint().height())
                << qPrintable(text);
            if (!wraps) {
                EXPECT_GE(part->width(), part->minimumSizeHint().width()) << qPrintable(text);
            }
        }
    }
};

bool isControl(const QWidget& widget) {
    return widget.isVisible() && !widget.objectName().startsWith(QStringLiteral("qt_")) &&
           (qobject_cast<const QAbstractButton*>(&widget) != nullptr ||
            qobject_cast<const QLineEdit*>(&widget) != nullptr || qobject_cast<const QComboBox*>(&widget) != nullptr);
}

TEST_F(Layout, NothingIsCutOff) {
    for (const NamedWindow& window : windows()) {
        expectNothingCutOff(*window.widget);
        EXPECT_LE(window.widget->width(), 900) << window.name;
        EXPECT_LE(window.widget->height(), 700) << window.name;
    }
}

TEST_F(Layout, HalfAsLongAgainStillFits) {
    Wordy wordy;
    ASSERT_TRUE(QApplication::installTranslator(&wordy));
    {
        const auto all = windows();
        EXPECT_TRUE(all[1].widget->findChild<QLabel*>(QStringLiteral("dwellTimeUnit"))->text().contains(u'ä'));
        for (const NamedWindow& window : all) {
            expectNothingCutOff(*window.widget);
        }
    }
    QApplication::removeTranslator(&wordy);
}

TEST_F(Layout, WhatAppearsLaterFitsToo) {
    settings.setBool(keys::LimitCaptureFile, true);
    settings.setString(keys::CloudSharkApplianceURL, QStringLiteral("https://captures.test"));
    settings.setString(keys::MojoPacketsServiceURL, QStringLiteral("https://mojo.test"));
    const auto general = window<VantrelGeneralPrefsViewController>();
    enter(part<QLineEdit>(*general, "maxCaptureFiles"), QStringLiteral("3"));
    EXPECT_TRUE(part<QLabel>(*general, "severalFilesNote").isVisible());
    const auto services = window<VantrelServicesPrefsViewController>();
    for (const char* name : {"cloudSharkApplianceURL", "mojoPacketsServiceURL"}) {
        put(part<QLineEdit>(*services, name), QStringLiteral("https://captures.example"));
    }
    EXPECT_TRUE(part<QLabel>(*services, "mojoPacketsServiceURLVerdict").isVisible());
    settle();
    for (const QWidget* window : {general.get(), services.get()}) {
        expectNothingCutOff(*window);
        const auto& content = part<QScrollArea>(*window, "content");
        EXPECT_GE(content.viewport()->height(), content.widget()->height()) << "without scrolling";
    }
}

TEST_F(Layout, ASmallScreenScrolls) {
    const auto all = windows();
    for (const NamedWindow& window : all) {
        if (auto* content = window.widget->findChild<QScrollArea*>(QStringLiteral("content")); content != nullptr) {
            content->setMinimumSize(200, 150); // as on a screen that is no larger
            window.widget->resize(300, 250);
            settle();
            expectNothingCutOff(*window.widget);
        }
    }
}

TEST_F(Layout, NoKeyStandsForTwoControls) {
    for (const NamedWindow& window : windows()) {
        QMap<QString, QString> taken;
        for (const QWidget* part : window.widget->findChildren<QWidget*>()) {
            const QString text = part->property("text").toString();
            const QString key = QKeySequence::mnemonic(text).toString();
            if (key.isEmpty() || !part->isVisible()) {
                continue;
            }
            EXPECT_FALSE(taken.contains(key)) << window.name << ": " << qPrintable(key) << " is the key of "
                                              << qPrintable(taken.value(key)) << " and of " << qPrintable(text);
            taken.insert(key, text);
        }
        EXPECT_GE(taken.size(), 2) << window.name;
    }
}

TEST_F(Layout, EveryControlHasAName) {
    for (const NamedWindow& window : windows()) {
        for (QWidget* part : window.widget->findChildren<QWidget*>()) {
            if (isControl(*part)) {
                QAccessibleInterface& told = *QAccessible::queryAccessibleInterface(part);
                EXPECT_FALSE(told.text(QAccessible::Name).isEmpty())
                    << window.name << ": " << qPrintable(part->objectName());
                // Of a pop-up menu that is what it shows; what it is for, a label or a description tells.
                EXPECT_TRUE(qobject_cast<QComboBox*>(part) == nullptr || !told.relations(QAccessible::Label).empty() ||
                            !told.text(QAccessible::Description).isEmpty())
                    << window.name << ": " << qPrintable(part->objectName());
            }
        }
    }
}

// From the top to the bottom, and in a line from left to right.
TEST_F(Layout, TheTabKeyFollowsTheEye) {
    for (const NamedWindow& window : windows()) {
        const auto position = [&](QWidget* part) { return part->mapTo(window.widget.get(), part->rect().center()); };
        QWidget* content = window.widget->findChild<QScrollArea*>(QStringLiteral("content"));
        QWidget* pane = content != nullptr ? qobject_cast<QScrollArea*>(content)->widget() : window.widget.get();
        QWidget* last = nullptr;
        int visited = 0;
        for (QWidget* part = pane->nextInFocusChain(); part != pane; part = part->nextInFocusChain()) {
            if (!pane->isAncestorOf(part) || !isControl(*part) || (part->focusPolicy() & Qt::TabFocus) == 0) {
                continue;
            }
            ++visited;
            if (last != nullptr) {
                const QPoint from = position(last);
                const QPoint to = position(part);
                const bool isBelow = to.y() > from.y() + 6;
                const bool isRight = std::abs(to.y() - from.y()) <= 6 && to.x() > from.x();
                EXPECT_TRUE(isBelow || isRight) << window.name << ": " << qPrintable(last->objectName()) << " -> "
                                                << qPrintable(part->objectName());
            }
            last = part;
        }
        EXPECT_GE(visited, 5) << window.name;
    }
}

} // namespace
} // namespace vantrel::preferences
