// Capture files in libpcap's classic format, little-endian, as far as the helper programs of these tests need them: the
// link type, and the bytes of each record.
#pragma once

#include "FrameBytes.h"
#include "frames/LittleEndian.h"

#include <fstream>
#include <optional>
#include <string>

namespace vantrel {

struct PcapFile {
    int linkType = 0;
    std::vector<Bytes> records;
};

namespace pcap_file {
inline constexpr std::uint32_t magic = 0xA1B2C3D4;
inline constexpr std::size_t headerSize = 24;
inline constexpr std::size_t linkTypeOffset = 20;
inline constexpr std::size_t recordHeaderSize = 16;
inline constexpr std::size_t capturedLengthOffset = 8;

// So many bytes, or none where the file has fewer.
inline Bytes take(std::istream& in, std::size_t size) {
    Bytes bytes(size);
    if (!in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size))) {
        bytes.clear();
    }
    return bytes;
}
} // namespace pcap_file

// Empty when there is no such file, or it is not whole.
inline std::optional<PcapFile> readPcapFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    const Bytes header = pcap_file::take(in, pcap_file::headerSize);
    if (header.empty() || readLe32(header, 0) != pcap_file::magic) {
        return std::nullopt;
    }
    PcapFile file{static_cast<int>(readLe32(header, pcap_file::linkTypeOffset)), {}};
    for (;;) {
        const Bytes recordHeader = pcap_file::take(in, pcap_file::recordHeaderSize);
        if (recordHeader.empty()) {
            break;
        }
        const std::size_t length = readLe32(recordHeader, pcap_file::capturedLengthOffset);
        file.records.push_back(pcap_file::take(in, length));
        if (file.records.back().size() != length) {
            return std::nullopt;
        }
    }
    return in.eof() && in.gcount() == 0 ? std::optional(std::move(file)) : std::nullopt;
}

} // namespace vantrel
