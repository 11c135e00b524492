// What the tests of the menu ask it.
#pragma once

#include "ui/MenuOutlets.h"
#include "ui/StatusMenu.h"

#include <QAction>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vantrel::ui {

inline MenuState associated(const QString& ssid = QStringLiteral("Lab")) {
    return {.powerOn = true,
            .associated = true,
            .ssid = ssid,
            .channel = {36, bandFiveGHz, width80MHz},
            .channelWidthMHz = 80};
}

inline std::string shownTitle(const QAction& item) { return item.isSeparator() ? "-" : item.text().toStdString(); }

// As the user reads them, without the marks of keys.
inline std::vector<std::string> visibleTitles(const QMenu& menu) {
    std::vector<std::string> titles;
    for (const QAction* item : menu.actions()) {
        if (item->isVisible()) {
            titles.push_back(item->isSeparator() ? "-" : item->text().remove(u'&').toStdString());
        }
    }
    return titles;
}

inline QMenu& submenu(const StatusMenu& menu, QLatin1StringView outlet) { return *menu.item(outlet)->menu(); }

inline std::vector<std::string> checkedTitles(const QMenu& menu) {
    std::vector<std::string> titles;
    for (const QAction* item : menu.actions()) {
        if (item->isChecked()) {
            titles.push_back(shownTitle(*item));
        }
    }
    return titles;
}

inline QAction& itemOf(const QMenu& menu, const char* title) {
    for (QAction* item : menu.actions()) {
        if (shownTitle(*item) == title) {
            return *item;
        }
    }
    ADD_FAILURE() << "no item " << title;
    return *menu.menuAction();
}

inline std::vector<CWChannel> channels20MHz(std::initializer_list<int> numbers) {
    std::vector<CWChannel> channels;
    for (const int number : numbers) {
        channels.push_back({number, number < 15 ? bandTwoDotFourGHz : bandFiveGHz, width20MHz});
    }
    return channels;
}

} // namespace vantrel::ui
