// Stops the program for a bug of its own, whatever the build type: what is claimed here never depends on what a peer,
// a device or the system does.
#pragma once

namespace vantrel {

struct CodePlace {
    const char* function;
    const char* file;
};

// Ends the program unless it holds, naming the condition and the place.
void assertThat(bool holds, const char* condition, const CodePlace& place);

} // namespace vantrel
