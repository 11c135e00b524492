// What the command line of the application asks for.
#pragma once

#include <QString>
#include <optional>
#include <span>

namespace vantrel {

// What is only to be printed, for "--help" or "--version" among the arguments; nothing where the program is to start.
// Every other argument is left to Qt, which has options of its own. Any thread; needs no application object.
[[nodiscard]] std::optional<QString> printedFor(std::span<char* const> arguments);

} // namespace vantrel
