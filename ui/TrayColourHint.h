// The text colour that an X11 system tray announces for its items, in the property _NET_SYSTEM_TRAY_COLORS of the
// window that owns the tray's selection: 12 numbers of 16 bits, the first three of which are red, green and blue of
// plain text. Panels that also host StatusNotifierItems set it, and it alone knows a panel that is dark among light
// windows.
//
// Main thread. On other window systems there is no hint.
#pragma once

#include "X11Tray.h"

#include <QAbstractNativeEventFilter>
#include <QColor>
#include <QObject>
#include <cstdint>

namespace vantrel::ui {

class TrayColourHint : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    TrayColourHint();
    ~TrayColourHint() override;

    // Invalid while no tray gives the hint.
    [[nodiscard]] QColor colour() const { return _colour; }

Q_SIGNALS:
    void changed();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void read();

    QColor _colour;
    const std::optional<X11Tray> _tray = X11Tray::ofServer();
    std::uint32_t _owner = 0;   // the tray's window
    std::uint32_t _colours = 0; // atom
};

} // namespace vantrel::ui
