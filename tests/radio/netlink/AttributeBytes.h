// Builds netlink attributes byte by byte, wrong ones too: the lengths that are written need not be true.
#pragma once

#include <cstdint>
#include <cstring>
#include <linux/netlink.h>
#include <string_view>
#include <vector>

namespace vantrel::testing {

using ByteString = std::vector<std::uint8_t>;

inline ByteString operator+(ByteString front, const ByteString& back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

template <typename Number>
ByteString bytesOf(Number number) {
    ByteString bytes(sizeof number);
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

// As the kernel sends it, padded to four bytes.
inline ByteString attribute(int type, const ByteString& value = {}) {
    const auto length = static_cast<std::uint16_t>(NLA_HDRLEN + value.size());
    ByteString bytes = bytesOf(length) + bytesOf(static_cast<std::uint16_t>(type)) + value;
    bytes.resize(NLA_ALIGN(bytes.size()));
    return bytes;
}

inline ByteString attribute(int type, std::uint32_t number) { return attribute(type, bytesOf(number)); }

inline ByteString attribute(int type, std::string_view text) {
    ByteString value(text.begin(), text.end());
    value.push_back(0);
    return attribute(type, value);
}

// One whose header says another length than it has.
inline ByteString attributeOfLength(std::uint16_t length, int type, const ByteString& value) {
    ByteString bytes = attribute(type, value);
    std::memcpy(bytes.data(), &length, sizeof length);
    return bytes;
}

} // namespace vantrel::testing
