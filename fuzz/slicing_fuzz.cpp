// The slicing rule over any frame, its data-link type chosen by the first byte: never longer than captured, never
// shorter than the shortest data header, and whole where no radio header is known.
#include "FuzzInput.h"
#include "frames/RadioHeader.h"
#include "frames/Slicing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return -1;
    }
    const int dataLinkType = data[0] == 0   ? vantrel::dataLinkTypeRadiotap
                             : data[0] == 1 ? vantrel::dataLinkTypePpi
                                            : data[0];
    const vantrel::FuzzInput input(data + 1, size - 1);
    const std::uint32_t length = vantrel::slicedLength(input.bytes(), dataLinkType);
    vantrel::require(length <= size - 1);
    vantrel::require(length == size - 1 || length >= 24);
    if (dataLinkType != vantrel::dataLinkTypeRadiotap && dataLinkType != vantrel::dataLinkTypePpi) {
        vantrel::require(length == size - 1);
    }
    return 0;
}
