#include "feed/ServiceAnswers.h"

#include "base/MessageValues.h"

namespace vantrel::feed {

std::optional<ServiceItem> serviceItemOf(const QVariantList& arguments) {
    const auto interface = argument<int>(arguments, 0);
    const auto protocol = argument<int>(arguments, 1);
    const auto name = argument<QString>(arguments, 2);
    const auto type = argument<QString>(arguments, 3);
    const auto domain = argument<QString>(arguments, 4);
    if (!interface || !protocol || !name || !type || !domain) {
        return std::nullopt;
    }
    return ServiceItem{.interface = *interface, .protocol = *protocol, .name = *name, .type = *type, .domain = *domain};
}

std::optional<std::uint16_t> servicePortOf(const QVariantList& arguments) {
    constexpr qsizetype place = 8; // behind seven of the place and the address
    const auto port = argument<ushort>(arguments, place);
    return port && *port != 0 ? port : std::nullopt;
}

} // namespace vantrel::feed
