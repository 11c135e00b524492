// Prints what the parsers make of every record of a capture file, one line each:
//
//   FIRST LAST HEADER KEPT [FIELD@OFFSET=BYTES]…
//
// the first and the last answer of the radiotap walk; the radio header as LENGTH:FCS:PADDING:BAD, or - where it is
// refused; the sliced length; and every field that the walk found, its bytes in hexadecimal. For PPI, which has no
// walk, the first two are - as well.
#include "PcapFile.h"
#include "frames/Ppi.h"
#include "frames/Radiotap.h"
#include "frames/Slicing.h"

#include <iostream>

namespace vantrel {
namespace {

std::string hexadecimal(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

std::string printWalk(std::span<const std::uint8_t> captured) {
    RadiotapIterator iterator;
    std::string fields;
    const int first = iterator.init(captured);
    int last = first;
    while (last == 0 && (last = iterator.next()) == 0) {
        const auto offset = iterator.thisArg().data() - captured.data();
        fields += ' ' + std::to_string(iterator.thisArgIndex()) + '@' + std::to_string(offset) + '=' +
                  hexadecimal(iterator.thisArg());
    }
    std::cout << first << ' ' << last;
    return fields;
}

void print(std::span<const std::uint8_t> captured, int linkType) {
    std::string fields;
    std::optional<RadioHeader> header;
    if (linkType == dataLinkTypePpi) {
        std::cout << "- -";
        header = readPpiHeader(captured);
    } else {
        fields = printWalk(captured);
        header = readRadiotapHeader(captured);
    }
    if (header) {
        std::cout << ' ' << header->length << ':' << header->fcsAtEnd << ':' << header->dataPadding << ':'
                  << header->badFcs;
    } else {
        std::cout << " -";
    }
    std::cout << ' ' << slicedLength(captured, linkType) << fields << '\n';
}

} // namespace
} // namespace vantrel

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    const auto file = vantrel::readPcapFile(argc == 2 ? argv[1] : "");
    if (!file) {
        std::cerr << "usage: radiotap_fields PCAP_FILE\n";
        return 1;
    }
    for (const auto& record : file->records) {
        vantrel::print(vantrel::ExactCopy(record).span(), file->linkType);
    }
    return std::cout.flush() ? 0 : 1;
}
