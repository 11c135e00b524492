// Writes a capture file of random receptions of the simulated radio, and prints what was to be said of each, one line:
//
//   TSFT FREQUENCY RATE MCS WIDE VHT_MCS VHT_STREAMS VHT_WIDTH SIGNAL NOISE ANTENNA BAD_FCS
//
// with - for what the reception has not got.
#include "FrameBytes.h"
#include "simulated/FrameBuilder.h"

#include <fstream>
#include <iostream>
#include <random>
#include <string>

namespace vantrel {
namespace {

using Random = std::mt19937;

int below(Random& random, unsigned limit) { return static_cast<int>(random() % limit); }

Reception someReception(Random& random) {
    Reception reception;
    reception.tsft = static_cast<std::uint64_t>(random()) << 32 | random();
    reception.frequency = random() % 2 == 0 ? 2412 + 5 * below(random, 13) : 5180 + 5 * below(random, 129);
    reception.rate = below(random, 109);
    switch (random() % 3) {
    case 0:
        reception.ht = HtRate{static_cast<std::uint8_t>(random() % 32), random() % 2 == 0};
        break;
    case 1:
        reception.vht = VhtRate{static_cast<std::uint8_t>(random() % 10), static_cast<std::uint8_t>(1 + random() % 4),
                                width20MHz + below(random, 4)};
        break;
    default: // neither
        break;
    }
    reception.signal = static_cast<std::int8_t>(-1 - below(random, 128));
    reception.noise = static_cast<std::int8_t>(-1 - below(random, 128));
    reception.antenna = static_cast<std::uint8_t>(random() % 256);
    reception.badFcs = random() % 4 == 0;
    return reception;
}

void print(const Reception& reception) {
    std::cout << reception.tsft << ' ' << reception.frequency << ' ';
    if (reception.vht) {
        std::cout << "- - - " << int{reception.vht->index} << ' ' << int{reception.vht->streams} << ' '
                  << reception.vht->width;
    } else if (reception.ht) {
        std::cout << "- " << int{reception.ht->index} << ' ' << reception.ht->wide << " - - -";
    } else {
        std::cout << reception.rate << " - - - - -";
    }
    std::cout << ' ' << int{reception.signal} << ' ' << int{reception.noise} << ' ' << int{reception.antenna} << ' '
              << reception.badFcs << '\n';
}

void write(std::ostream& out, const Bytes& bytes) {
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes words(std::initializer_list<std::uint32_t> values) {
    Bytes bytes;
    for (const std::uint32_t value : values) {
        appendLe32(bytes, value);
    }
    return bytes;
}

bool writeAndPrint(const char* path, std::uint32_t count, std::uint32_t seed) {
    std::ofstream file(path, std::ios::binary);
    Random random(seed);
    write(file, words({0xA1B2C3D4, 4 << 16 | 2, 0, 0, 65535, 127}));
    for (std::uint32_t at = 0; at < count; ++at) {
        const Reception reception = someReception(random);
        const DataHeader header{.bssid = {2}, .station = {2, 1}, .sequence = 1};
        const Bytes frame = received(reception, qosDataFrame(header, at, random() % 40));
        const auto size = static_cast<std::uint32_t>(frame.size());
        write(file, words({at, 0, size, size}) + frame);
        print(reception);
    }
    return file.flush() && std::cout.flush();
}

} // namespace
} // namespace vantrel

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: radiotap_receptions PCAP_FILE COUNT SEED\n";
        return 1;
    }
    const auto count = static_cast<std::uint32_t>(std::stoul(argv[2]));
    const auto seed = static_cast<std::uint32_t>(std::stoul(argv[3]));
    return vantrel::writeAndPrint(argv[1], count, seed) ? 0 : 1;
}
