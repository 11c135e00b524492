#include "PreferencesFixture.h"

#include "settings/Defaults.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QKeyEvent>

namespace vantrel::preferences {

std::vector<Hostile> hostileTexts() {
    return {{"10,000 characters", QString(10'000, u'x')},
            {"newlines", QStringLiteral("a\nb\r\nc\u2028d\u2029e")},
            {"right-to-left", QStringLiteral("\u202Eevil\u202C \u05D0\u05D1\u05D2 \u0627\u0644")},
            {"quotes", QStringLiteral("\"'`“”„\\\";{}$(id)")},
            {"markup", QStringLiteral("<b>&amp;</b><img src=x>")},
            {"beyond the first plane", QStringLiteral("\U0001F600\U0001F1E9\U0001F1EA e\u0301")},
            {"white space", QStringLiteral("  \t ")},
            {"percent", QStringLiteral("%1 %n %s %%@")}};
}

PreferencesFixture::PreferencesFixture() : settings(path(QStringLiteral("config/settings.json"))) {
    QDir().mkpath(desktop());
    settings.registerDefaults(registeredDefaults({}, desktop()));
}

PreferencesSurroundings PreferencesFixture::surroundings() {
    return {.settings = settings,
            .desktopFolder = desktop(),
            .pcapApplications = [this] { return applications; },
            .applicationAt = [](const QString& at) -> std::optional<CaptureApplication> {
                if (!QFile::exists(at)) {
                    return std::nullopt;
                }
                return CaptureApplication{
                    .path = at, .name = QStringLiteral("Chosen"), .variant = QStringLiteral("1.0"), .icon = {}};
            },
            .supportedChannels = [this] { return channels; },
            .openUrl = [this](const QString& url) { urls << url; },
            .openFolder = [this](const QString& folder) { folders << folder; }};
}

QJsonObject PreferencesFixture::stored() const {
    QFile file(settings.path());
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

void PreferencesFixture::settle() {
    QApplication::sendPostedEvents();
    QApplication::processEvents();
}

void PreferencesFixture::focus(QWidget& field) {
    field.window()->show();
    QApplication::setActiveWindow(field.window());
    field.setFocus();
    settle();
    ASSERT_TRUE(field.hasFocus());
}

void PreferencesFixture::press(int key, Qt::KeyboardModifiers modifiers) {
    for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(kind, key, modifiers);
        QApplication::sendEvent(QApplication::focusWidget(), &event);
    }
    settle();
}

void PreferencesFixture::type(const QString& text) {
    for (const QChar character : text) {
        for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(kind, 0, Qt::NoModifier, QString(character));
            QApplication::sendEvent(QApplication::focusWidget(), &event);
        }
    }
}

void PreferencesFixture::enter(QLineEdit& field, const QString& text) {
    focus(field);
    field.selectAll();
    press(Qt::Key_Delete);
    type(text);
    press(Qt::Key_Return);
}

void PreferencesFixture::put(QLineEdit& field, const QString& text) {
    settle(); // a window that comes up gives the focus to its first field
    field.window()->setFocus();
    ASSERT_FALSE(field.hasFocus());
    field.setText(text);
    settle();
}

} // namespace vantrel::preferences
