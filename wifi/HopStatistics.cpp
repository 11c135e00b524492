#include "wifi/HopStatistics.h"

#include <algorithm>
#include <vector>

namespace vantrel {

std::chrono::nanoseconds HopStatistics::medianDwellError() const {
    if (latest.empty()) {
        return {};
    }
    std::vector<std::chrono::nanoseconds> errors;
    std::ranges::transform(latest, std::back_inserter(errors),
                           [this](const HopVisit& visit) { return visit.listened - dwell; });
    const auto middle = errors.begin() + static_cast<std::ptrdiff_t>(errors.size() / 2);
    std::ranges::nth_element(errors, middle);
    return *middle;
}

} // namespace vantrel
