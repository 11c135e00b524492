// The radiotap walk over any bytes: every field lies inside the header, behind the one before it, and the walk ends.
#include "FuzzInput.h"
#include "frames/Radiotap.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const vantrel::FuzzInput input(data, size);
    const auto bytes = input.bytes();
    vantrel::RadiotapIterator iterator;
    int result = iterator.init(bytes);
    vantrel::require(result == 0 || result == vantrel::RadiotapIterator::invalidArgument);
    const std::size_t length = result == 0 ? bytes[2] + 256U * bytes[3] : 0;
    std::size_t end = 8;
    unsigned sum = 0;
    while (result == 0 && (result = iterator.next()) == 0) {
        const auto arg = iterator.thisArg();
        const auto start = static_cast<std::size_t>(arg.data() - bytes.data());
        vantrel::require(start >= end && !arg.empty() && start + arg.size() <= length);
        end = start + arg.size();
        for (const std::uint8_t byte : arg) {
            sum += byte;
        }
    }
    vantrel::require(result == vantrel::RadiotapIterator::noMoreEntries ||
                     result == vantrel::RadiotapIterator::invalidArgument);
    const auto header = vantrel::readRadiotapHeader(bytes);
    vantrel::require(!header || header->length <= size);
    return sum == 0xFFFFFFFFU ? -1 : 0;
}
