// The title of the tray item: what it shows of the adapter and of a running upload, besides its picture.
#pragma once

#include <QString>

namespace vantrel::ui {

struct TitleState {
    bool powerOn = false;
    int channelNumber = 0;
    int channelWidthMHz = -1; // -1 for an unknown width, which is shown so
    bool displayChannel = false;
    bool displayChannelWidth = false;
    int uploadProgress = -1; // percent; -1 while no upload runs

    friend bool operator==(const TitleState&, const TitleState&) = default;
};

// The title in one line, for tool tips and wide places; empty when there is nothing to show. Any thread.
[[nodiscard]] QString statusTitle(const TitleState& state);

// The same, short enough for a square of 22 pixels.
struct TitleMarks {
    QString large; // beneath the picture: "36", "Off" or "37%", or the width in MHz when only that is shown
    QString small; // beside the picture: the width in MHz, or "MHz" when the width stands beneath

    friend bool operator==(const TitleMarks&, const TitleMarks&) = default;
};
[[nodiscard]] TitleMarks titleMarks(const TitleState& state);

} // namespace vantrel::ui
