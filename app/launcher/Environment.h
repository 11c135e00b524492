// Which variables of the environment a program that holds a capability must not see.
#pragma once

#include <string_view>

namespace vantrel {

// Whether this entry of an environment, "NAME=value", names code that the program would load into itself: a library, a
// plug-in, a driver, or a configuration that lists such. In a program without set-user-id bits the libraries honour
// them, since it runs as an ordinary one; with a capability it would lend that to whatever it is made to load.
[[nodiscard]] bool loadsForeignCode(std::string_view entry);

} // namespace vantrel
