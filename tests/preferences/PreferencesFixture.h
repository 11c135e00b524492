// A settings file of its own for each test, the panes on it, and what they asked of the rest of the application.
#pragma once

#include "preferences/MASPreferencesWindowController.h"
#include "preferences/PreferencesSurroundings.h"
#include "preferences/PreferencesViewController.h"
#include "settings/SettingsStore.h"

#include <QJsonObject>
#include <QLineEdit>
#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vantrel::preferences {

// The child of that name; a test without it cannot go on.
template <typename Widget = QWidget>
Widget& part(const QWidget& parent, const char* name) {
    auto* found = parent.findChild<Widget*>(QString::fromLatin1(name));
    if (found == nullptr) {
        ADD_FAILURE() << "no " << name;
        std::abort();
    }
    return *found;
}

// Every text that a hostile user or clipboard may bring, with what it is called.
struct Hostile {
    const char* name;
    QString text;
};
[[nodiscard]] std::vector<Hostile> hostileTexts();

class PreferencesFixture : public ::testing::Test {
protected:
    PreferencesFixture();

    [[nodiscard]] QString path(const QString& name) const { return _folder.filePath(name); }
    [[nodiscard]] QString desktop() const { return path(QStringLiteral("Desktop")); }
    [[nodiscard]] PreferencesSurroundings surroundings();
    // What the settings file holds, read anew by itself.
    [[nodiscard]] QJsonObject stored() const;
    [[nodiscard]] QJsonValue stored(QLatin1StringView key) const { return stored().value(key); }

    // As the keyboard does it: the window works, the field has the focus, each character is typed.
    static void focus(QWidget& field);
    static void type(const QString& text);
    static void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    // Types this in the place of what the field holds, and ends the edit with the Return key.
    static void enter(QLineEdit& field, const QString& text);
    // Without the keyboard, as an assistive program does it.
    static void put(QLineEdit& field, const QString& text);

    // Runs what was posted.
    static void settle();

    QStringList urls;    // opened
    QStringList folders; // opened
    std::vector<CaptureApplication> applications;
    std::vector<CWChannel> channels;
    QTemporaryDir _folder;
    SettingsStore settings;
};

} // namespace vantrel::preferences
