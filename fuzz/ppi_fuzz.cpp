// The PPI walk over any bytes: the header it answers ends inside them, and it never speaks of data padding.
#include "FuzzInput.h"
#include "frames/Ppi.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const vantrel::FuzzInput input(data, size);
    const auto header = vantrel::readPpiHeader(input.bytes());
    vantrel::require(!header || (header->length <= size && !header->dataPadding));
    return 0;
}
