// Any bytes as the elements of a beacon, without the frame and the check sequence that stand before them in the feed:
// what is read of them is what there can be, it is shown in bounds, and elements said twice tell nothing more.
#include "FuzzInput.h"
#include "feed/Beacon.h"
#include "feed/Formats.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace vantrel;
using namespace vantrel::feed;
using Bytes = std::span<const std::uint8_t>;

Beacon read(Bytes elements) {
    Beacon beacon;
    addElements(beacon, elements);
    return beacon;
}

bool isCapital(char letter) { return letter >= 'A' && letter <= 'Z'; }

void check(const Beacon& beacon) {
    require(beacon.ssid.size() <= 32);
    require(!beacon.channel || (*beacon.channel >= 0 && *beacon.channel <= 255));
    require(beacon.country.empty() || (beacon.country.size() == 2 && std::ranges::all_of(beacon.country, isCapital)));
    require(!widthText(beacon.width).empty());
    const std::string security = securityText(beacon.security);
    require(!security.empty() && security.size() < 80);
    const Security& says = beacon.security;
    const bool isOpen = says == Security{};
    require(isOpen == (security == "Open"));
}

// Where the last whole element ends.
std::size_t wholeElements(Bytes bytes) {
    std::size_t end = 0;
    while (end + 2 <= bytes.size() && end + 2 + bytes[end + 1] <= bytes.size()) {
        end += 2U + bytes[end + 1];
    }
    return end;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzInput input(data, size);
    const Beacon beacon = read(input.bytes());
    check(beacon);
    const std::string shown = jsonLine(beacon, {}, 1);
    const Bytes whole = input.bytes().first(wholeElements(input.bytes()));
    std::vector<std::uint8_t> twice(whole.begin(), whole.end());
    twice.insert(twice.end(), whole.begin(), whole.end());
    const FuzzInput again(twice.data(), twice.size());
    require(jsonLine(read(whole), {}, 1) == shown);
    require(jsonLine(read(again.bytes()), {}, 1) == shown);
    return 0;
}
