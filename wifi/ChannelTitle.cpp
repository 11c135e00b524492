#include "wifi/ChannelTitle.h"

#include "WiFiTexts.h"

namespace vantrel {

QString channelTitle(const CWChannel& channel) {
    const auto titled = [&channel](QLatin1StringView text) { return QString(text).arg(channel.channelNumber); };
    switch (channel.channelWidth) {
    case width20MHz:
        return titled(texts::channelTitle20MHz);
    case width40MHz:
        return titled(texts::channelTitle40MHz);
    case width80MHz:
        return titled(texts::channelTitle80MHz);
    case width160MHz:
        return titled(texts::channelTitle160MHz);
    default: // the width is a code from outside
        return titled(texts::channelTitleOfUnknownWidth);
    }
}

} // namespace vantrel
