#include "ui/StatusTitle.h"

#include "base/Translated.h"

namespace vantrel::ui {

namespace {
constexpr char channelAndWidth[] = "%ld (%ld MHz)";
constexpr char channelOnly[] = "%ld";
constexpr char widthOnly[] = "%ld MHz";
constexpr char percentage[] = "%lu%%";
constexpr char off[] = QT_TRANSLATE_NOOP("vantrel", "Off");
constexpr QLatin1StringView megahertz{"MHz"};

bool isUploading(const TitleState& state) { return state.uploadProgress >= 1 && state.uploadProgress <= 99; }
} // namespace

QString statusTitle(const TitleState& state) {
    const long number = state.channelNumber;
    const long width = state.channelWidthMHz;
    if (!state.powerOn) {
        return state.displayChannel || state.displayChannelWidth ? translated(off) : QString();
    }
    if (isUploading(state)) {
        return QString::asprintf(percentage, static_cast<unsigned long>(state.uploadProgress));
    }
    if (state.displayChannel && state.displayChannelWidth) {
        return QString::asprintf(channelAndWidth, number, width);
    }
    if (state.displayChannel) {
        return QString::asprintf(channelOnly, number);
    }
    return state.displayChannelWidth ? QString::asprintf(widthOnly, width) : QString();
}

TitleMarks titleMarks(const TitleState& state) {
    if (!state.powerOn || isUploading(state) || !state.displayChannelWidth) {
        return {.large = statusTitle(state), .small = {}};
    }
    const QString width = QString::number(state.channelWidthMHz);
    if (!state.displayChannel) {
        return {.large = width, .small = QString(megahertz)};
    }
    return {.large = QString::number(state.channelNumber), .small = width};
}

} // namespace vantrel::ui
