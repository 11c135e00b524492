// Any bytes as the arguments of a D-Bus message of any signature, as QtDBus hands them on.
//
// The bytes are a type string behind its length, and a value of that type as GVariant serializes it, which unlike the
// bus's own form has a value for all bytes. A tuple's members are the arguments; any other value is the only one.
#pragma once

#include "FuzzInput.h"

#include <QVariantList>
#include <cstdint>
#include <optional>
#include <span>

namespace vantrel {

// Nothing when the type string is none.
[[nodiscard]] std::optional<QVariantList> messageArguments(std::span<const std::uint8_t> bytes);

} // namespace vantrel
