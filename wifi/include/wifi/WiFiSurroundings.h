// What the Wi-Fi commands and the hop loop ask of the rest of the application, each through an interface of its own.
//
// All of it is called on the main thread.
#pragma once

#include "wifi/CaptureFlags.h"

#include <QString>
#include <optional>
#include <vector>

namespace vantrel {

// What shows the adapter's channel, its network and its power.
class WiFiView {
public:
    virtual ~WiFiView() = default;
    virtual void updateStatusItem() = 0;
    virtual void updateStatusMenu() = 0;
    virtual void updateProgress() = 0;
};

// Questions and alerts, modal to the user; each brings the application to the front.
class WiFiDialogs {
public:
    enum class Style { Critical, Informational };
    struct Question {
        Style style = Style::Informational;
        QString messageText;
        QString informativeText;
        QString firstButton; // the default
        QString secondButton;
        bool hasSuppression = false; // with a check box, unticked, to ask no more
    };
    struct Answer {
        bool isFirstButton = false; // a closed alert counts as the second
        bool isSuppressed = false;  // the box was ticked, whichever button was chosen
    };

    virtual ~WiFiDialogs() = default;
    [[nodiscard]] virtual Answer ask(const Question& question) = 0;
    virtual void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) = 0;
};

// Where captures are prepared and started.
class CaptureStarter {
public:
    virtual ~CaptureStarter() = default;
    // False when no capture can be made now; the user knows why.
    [[nodiscard]] virtual bool prepareCapture() = 0;
    // Starts the prepared capture in the background; false when it did not even begin.
    [[nodiscard]] virtual bool startCapture(CaptureMode mode) = 0;
};

// Lets the user choose channel numbers, in a modal window that brings itself to the front.
class CustomChannelsPanel {
public:
    virtual ~CustomChannelsPanel() = default;
    // Empty when the window was left by anything but OK.
    [[nodiscard]] virtual std::optional<std::vector<int>> chooseChannels() = 0;
};

} // namespace vantrel
