// Walks the radiotap header of every frame on standard input and prints one line for each: the result that ended the
// walk, then every field as index:hexadecimal bytes.
#include "FrameRecords.h"
#include "frames/Radiotap.h"

#include <cstdio>
#include <iostream>

int main() {
    while (const auto record = vantrel::readFrameRecord(std::cin)) {
        const vantrel::ExactCopy frame(record->bytes);
        vantrel::RadiotapIterator iterator;
        int result = iterator.init(frame.span());
        std::string fields;
        while (result == 0 && (result = iterator.next()) == 0) {
            fields += ' ' + std::to_string(iterator.thisArgIndex()) + ':';
            for (const std::uint8_t byte : iterator.thisArg()) {
                std::array<char, 3> digits{};
                std::snprintf(digits.data(), digits.size(), "%02x", byte);
                fields += digits.data();
            }
        }
        std::cout << result << fields << '\n';
    }
    return std::cin.eof() && std::cout.flush() ? 0 : 1;
}
