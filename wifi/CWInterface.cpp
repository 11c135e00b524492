#include "wifi/CWInterface.h"

namespace vantrel {

long CWInterface::channelNumber() const {
    const auto channel = wlanChannel();
    return channel ? channel->channelNumber : 0;
}

long CWInterface::channelWidth() const {
    const auto channel = wlanChannel();
    switch (channel ? channel->channelWidth : 0) {
    case width20MHz:
        return 20;
    case width40MHz:
        return 40;
    case width80MHz:
        return 80;
    case width160MHz:
        return 160;
    default: // the width is a code from outside
        return -1;
    }
}

} // namespace vantrel
