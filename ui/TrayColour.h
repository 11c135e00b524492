// The colour in which the tray item is drawn, so that it can be read on the tray: as far as that can be known.
//
// In this order: what the tray itself announces; light where the desktop's top bar is always dark; what the user
// prefers, light or dark, as the desktop's portal tells it (org.freedesktop.appearance color-scheme); and the text
// colour of our own windows. Main thread, after the application object.
#pragma once

#include "TrayColourHint.h"
#include "ui/ColourScheme.h"

#include <QColor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

namespace vantrel::ui {

// `announced` is invalid when the tray says nothing; `desktop` is XDG_CURRENT_DESKTOP.
[[nodiscard]] QColor trayColour(const QColor& announced, const QString& desktop, ColourScheme scheme,
                                const QColor& ownText);

class TrayColour : public QObject {
    Q_OBJECT
public:
    explicit TrayColour(const QDBusConnection& sessionBus = QDBusConnection::sessionBus());

    [[nodiscard]] QColor colour() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    // A slot by name, because QtDBus connects to signals of the bus only so; and with the whole message, because a slot
    // with a QDBusVariant is refused until QtDBus has sent or received its first message.
    void settingChanged(const QDBusMessage& message);

private:
    void askForScheme(QDBusConnection bus);
    void setScheme(ColourScheme scheme);

    TrayColourHint _hint;
    ColourScheme _scheme = ColourScheme::NoPreference;
};

} // namespace vantrel::ui
