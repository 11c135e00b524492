// The input of a fuzz target, copied to a buffer of exactly its size so that the address sanitizer sees every read
// beyond it; and the check that stops the run, whatever the build type.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

namespace vantrel {

class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : _bytes(std::make_unique<std::uint8_t[]>(size)),
          _size(size) {
        if (size > 0) {
            std::memcpy(_bytes.get(), data, size);
        }
    }
    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return {_bytes.get(), _size}; }

private:
    std::unique_ptr<std::uint8_t[]> _bytes;
    std::size_t _size;
};

inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

} // namespace vantrel
