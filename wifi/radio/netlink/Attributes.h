// Walking the attributes of a netlink message: each is its length (2 bytes, with this header), its type (2), its value,
// and padding to 4 bytes (linux/netlink.h, struct nlattr; the byte order is the machine's own).
//
// Pure functions, for any thread.
#pragma once

#include <cstdint>
#include <cstring>
#include <linux/netlink.h>
#include <optional>
#include <span>

namespace vantrel::netlink {

using Bytes = std::span<const std::uint8_t>;

// Calls visit(type, value) for each attribute, and leaves off at the first whose length cannot be.
template <typename Visit>
void forEachAttribute(Bytes bytes, Visit visit) {
    while (bytes.size() >= sizeof(nlattr)) {
        nlattr header{};
        std::memcpy(&header, bytes.data(), sizeof header);
        if (header.nla_len < sizeof header || header.nla_len > bytes.size()) {
            return;
        }
        visit(header.nla_type & NLA_TYPE_MASK, bytes.subspan(sizeof header, header.nla_len - sizeof header));
        const std::size_t whole = NLA_ALIGN(std::size_t{header.nla_len});
        bytes = whole < bytes.size() ? bytes.subspan(whole) : Bytes();
    }
}

// The value of a number, when it has exactly the number's size.
template <typename Number>
std::optional<Number> numberOf(Bytes value) {
    if (value.size() != sizeof(Number)) {
        return std::nullopt;
    }
    Number number = 0;
    std::memcpy(&number, value.data(), sizeof number);
    return number;
}

} // namespace vantrel::netlink
