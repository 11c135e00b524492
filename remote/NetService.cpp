#include "remote/NetService.h"

#include "AvahiService.h"

namespace vantrel {

std::unique_ptr<NetService> makeAvahiService(const NetService::Description& description) {
    return std::make_unique<AvahiService>(description);
}

} // namespace vantrel
