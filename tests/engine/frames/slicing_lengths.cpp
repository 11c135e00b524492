// Prints the sliced length of every frame on standard input, one number a line.
#include "FrameRecords.h"
#include "frames/Slicing.h"

#include <iostream>

int main() {
    std::ios::sync_with_stdio(false);
    while (const auto record = vantrel::readFrameRecord(std::cin)) {
        const vantrel::ExactCopy frame(record->bytes);
        std::cout << vantrel::slicedLength(frame.span(), record->dataLinkType) << '\n';
    }
    return std::cin.eof() && std::cout.flush() ? 0 : 1;
}
