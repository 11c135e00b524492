// Any bytes as a packet between the application and vantrel-radio: they are refused with a reason, or what was read is
// written as the same bytes.
#include "FuzzInput.h"
#include "protocol/Messages.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const vantrel::FuzzInput input(data, size);
    const auto packet = vantrel::protocol::decode(input.bytes());
    if (!packet) {
        vantrel::require(!packet.error().why.isEmpty());
        return 0;
    }
    const auto written = vantrel::protocol::encode(*packet);
    vantrel::require(std::ranges::equal(written, input.bytes()));
    return 0;
}
