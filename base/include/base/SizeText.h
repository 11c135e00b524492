// The size of a capture as the user reads it. Any thread.
#pragma once

#include <QString>
#include <cstdint>

namespace vantrel {

// "1023 bytes", "1 KB" (rounded down), "1.00 MB", in units of 1024; empty from 1 GiB on: there is no larger unit.
[[nodiscard]] QString sizeText(std::uint64_t bytes);

} // namespace vantrel
